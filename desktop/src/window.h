#ifndef DESKTOP_SRC_WINDOW_H_
#define DESKTOP_SRC_WINDOW_H_

#include <QTimer>
#include <QUrl>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>

class QLabel;

namespace lumivex::desktop {

// The window: the page, and at its lower edge a line for what has gone wrong. Exists before the
// engine does, because the engine's processes inherit its id.
class Window : public QWidget {
 public:
  Window(int width, int height);
  ~Window() override;

  // Called with a sentence without a full stop when the page's own process died.
  std::function<void(const std::string& sentence)> on_crash;

  // Starts the engine, which takes any certificate when it is insecure. on_loaded is called once
  // for each time the page was loaded, or could not be.
  void Open(const QUrl& page, bool insecure, const std::function<void(bool ok)>& on_loaded);
  // Ends the page, and with it the plug-in.
  void ClosePage();
  void ShowFailure(const std::string& sentence);
  // What the screen shows of this window, windows of other programs inside it included.
  bool SaveScreenshot(const std::string& file);

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void PlaceFailure();
  void AddShortcut(const char* keys, std::function<void()> action);

  QLabel* const failure_;
  QString failure_text_;  // of which the label shows what it has room for
  QTimer failure_timer_;  // runs from a failed load until that is certain
  // In this order: the page has to go before the profile.
  std::unique_ptr<QWebEngineProfile> profile_;
  std::unique_ptr<QWebEngineView> view_;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WINDOW_H_
