#ifndef HOST_PLUGIN_OPTIONS_H_
#define HOST_PLUGIN_OPTIONS_H_

#include <set>
#include <string>

namespace lumivex::host {

inline constexpr int kWrongUsage = 64;  // exit status of every program

// Opens /dev/null for each standard stream that is closed, so that no other file gets its
// descriptor. Call it first in main.
void OpenStandardStreams();

// Options of every program that loads the plug-in.
struct PluginOptions {
  std::string plugin;            // absolute
  std::string sysroot;           // absolute; empty: none
  std::set<std::string> denied;  // module names without the privilege
  std::string log_level;         // empty: none
};

}  // namespace lumivex::host

#endif  // HOST_PLUGIN_OPTIONS_H_
