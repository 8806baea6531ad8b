#include "stage.h"

#include <new>

#include "player_library.h"

namespace lumivex::test {

Stage& Stage::Get() {
  static Stage& stage = *new Stage;  // outlives the threads that may still call at exit
  return stage;
}

void Stage::Reset() {
  Stage& stage = Get();
  stage.~Stage();
  new (&stage) Stage;
}

Answer Stage::Decide(const std::string& call) const {
  Answer decided = answer ? answer(call) : call.compare(0, 6, "player") == 0 ? player : tuner;
  decided.success = decided.success && failing.count(call) == 0;
  decided.fills = decided.fills && silent.count(call) == 0;
  return decided;
}

Answer Enter(const char* who, int number, const std::string& name, const std::string& arguments) {
  const Stage& stage = Stage::Get();
  const std::string call = std::string(who) + " " + name;
  Journal::Get().Add(who + (number == 1 ? "" : std::to_string(number)) + " " + name + "(" +
                     arguments + ")");
  if (stage.on_call) {
    stage.on_call(call);
  }
  return stage.Decide(call);
}

bool OnLibraryCall(const std::string& call) {
  const std::string name = call.substr(0, call.find(' '));
  if (name != "dlsym") {  // shows as "player Create"
    Journal::Get().Add(call);
  }
  const bool success = Stage::Get().Decide(name).success;
  if (success) {
    Stage::Get().libraries += name == "dlopen" ? 1 : name == "dlclose" ? -1 : 0;
  }
  return success;
}

}  // namespace lumivex::test
