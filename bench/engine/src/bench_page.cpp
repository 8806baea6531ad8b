#include "bench_page.h"

#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <cstdio>
#include <utility>

namespace lumivex::bench {
namespace {

class Page : public QWebEnginePage {
 public:
  using QWebEnginePage::QWebEnginePage;

 protected:
  void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level,
                                const QString& message,
                                int line,
                                const QString& source) override {
    if (level == ErrorMessageLevel) {
      std::fprintf(stderr, "%s:%d: %s\n", qPrintable(source), line, qPrintable(message));
    }
  }
};

}  // namespace

BenchPage::BenchPage(std::function<void(const QString& result)> on_finish,
                     std::function<void(const QString& reason)> on_failure) {
  bench_.on_finish = std::move(on_finish);
  bench_.on_failure = std::move(on_failure);
}

BenchPage::~BenchPage() {
  Close();
}

void BenchPage::Open(const QUrl& address) {
  profile_ = std::make_unique<QWebEngineProfile>();  // without a name it writes nothing to disk
  channel_ = std::make_unique<QWebChannel>();
  channel_->registerObject("bench", &bench_);
  view_ = std::make_unique<QWebEngineView>();
  auto* page = new Page(profile_.get(), view_.get());
  page->settings()->setAttribute(QWebEngineSettings::PluginsEnabled, true);
  page->setWebChannel(channel_.get());
  view_->setPage(page);
  QObject::connect(page, &QWebEnginePage::loadFinished, &bench_, [this](bool ok) {
    if (!ok) {
      bench_.on_failure("cannot load the page");
    }
  });
  QObject::connect(
      page, &QWebEnginePage::renderProcessTerminated, &bench_,
      [this](QWebEnginePage::RenderProcessTerminationStatus /*status*/, int code) {
        bench_.on_failure("the page's process ended, exit code " + QString::number(code));
      });
  view_->resize(640, 360);
  view_->setUrl(address);
  view_->show();
}

void BenchPage::Close() {
  view_.reset();
  channel_.reset();
  profile_.reset();
}

}  // namespace lumivex::bench
