#ifndef TESTS_PLUGIN_COMMANDS_H_
#define TESTS_PLUGIN_COMMANDS_H_

// Every command with arguments that are right: what it says and calls, and what it answers when the
// platform agrees and when it refuses.

#include <string>
#include <vector>

#include "plugin_test.h"

namespace lumivex::test {

// The module whose command a request is.
const char* ModuleOf(const std::string& request);

struct Command {
  std::string request;  // JSON
  // What comes behind the envelope's two lines, as Script has it: + when the platform agrees, -
  // when it refuses. The tuner's commands find the tuner obtained.
  std::string journal;
  std::string value;
  std::string refused_value = value;

  std::string name() const { return Json::parse(request).at("command"); }
  const char* module() const { return ModuleOf(request); }
  std::string call() const;  // of the platform, the one that can refuse; empty when there is none
  Lines Journal(bool agrees) const { return Script(journal, name(), agrees ? '+' : '-'); }
};

const std::vector<Command>& Commands();

// The name of the platform's call in a line of the journal: "player 20", "tuner SetChType",
// "bridge get_window_id undefined", "dlsym", "log". Empty when there is none.
std::string CallOf(const std::string& line);

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_COMMANDS_H_
