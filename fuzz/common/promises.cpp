#include "promises.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <string_view>

#include "check.h"

namespace lumivex::test {

using host::Json;
using host::OwnedVar;
using host::VarTable;

const std::array<PromisedCommand, 34> kCommands = {{
    {"HasPlayerPrivilege", 'b', "", '-'},
    {"SetDataSource", 'b', "\"url ", '-'},
    {"Start", 'b', "", '-'},
    {"Stop", 'b', "", '-'},
    {"Pause", 'b', "", '-'},
    {"Resume", 'b', "", '-'},
    {"SeekTo", 'b', "msec ", '-'},
    {"SetPlaybackSpeed", 'b', "speed ", '-'},
    {"GetPlaybackSpeed", 'd', "", '-'},
    {"SetDisplayArea", 'b', "x y width height ", '-'},
    {"GetCurrentPosition", 'i', "", '-'},
    {"GetDuration", 'i', "", '-'},
    {"GetVideoWidth", 'i', "", '-'},
    {"GetVideoHeight", 'i', "", '-'},
    {"GetNumOfTracks", 'i', "trackType ", '-'},
    {"GetSelectedTrack", 'i', "trackType ", '-'},
    {"SelectTrack", 'b', "trackType index ", '-'},
    {"GetTrackLanguageCode", 's', "trackType index ", '-'},
    {"SetTimedTextSource", 'b', "\"URI ", '-'},
    {"SetDRMProperty", 'b', "type propertyData ", '-'},
    {"GetAvailableBitrates", 's', "", '-'},
    {"GetPlayerVersion", 's', "", '-'},
    {"HasRFManagerPrivilege", 'b', "", '-'},
    {"GetRFManagerVersion", 's', "", '-'},
    {"SetChannelType", 'b', "channelType ", 'o'},
    {"TuneRFChannel", 'b', "ptc major minor programNum transportStreamID ", 'o'},
    {"GetNumOfRFTracks", 'i', "trackType ", 't'},
    {"GetSelectedRFTrack", 'i', "trackType ", 't'},
    {"SelectRFTrack", 'b', "trackType index ", 't'},
    {"GetRFSubtitleMode", 'i', "", 'u'},
    {"SetRFSubtitleMode", 'b', "subtitleMode ", 'u'},
    {"GetRFSubtitleStatus", 'x', "", 'u'},
    {"SetRFSubtitleStatus", 'b', "showStatus ", 'u'},
    {"GetRFTrackLanguageCode", 's', "trackType index ", 't'},
}};

namespace {

std::optional<std::string> Text(VarTable* vars, PP_Var var) {
  if (var.type != PP_VARTYPE_STRING) {
    return std::nullopt;
  }
  uint32_t length = 0;
  const char* const text = vars->ToUtf8(var, &length);
  return std::string(text, length);
}

OwnedVar Member(VarTable* vars, PP_Var dictionary, const std::string& key) {
  const OwnedVar name(vars, vars->FromUtf8(key));
  return {vars, vars->DictionaryGet(dictionary, name.get())};
}

bool HasKey(VarTable* vars, PP_Var dictionary, const std::string& key) {
  const OwnedVar name(vars, vars->FromUtf8(key));
  return vars->DictionaryHasKey(dictionary, name.get());
}

bool HasArguments(VarTable* vars, PP_Var request, const PromisedCommand& command) {
  std::istringstream keys(command.keys);
  for (std::string key; keys >> key;) {
    const bool text = key.front() == '"';
    const std::string name = key.substr(text ? 1 : 0);
    if (!HasKey(vars, request, name) ||
        (text && Member(vars, request, name).get().type != PP_VARTYPE_STRING)) {
      return false;
    }
  }
  return std::string_view(command.name) != "SetDataSource" ||
         Text(vars, Member(vars, request, "url").get()) != "";
}

bool HasType(char wanted, int type) {
  return (wanted == 'b' && type == PP_VARTYPE_BOOL) ||
         (wanted == 'i' && type == PP_VARTYPE_INT32) ||
         (wanted == 'd' && type == PP_VARTYPE_DOUBLE) ||
         (wanted == 's' && type == PP_VARTYPE_STRING) ||
         (wanted == 'x' && (type == PP_VARTYPE_BOOL || type == PP_VARTYPE_INT32));
}

const char* NameOf(int code) {
  switch (code) {
    case 0:
      return "";
    case 9:
      return "NotSupportedError";
    case 11:
      return "InvalidStateError";
    case 18:
      return "SecurityError";
    case 26:
      return "InvalidValuesError";
    default:
      return "none of the known codes";
  }
}

}  // namespace
Expected Envelope(VarTable* vars, const Privileges& privileges, PP_Var message) {
  if (message.type != PP_VARTYPE_DICTIONARY) {
    return {26, nullptr, ""};
  }
  const auto module = Text(vars, Member(vars, message, "moduleName").get());
  const auto name = Text(vars, Member(vars, message, "command").get());
  if (!module) {
    return {26, nullptr, ""};
  }
  if ((module == "lumivexplayer" && !privileges.player) ||
      (module == "lumivexrfmanager" && !privileges.tuner)) {
    return {18, nullptr, *module};
  }
  if (!name) {
    return {26, nullptr, ""};
  }
  const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                  [&name](const PromisedCommand& c) { return *name == c.name; });
  return found == kCommands.end() ? Expected{9, nullptr, *name} : Expected{0, &*found, *name};
}

