#ifndef DESKTOP_SRC_OPTIONS_H_
#define DESKTOP_SRC_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace lumivex::desktop {

// Exit statuses; described in the usage text.
enum Status {
  kDone = 0,
  kFailed = 1,
  kNoScreen = 2,
  kNoPage = 3,
  kPluginFailed = 4,
  kSignalled = 128
};

struct CommandLine {
  std::string page;     // an absolute path or an address
  std::string plugin;   // absolute
  std::string sysroot;  // absolute; empty: device paths are looked up on this machine
  std::string wrapper;
  std::string device_paths;
  std::set<std::string> denied;           // the last parts of privilege URIs
  bool own_window = true;                 // the plug-in gets the id of our window ...
  std::optional<std::int32_t> window_id;  // ... or else this one, or none
  std::string log_level;                  // of the lines to show; empty: none
  int width = 1920;
  int height = 1080;
  std::string screenshot;  // empty: the window stays until it is closed
  int screenshot_after_ms = 2000;
};

// Null when there is nothing to open; *status is then the exit status, and what there is to say
// has been said.
std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int* status);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_OPTIONS_H_
