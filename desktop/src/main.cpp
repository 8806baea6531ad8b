// lumivex-desktop: a page with the plug-in in a window of a real browser engine.

#include <xcb/xcb.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "channel.h"
#include "options.h"
#include "plugin_watch.h"
#include "session_folder.h"
#include "signal_watch.h"
#include "window.h"

namespace lumivex::desktop {
namespace {

constexpr char kMimeType[] = "application/x-lumivex";
constexpr int kEndTimeMs = 5000;  // for the plug-in to end after its page

bool HasScreen() {
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool has = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return has;
}

void SayNoScreen() {
  const char* display = std::getenv("DISPLAY");
  const std::string which = display == nullptr || *display == '\0'
                                ? "DISPLAY is not set"
                                : "DISPLAY is " + std::string(display) + ", which does not answer";
  std::fprintf(stderr,
               "lumivex-desktop: there is no X11 screen to open a window on (%s).\n"
               "With a virtual one (Debian packages xvfb and xauth):\n"
               "  xvfb-run -s \"-screen 0 1920x1080x24\" lumivex-desktop --screenshot page.png\n",
               which.c_str());
}

// What the engine's processes find in their environment, the plug-in's among them.
void SetEnvironment(const CommandLine& line, const SessionFolder& folder, const Window& window) {
  const std::string preload = folder.Link("device-paths.so", line.device_paths);
  const QByteArray others = qgetenv("LD_PRELOAD");
  qputenv("LD_PRELOAD", QByteArray(preload.c_str()) + (others.isEmpty() ? "" : ":") + others);
  qputenv("LUMIVEX_SYSROOT", line.sysroot.c_str());
  qputenv(kPluginVariable, line.plugin.c_str());
  std::string denied;
  for (const std::string& privilege : line.denied) {
    denied += privilege + ",";
  }
  qputenv(kDenyVariable, denied.c_str());
  qunsetenv(kWindowIdVariable);
  if (line.own_window) {
    qputenv(kWindowIdVariable, std::to_string(window.winId()).c_str());
  } else if (line.window_id) {
    qputenv(kWindowIdVariable, std::to_string(*line.window_id).c_str());
  }
}

// Ends the page while the event loop still runs, so that the plug-in has the time to clean up.
void CloseAndWait(Window* window, const PluginWatch& watch) {
  window->ClosePage();
  QElapsedTimer time;
  for (time.start(); watch.instances() > 0 && time.elapsed() < kEndTimeMs;) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  }
  if (watch.instances() > 0) {
    std::fprintf(stderr, "lumivex-desktop: the plug-in did not end with its page\n");
  }
}

int Run(const CommandLine& line, const SessionFolder& folder) {
  Window window(line.width, line.height);
  PluginWatch watch(folder, line.log_level.empty() ? INT_MAX : LogPriority(line.log_level));
  watch.on_failure = [&window](const std::string& sentence) { window.ShowFailure(sentence); };
  SetEnvironment(line, folder, window);
  watch.SetEnvironment();

  int status = kDone;
  QTimer screenshot_timer;
  screenshot_timer.setSingleShot(true);
  QObject::connect(&screenshot_timer, &QTimer::timeout, [&] {
    if (!window.SaveScreenshot(line.screenshot)) {
      std::fprintf(stderr, "lumivex-desktop: %s: cannot write\n", line.screenshot.c_str());
      status = kFailed;
    }
    QCoreApplication::quit();
  });
  window.Open(line.page, [&](bool ok) {
    status = ok ? kDone : kNoPage;  // of the last load
    if (!ok) {
      std::fprintf(stderr, "lumivex-desktop: %s could not be loaded\n", line.page.c_str());
    }
    if (!line.screenshot.empty() && ok) {
      screenshot_timer.start(line.screenshot_after_ms);
    } else if (!line.screenshot.empty()) {
      QCoreApplication::quit();
    }
  });
  window.show();
  window.activateWindow();
  const SignalWatch signal_watch;
  QApplication::exec();
  CloseAndWait(&window, watch);
  if (signal_watch.signal() != 0) {
    return kSignalled + signal_watch.signal();
  }
  return status == kDone && watch.failed() ? kPluginFailed : status;
}

int Main(int argc, char** argv) {
  int status = kDone;
  const auto line = ReadCommandLine(argc, argv, &status);
  if (!line) {
    return status;
  }
  if (!HasScreen()) {
    SayNoScreen();
    return kNoScreen;
  }
  qputenv("QT_QPA_PLATFORM", "xcb");  // the picture is shown in an X11 window inside ours
  const SessionFolder folder;
  if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", folder.Path("").c_str());  // or else Qt complains
  }
  std::vector<std::string> arguments = {
      argv[0],
      "--register-pepper-plugins=" + folder.Link("plugin.so", line->wrapper) + ";" + kMimeType,
      // The plug-in opens libraries, media files, sound and windows, which a sandbox forbids.
      "--no-sandbox",
      "--log-level=3",  // what the engine tells its own authors
  };
  // Qt takes the engine's switches either from its variable or from here.
  for (const QByteArray& flag : qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").split(' ')) {
    if (!flag.isEmpty()) {
      arguments.push_back(flag.toStdString());
    }
  }
  qunsetenv("QTWEBENGINE_CHROMIUM_FLAGS");
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  int count = static_cast<int>(pointers.size());
  pointers.push_back(nullptr);
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  const QApplication application(count, pointers.data());
  return Run(*line, folder);
}

}  // namespace
}  // namespace lumivex::desktop

int main(int argc, char** argv) {
  return lumivex::desktop::Main(argc, argv);
}
