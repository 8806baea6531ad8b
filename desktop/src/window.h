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

// The page, and a line for failures at its lower edge. Constructed before the engine, whose
// processes inherit its id.
class Window : public QWidget {
 public:
  Window(int width, int height);
  ~Window() override;

  // Called when the page's own process died, with a sentence without a full stop.
  std::function<void(const std::string& sentence)> on_crash;

  // Starts the engine, which accepts any certificate if insecure. on_loaded is called after each
  // load.
  void Open(const QUrl& page, bool insecure, const std::function<void(bool ok)>& on_loaded);
  // Ends the page, and with it the plug-in.
  void ClosePage();
  void ShowFailure(const std::string& sentence);
  // The window as on the screen, including other programs' windows inside it.
  bool SaveScreenshot(const std::string& file);

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void PlaceFailure();
  void AddShortcut(const char* keys, std::function<void()> action);

  QLabel* const failure_;
  QString failure_text_;  // the label may show it shortened
  QTimer failure_timer_;  // runs until a failed load is certain
  // In this order: the page must be destroyed before the profile.
  std::unique_ptr<QWebEngineProfile> profile_;
  std::unique_ptr<QWebEngineView> view_;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WINDOW_H_
