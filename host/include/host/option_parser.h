#ifndef HOST_OPTION_PARSER_H_
#define HOST_OPTION_PARSER_H_

#include <CLI/CLI.hpp>
#include <set>
#include <string>

namespace lumivex::host {

inline constexpr int kWrongUsage = 64;  // exit status of every program

// Opens /dev/null in place of standard streams that are closed, lest another file takes their
// place. The first thing in main.
void OpenStandardStreams();

// What every program that loads the plug-in may be told about it.
struct PluginOptions {
  std::string plugin;            // absolute
  std::string sysroot;           // absolute; empty when there is none
  std::set<std::string> denied;  // module names whose privilege is refused
  std::string log_level;         // empty: not given
};

// Reads a program's command line. Of an option given twice the last counts.
class OptionParser : public CLI::App {
 public:
  OptionParser(const std::string& program,
               const std::string& description,
               const std::string& footer);

  // The options are filled by Read and have to live until then.
  void AddPluginOptions(PluginOptions* options);
  // Ends the program after --help, --version or wrong usage.
  void Read(int argc, char** argv);
};

}  // namespace lumivex::host

#endif  // HOST_OPTION_PARSER_H_
