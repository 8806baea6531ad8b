// lumivex-desktop: a page with the plug-in in a window of a real browser engine.

#include <QApplication>
#include <QTcpServer>
#include <QTimer>
#include <climits>
#include <cstdio>
#include <string>

#include "engine.h"
#include "log_level.h"
#include "options.h"
#include "plugin_watch.h"
#include "session_folder.h"
#include "signal_watch.h"
#include "window.h"

namespace lumivex::desktop {
namespace {

void ReportNoScreen(const std::string& problem) {
  std::fprintf(stderr,
               "lumivex-desktop: no X11 screen: %s.\n"
               "Use a virtual one (Debian packages xvfb and xauth):\n"
               "  xvfb-run -s \"-screen 0 1920x1080x24\" lumivex-desktop --screenshot page.png\n",
               problem.c_str());
}

// The engine itself would not report a port that is in use.
bool OpenDevTools(int port) {
  QTcpServer probe;
  if (!probe.listen(QHostAddress::LocalHost, static_cast<quint16>(port))) {
    std::fprintf(stderr, "lumivex-desktop: --devtools: 127.0.0.1:%d: %s\n", port,
                 qPrintable(probe.errorString()));
    return false;
  }
  qputenv("QTWEBENGINE_REMOTE_DEBUGGING", "127.0.0.1:" + QByteArray::number(port));
  return true;
}

WrapperSettings SettingsOf(const CommandLine& line, const Window& window) {
  WrapperSettings settings = {line.plugin, line.sysroot, line.device_paths,
                              line.denied, {},           line.record};
  if (line.window_id == "own") {
    settings.window_id = static_cast<std::int64_t>(window.winId());
  } else if (line.window_id != "none") {
    settings.window_id = std::stoi(line.window_id, nullptr, 0);
  }
  return settings;
}

int Run(const CommandLine& line, const SessionFolder& folder) {
  if (line.devtools_port != 0 && !OpenDevTools(line.devtools_port)) {
    return kFailed;
  }
  Window window(line.width, line.height);
  PluginWatch watch(folder, line.log_level.empty() ? INT_MAX : LogPriority(line.log_level));
  watch.on_failure = [&window](const std::string& sentence) { window.ShowFailure(sentence); };
  SetEnvironment(SettingsOf(line, window), folder);
  watch.SetEnvironment();
  if (line.insecure) {
    qputenv("LUMIVEX_INSECURE", "1");  // for the player
  }

  int status = kDone;
  QTimer screenshot_timer;
  screenshot_timer.setSingleShot(true);
  QObject::connect(&screenshot_timer, &QTimer::timeout, [&] {
    if (!window.SaveScreenshot(line.screenshot)) {
      std::fprintf(stderr, "lumivex-desktop: cannot write %s\n", line.screenshot.c_str());
      status = kFailed;
    }
    QCoreApplication::quit();
  });
  window.on_crash = [&](const std::string& sentence) {
    watch.Fail(sentence);
    if (!line.screenshot.empty()) {
      screenshot_timer.start(line.screenshot_after_ms);  // the page may not have loaded
    }
  };
  window.Open(line.page, line.insecure, [&](bool ok) {
    status = ok ? kDone : kNoPage;  // the last load counts
    if (!ok) {
      std::fprintf(stderr, "lumivex-desktop: cannot load %s\n",
                   qPrintable(line.page.toDisplayString()));
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
  window.ClosePage();  // before the last events, so that the plug-in can clean up
  WaitForPluginsToEnd(watch);
  if (signal_watch.signal() != 0) {
    return kSignalled + signal_watch.signal();
  }
  return status == kDone && watch.failed() ? kPluginFailed : status;
}

int Main(int argc, char** argv) {
  host::OpenStandardStreams();
  const CommandLine line = ReadCommandLine(argc, argv);
  if (const std::string problem = ScreenProblem(); !problem.empty()) {
    ReportNoScreen(problem);
    return kNoScreen;
  }
  const SessionFolder folder;
  EngineArguments arguments(argv[0], {{"plugin.so", line.wrapper, kMimeType}}, folder);
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  const QApplication application(arguments.count(), arguments.values());
  return Run(line, folder);
}

}  // namespace
}  // namespace lumivex::desktop

int main(int argc, char** argv) {
  return lumivex::desktop::Main(argc, argv);
}
