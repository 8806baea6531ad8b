// The host's script, a line at a time: any bytes are read without a throw, into an action that can
// be carried out or an error that has its place.

#include "host/script.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include "check.h"
#include "host/vars.h"

namespace lumivex::fuzz {

namespace {

using host::Json;
using test::Check;

std::optional<Json> ThroughVars(const Json& message) {
  host::Defects defects;
  host::VarTable vars(&defects);
  const std::optional<PP_Var> var = vars.FromJson(message);
  Check(var.has_value(), "what a script sends can be passed on");
  const host::OwnedVar owned(&vars, *var);
  std::optional<Json> json = vars.ToJson(owned.get());
  Check(json.has_value() && defects.All().empty(), "a message can be read back");
  return json;
}

void CheckMessage(const Json& message) {
  Check(host::Matches(message, message), "a message matches itself", message.dump());
  // The first time round numbers become the browser's; from then on nothing changes.
  const Json seen = *ThroughVars(message);
  Check(*ThroughVars(seen) == seen, "a message arrives as it was sent", message.dump());
}

void CheckTime(std::chrono::milliseconds time) {
  Check(time.count() >= 0 && time <= std::chrono::hours(24), "a wait ends",
        std::to_string(time.count()));
}

void Run(std::string_view line) {
  const auto length = static_cast<std::size_t>(std::count_if(
      line.begin(), line.end(), [](char c) { return (static_cast<unsigned char>(c) >> 6) != 2; }));
  // A throw ends the program, as a finding.
  const host::ScriptLine read = host::ReadScriptLine(line);
  if (const auto* error = std::get_if<host::ScriptError>(&read)) {
    Check(error->column >= 1 && error->column <= length + 1, "an error has its place in the line",
          std::to_string(error->column) + " of " + std::to_string(length));
    Check(!error->reason.empty(), "an error says why");
  } else if (const auto* send = std::get_if<host::SendAction>(&read)) {
    CheckMessage(send->message);
  } else if (const auto* post = std::get_if<host::PostAction>(&read)) {
    CheckMessage(post->message);
  } else if (const auto* wait = std::get_if<host::WaitAction>(&read)) {
    CheckTime(wait->time);
  } else if (const auto* wait_for = std::get_if<host::WaitForAction>(&read)) {
    CheckTime(wait_for->timeout);
    Check(wait_for->event.is_object(), "an event that is waited for is an object");
  }
}

}  // namespace

}  // namespace lumivex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  lumivex::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
