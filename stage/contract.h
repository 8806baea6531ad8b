#ifndef STAGE_CONTRACT_H_
#define STAGE_CONTRACT_H_

// The contract with the page: a table of every command with its log lines, calls and replies, and
// the checks before it. Tests, fuzz targets and benchmarks read it.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/json.h"
#include "stage.h"

namespace lumivex::test {

inline constexpr char kPlayer[] = "lumivexplayer";
inline constexpr char kTuner[] = "lumivexrfmanager";

// "h message" is short for the line "h:Function message" of the journal; other lines stand as they
// are. A script has several, separated by " | ".
std::string Line(const std::string& text, const std::string& function);
Lines Script(const std::string& text, const std::string& function = "");

// A row. Of a command's rows the first one applies whose condition holds.
struct Command {
  // The request is an example, right in everything. Its keys have to be there, but for timeOffset
  // and scalingMode.
  //
  // The journal is what follows behind the envelope's two lines, as Script has it, and besides:
  //   tuner     obtains the tuner, unless it is held already
  //   tuner?    the tuner has to be held
  //   player?   the player has to be there, as for a call on it
  //   -line     only when the call before it, "player ..." or "tuner ...", was refused; +line else
  //   stop?     the end, when it was refused
  // {key} is an argument as an integer, {key:u} without a sign, :f as a single float, :b as a
  // truth, :s as text up to a NUL byte, :q the same in quotes, :Q whole in quotes, :t as a stream
  // type, :p as a property's name. {} is the call's answer in the same forms, and :d as 0 or 1, :n
  // its text's length, :w and :h a picture's size; {fit:u} and {fit:i} are the area fitted to it. A
  // line with {#} comes once for each bitrate {bitrate}; {bitrates} are all.
  //
  // The reply is its value, "bad" for a request that it cannot work with; the refusal is the value
  // when the last call was refused. When it counts is "key=first..last", an integer.
  Command(const char* module,
          const std::string& request,
          const std::string& journal,
          std::string reply,
          std::string refusal = "",
          std::string when = "");

  host::Json message;  // the example with its module
  std::string name;
  Lines script;
  std::string value;
  std::string refused;
  std::string condition;
};
const std::vector<Command>& Commands();

// How the tuner is obtained, in the same notation.
extern const char* const kObtainingTuner;

// What commands depend on and change.
struct Circumstances {
  bool player_privilege = true;
  bool tuner_privilege = true;
  bool has_player = true;
  bool has_tuner = false;
  int window = 7;
  float speed = 0;
  bool is_buffering = false;
  std::uint32_t last_percent = 0;  // one for the process
  // What the platform answers to a call, named as for Stage.
  std::function<Answer(const std::string& call)> answer = [](const std::string& call) {
    return Stage::Get().Decide(call);
  };
};

struct Outcome {
  std::string reply;  // as Describe has it
  Lines journal;
};
inline bool operator==(const Outcome& a, const Outcome& b) {
  return a.reply == b.reply && a.journal == b.journal;
}

// What has to follow a blocking message, and a posted one, whose reply is JSON text.
Outcome Expect(const host::Json& message, Circumstances* now);
Outcome ExpectPosted(const host::Json& message, const Circumstances& now);

// What comes with a message of the player.
struct Record {
  std::uint32_t percent = 0;
  int value = 0;
  std::optional<std::string> data;
};

// What has to follow a report of the platform: the event as JSON text, none when it is ignored.
struct Report {
  std::optional<std::string> event;
  Lines journal;
};
Report ExpectMessage(int id, const Record* record, Circumstances* now);
Report ExpectPosition(unsigned long position);
Report ExpectTunerEvent(unsigned int type, int param1, const std::string& param2);

bool IsUtf8(const std::string& text);          // whether a browser makes a text of it
std::string UpToNul(const std::string& text);  // as C has it

// Replies.
std::string Ok(const std::string& value);
std::string Refused(int code, const std::string& name, const std::string& message);
std::string BadParameter();  // what most commands say to missing keys
std::string NoTuner();

}  // namespace lumivex::test

#endif  // STAGE_CONTRACT_H_
