#include "engine.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "channel.h"

namespace lumivex::desktop {
namespace {

constexpr int kShutdownTimeMs = 5000;  // for a plug-in, after its page

}  // namespace

std::string ScreenProblem() {
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool has_screen = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  if (has_screen) {
    return "";
  }
  const char* display = std::getenv("DISPLAY");
  return display == nullptr || *display == '\0'
             ? "DISPLAY is not set"
             : "DISPLAY is " + std::string(display) + ", which does not respond";
}

EngineArguments::EngineArguments(const char* program,
                                 const std::vector<EmbeddedPlugin>& plugins,
                                 const SessionFolder& folder) {
  qputenv("QT_QPA_PLATFORM", "xcb");  // the picture has an X11 window inside ours
  if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", folder.Path("").c_str());  // or else Qt complains
  }
  std::string registered;
  for (const EmbeddedPlugin& plugin : plugins) {
    registered += (registered.empty() ? "" : ",") + folder.Link(plugin.name, plugin.library) + ";" +
                  plugin.mime_type;
  }
  arguments_ = {
      program, "--register-pepper-plugins=" + registered,
      // The plug-in opens libraries, media files, sound and windows, which a sandbox forbids.
      "--no-sandbox",
      "--log-level=3",  // hides messages for the engine's own authors
  };
  // Qt takes the engine's switches either from its variable or from here.
  for (const QByteArray& flag : qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").split(' ')) {
    if (!flag.isEmpty()) {
      arguments_.push_back(flag.toStdString());
    }
  }
  qunsetenv("QTWEBENGINE_CHROMIUM_FLAGS");
  pointers_.reserve(arguments_.size() + 1);
  for (std::string& argument : arguments_) {
    pointers_.push_back(argument.data());
  }
  count_ = static_cast<int>(pointers_.size());
  pointers_.push_back(nullptr);
}

void SetEnvironment(const WrapperSettings& settings, const SessionFolder& folder) {
  const std::string preload = folder.Link("device-paths.so", settings.device_paths);
  const QByteArray others = qgetenv("LD_PRELOAD");
  qputenv("LD_PRELOAD", QByteArray(preload.c_str()) + (others.isEmpty() ? "" : ":") + others);
  qputenv("LUMIVEX_SYSROOT", settings.sysroot.c_str());
  qputenv(kPluginVariable, settings.plugin.c_str());
  std::string denied;
  for (const std::string& privilege : settings.denied) {
    denied += privilege + ",";
  }
  qputenv(kDenyVariable, denied.c_str());
  qunsetenv(kRecordVariable);
  if (!settings.record.empty()) {
    qputenv(kRecordVariable, settings.record.c_str());
  }
  qunsetenv(kWindowIdVariable);
  if (settings.window_id) {
    qputenv(kWindowIdVariable, std::to_string(*settings.window_id).c_str());
  }
}

void WaitForPluginsToEnd(const PluginWatch& watch) {
  QElapsedTimer time;
  for (time.start(); watch.instances() > 0 && time.elapsed() < kShutdownTimeMs;) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  }
  if (watch.instances() > 0) {
    std::fprintf(stderr, "%s: the plug-in did not shut down with its page\n",
                 program_invocation_short_name);
  }
}

}  // namespace lumivex::desktop
