#ifndef HOST_SCRIPT_H_
#define HOST_SCRIPT_H_

// The script that lumivex-host plays, one JSON value a line:
//
//   {"moduleName": "lumivexplayer", ...}                 a blocking message, any JSON value
//   {"$post": message}                                   a message without a reply
//   {"$wait": 250}                                       waits 250 ms
//   {"$waitFor": {"event": "..."}, "timeout": 5000}      waits for an event, by default for 10 s
//   {"$expect": {"code": 0}}                             checks the last reply
//   {"$waitFor": {...}, "$expect": {"text": "..."}}      checks the event
//
//   SeekTo msec=900                                      a command in short form
//
// An object with a key that starts with $ is always a directive. Blank lines and lines that start
// with # or // are ignored.

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
  std::optional<Json> expected;  // an object
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

// Reads one line, without its newline. Never throws, whatever the bytes.
ScriptLine ReadScriptLine(std::string_view line);

// Whether the event or reply equals what is wanted or, for objects, has all wanted members, which
// match in the same way.
bool Matches(const Json& wanted, const Json& event);

}  // namespace lumivex::host

#endif  // HOST_SCRIPT_H_
