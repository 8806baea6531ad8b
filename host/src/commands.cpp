#include "host/commands.h"

#include <algorithm>

namespace lumivex::host {

const std::vector<Command>& Commands() {
  static const std::vector<Command>& commands = *new std::vector<Command>{
#include "commands.inc"
  };
  return commands;
}

const Command* FindCommand(std::string_view name) {
  const std::vector<Command>& commands = Commands();
  const auto found = std::find_if(commands.begin(), commands.end(),
                                  [name](const Command& c) { return c.name == name; });
  return found == commands.end() ? nullptr : &*found;
}

}  // namespace lumivex::host