int32_t AnsweringServices::GenericSyncCall(
    VarTable& vars, PP_Instance, PP_Var operation, PP_Var data, PP_Var* result) {
  const bool success = Say().Success();
  const bool of_type = Say().Success();
  const std::string asked = Text(&vars, operation).value_or("");
  const std::string uri = Text(&vars, data).value_or("");
  if (asked == "check_ace_privilege") {
    *result = of_type ? host::BoolVar(Say().Success()) : vars.FromUtf8(Say().Text());
    const bool granted =
        success && result->type == PP_VARTYPE_BOOL && result->value.as_bool == PP_TRUE;
    (uri.find("/lumivexplayer") != std::string::npos ? privileges.player : privileges.tuner) =
        granted;
  } else {
    *result = of_type ? host::IntVar(Say().Number()) : host::DoubleVar(-1e300);
  }
  if (!success) {
    vars.Release(*result);  // is not looked at
  }
  return success ? 0 : -2;
}

int CheckReply(const Json& reply, std::size_t members) {
  const std::string text = reply.dump();
  Check(reply.is_object() && reply.size() == members && reply.contains("code") &&
            reply.contains("value") && reply.contains("errorName") &&
            reply.contains("errorMessage"),
        "a reply has its values and no others", text);
  Check(reply["code"].is_number_integer() && reply["errorName"].is_string() &&
            reply["errorMessage"].is_string(),
        "a reply's values have their types", text);
  const int code = reply["code"].get<int>();
  const auto message = reply["errorMessage"].get<std::string>();
  Check(reply["errorName"] == NameOf(code), "a code is known and has its own name", text);
  Check(code == 0 || reply["value"].is_null(), "an error has no value", text);
  Check(code != 0 || message.empty(), "a success has no message", text);
  Check(code == 0 || code == 11 || !message.empty(), "an error says why", text);
  return code;
}

int CheckAnswer(VarTable* vars,
                PP_Var message,
                const Expected& expected,
                PP_Var answer,
                const Circumstances& now) {
  const std::optional<Json> reply = vars->ToJson(answer);
  Check(reply.has_value(), "a reply can be passed on");
  const int code = CheckReply(*reply, 4);
  const std::string text = reply->dump();
  if (expected.command == nullptr) {
    Check(code == expected.code, "the envelope decides", text);
    return code;
  }
  const PromisedCommand& command = *expected.command;
  const int wanted = command.tuner != '-' && !now.tuner_held ? 11
                     : !HasArguments(vars, message, command) ? 26
                                                             : 0;
  const bool bad_track_type = command.tuner == 't' && wanted == 0 && code == 26;
  Check(code == wanted || bad_track_type, command.name, text);
  if (code == 0) {
    const OwnedVar value = Member(vars, answer, "value");
    // Text of the platform that is not UTF-8 cannot be a var.
    const bool null = value.get().type == PP_VARTYPE_NULL && command.value == 's' && now.bad_text;
    Check(null || HasType(command.value, value.get().type), "a value has its type", text);
  }
  return code;
}

void CheckPostedReply(const Json& reply, const Expected& expected) {
  const std::string text = reply.dump();
  const int code = CheckReply(reply, 5);
  Check(code == (expected.code == 0 ? 9 : expected.code), "a posted message is refused", text);
  Check(reply.contains("name") && reply["name"] == expected.name, "a posted reply has its name",
        text);
}

}  // namespace lumivex::test
