#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "host/plugin_options.h"

namespace lumivex::host {

// The command line of lumivex-host.
struct CommandLine : PluginOptions {
  std::string script = "-";  // standard input
  std::optional<int32_t> window_id = 1;
  std::string log_file;
  bool json = false;
  bool check = false;  // script is then a clip, or "-"
  int timeout = 60;    // seconds
};

// Ends the program after --help, --version or wrong usage.
CommandLine ReadCommandLine(int argc, char** argv);

}  // namespace lumivex::host

#endif  // HOST_OPTIONS_H_
