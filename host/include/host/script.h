#ifndef HOST_SCRIPT_H_
#define HOST_SCRIPT_H_

// The script that lumivex-host plays, one JSON value a line:
//
//   {"moduleName": "lumivexplayer", ...}                 a blocking message, any JSON value
//   {"$post": message}                                   a message that has no answer
//   {"$wait": 250}                                       waits so many milliseconds
//   {"$waitFor": {"event": "..."}, "timeout": 5000}      waits for an event; 10 s without "timeout"
//   {"$expect": {"code": 0}}                             compares the last reply
//   {"$waitFor": {...}, "$expect": {"text": "..."}}      compares the event waited for
//
//   SeekTo msec=900                                      short for a command with its arguments
//
// An object with a key that begins with $ is one of these and nothing else. Blank lines and lines
// that begin with // or # say nothing.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "host/json.h"

namespace lumivex::host {

struct NoAction {};

struct SendAction {
  Json message;
};

struct PostAction {
  Json message;
};

struct WaitAction {
  std::chrono::milliseconds time;
};

struct WaitForAction {
  Json event;  // an object; see Matches
  std::chrono::milliseconds timeout;
  std::optional<Json> expected;  // an object too
};

struct ExpectAction {
  Json reply;  // an object
};

struct ScriptError {
  std::size_t column;  // from 1, in characters
  std::string reason;
};

using ScriptLine = std::
    variant<NoAction, SendAction, PostAction, WaitAction, WaitForAction, ExpectAction, ScriptError>;

// Reads one line, given without its end. Never throws; any bytes are allowed.
ScriptLine ReadScriptLine(std::string_view line);

// Whether the event or reply has what is wanted: the same value, or for an object every member
// wanted, which may be an object wanted in part again.
bool Matches(const Json& wanted, const Json& event);

}  // namespace lumivex::host

#endif  // HOST_SCRIPT_H_
