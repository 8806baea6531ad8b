#ifndef HOST_OPTION_PARSER_H_
#define HOST_OPTION_PARSER_H_

#include <CLI/CLI.hpp>
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

// Reads a program's command line. If an option is repeated, the last one counts.
class OptionParser : public CLI::App {
 public:
  OptionParser(const std::string& program,
               const std::string& description,
               const std::string& footer);

  // Read fills the options.
  void AddPluginOptions(PluginOptions* options);
  // Ends the program after --help, --version or wrong usage.
  void Read(int argc, char** argv);
};

}  // namespace lumivex::host

#endif  // HOST_OPTION_PARSER_H_
