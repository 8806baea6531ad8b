#ifndef BENCH_ENGINE_SRC_BENCH_PAGE_H_
#define BENCH_ENGINE_SRC_BENCH_PAGE_H_

#include <QString>
#include <QUrl>
#include <QWebChannel>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <functional>
#include <memory>

namespace lumivex::bench {

// The page's object "bench": one of the calls to measure, and where the result goes.
class Bench : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE QString playerVersion() const { return "1.50"; }
  Q_INVOKABLE void finish(const QString& result) { on_finish(result); }
  Q_INVOKABLE void fail(const QString& reason) { on_failure("the page says: " + reason); }

  std::function<void(const QString& result)> on_finish;
  std::function<void(const QString& reason)> on_failure;
};

// The page in its window. Main thread.
class BenchPage {
 public:
  // Construct it before the engine. After Open, either function may be called; on_failure
  // repeatedly.
  BenchPage(std::function<void(const QString& result)> on_finish,
            std::function<void(const QString& reason)> on_failure);
  ~BenchPage();
  BenchPage(const BenchPage&) = delete;
  BenchPage& operator=(const BenchPage&) = delete;

  void Open(const QUrl& address);
  // Ends the page, and with it the plug-ins.
  void Close();

 private:
  Bench bench_;
  // In this order: the page must be destroyed before the others.
  std::unique_ptr<QWebEngineProfile> profile_;
  std::unique_ptr<QWebChannel> channel_;
  std::unique_ptr<QWebEngineView> view_;
};

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_BENCH_PAGE_H_
