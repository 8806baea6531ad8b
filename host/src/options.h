#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace lumivex::host {

// The command line of lumivex-host.
struct CommandLine {
  std::string script;            // empty: standard input
  std::string plugin;            // never empty
  std::string sysroot;           // absolute; empty when there is none
  std::set<std::string> denied;  // paths or URIs of privileges
  std::optional<int32_t> window_id = 1;
  std::string log_level;  // empty: as the environment says
  std::string log_file;
  bool json = false;
};

// Null when the program is done already: *status is then its exit status, and what had to be said
// was said.
std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int* status);

}  // namespace lumivex::host

#endif  // HOST_OPTIONS_H_
