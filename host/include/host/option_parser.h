#ifndef HOST_OPTION_PARSER_H_
#define HOST_OPTION_PARSER_H_

#include <CLI/CLI.hpp>
#include <string>

#include "host/plugin_options.h"

namespace lumivex::host {

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
