#ifndef HOST_COMMANDS_H_
#define HOST_COMMANDS_H_

#include <string_view>
#include <vector>

namespace lumivex::host {

// A command of the page's API, as the client in examples/page lists it.
struct Command {
  std::string_view module;
  std::string_view name;
  std::vector<std::string_view> arguments;
};

const std::vector<Command>& Commands();

// Null if unknown.
const Command* FindCommand(std::string_view name);

}  // namespace lumivex::host

#endif  // HOST_COMMANDS_H_
