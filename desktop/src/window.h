#ifndef DESKTOP_SRC_WINDOW_H_
#define DESKTOP_SRC_WINDOW_H_

#include <QTimer>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>

class QLabel;

namespace lumivex::desktop {

// The window: the page, and above it a line for what has gone wrong. Exists before the engine
// does, because the engine's processes inherit its id.
class Window : public QWidget {
 public:
  Window(int width, int height);
  ~Window() override;

  // Starts the engine. `page` is an absolute path or an address. on_loaded is called once for each
  // time the page was loaded, or could not be.
  void Open(const std::string& page, const std::function<void(bool ok)>& on_loaded);
  // Ends the page, and with it the plug-in.
  void ClosePage();
  void ShowFailure(const std::string& sentence);
  // What the screen shows of this window, windows of other programs inside it included.
  bool SaveScreenshot(const std::string& file);

 private:
  void AddShortcut(const char* keys, std::function<void()> action);

  QLabel* const failure_;
  QTimer failure_timer_;  // runs from a failed load until that is certain
  // In this order: the page has to go before the profile.
  std::unique_ptr<QWebEngineProfile> profile_;
  std::unique_ptr<QWebEngineView> view_;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WINDOW_H_
