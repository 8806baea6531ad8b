#ifndef DESKTOP_SRC_OPTIONS_H_
#define DESKTOP_SRC_OPTIONS_H_

#include <QUrl>
#include <string>

#include "host/plugin_options.h"

namespace lumivex::desktop {

// Exit statuses; see --help.
enum Status {
  kDone = 0,
  kFailed = 1,
  kNoScreen = 2,
  kNoPage = 3,
  kPluginFailed = 4,
  kSignalled = 128
};

struct CommandLine : host::PluginOptions {
  QUrl page;
  std::string wrapper;
  std::string device_paths;
  std::string window_id = "own";  // "own", a number or "none"
  int width = 1920;
  int height = 1080;
  std::string record;      // absolute; empty: no recording
  std::string screenshot;  // empty: the window stays until it is closed
  int screenshot_after_ms = 2000;
  int devtools_port = 0;  // 0: no developer tools
  bool insecure = false;  // take any certificate
};

// Ends the program after --help, --version or wrong usage, or if a file is missing.
CommandLine ReadCommandLine(int argc, char** argv);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_OPTIONS_H_
