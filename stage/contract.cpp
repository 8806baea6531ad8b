#include "contract.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace lumivex::test {

namespace {

using host::Json;

// The types of MEDIA_TRACK_TYPE 1 to 4 in the library, and the names of DRM_PROPERTY_TYPE.
constexpr int kStreamTypes[] = {3, 1, 5, 4};
constexpr int kOtherStreamType = 9;
constexpr const char* kProperties[] = {"PROPERTY_REQUEST_CHALLENGE_DATA",
                                       "PROPERTY_SET_DRM_LICENSE", "PROPERTY_LICENSE_SERVER",
                                       "PROPERTY_WMDRM_COOKIE"};

bool IsText(const Json& request, const char* key) {
  return request.contains(key) && request.at(key).is_string() &&
         IsUtf8(request.at(key).get_ref<const std::string&>());
}

// Conversions of what a page sent, or of what the platform answered.
double Double(const Json& value) {
  return value.is_number() ? value.get<double>() : 0;
}

int Int(const Json& value) {
  const double number = Double(value);
  return std::isnan(number)      ? 0
         : number >= 2147483647  ? INT32_MAX
         : number <= -2147483648 ? INT32_MIN
                                 : static_cast<int>(number);
}

std::string Form(const Json& value, char form) {
  const int number = Int(value);
  const std::string text = value.is_string() ? value.get<std::string>() : "";
  switch (form) {
    case 'u':
      return std::to_string(static_cast<unsigned int>(number));
    case 'f':
      return std::to_string(static_cast<double>(static_cast<float>(Double(value))));
    case 'b':
      return value == true ? "true" : "false";
    case 'd':
      return value == true ? "1" : "0";
    case 's':
      return UpToNul(text);
    case 'q':
      return Quote(UpToNul(text));
    case 'Q':
      return Quote(text);
    case 'n':
      return std::to_string(text.size());
    case 't':
      return std::to_string(number >= 1 && number <= 4 ? kStreamTypes[number - 1]
                                                       : kOtherStreamType);
    case 'p':
      return Quote(kProperties[number & 3]);
    default:
      return std::to_string(number);
  }
}

struct Area {
  uint32_t x, y, width, height;
};

// In double precision, rounded to single after each step: what a single operation on singles gives,
// since a double holds more than twice their digits.
float Single(double value) {
  return static_cast<float>(value);
}

uint32_t Whole(float value) {
  return value >= 4294967296.0F ? UINT32_MAX : static_cast<uint32_t>(std::floor(value));
}

Area Fitted(Area area, int video_width, int video_height) {
  const double w = Single(area.width);
  const double h = Single(area.height);
  const double shape = Single(double{Single(video_width)} / double{Single(video_height)});
  // Wider than an area without height is nothing; NaN, of an empty area, compares as false.
  if (shape > Single(w / h)) {
    const uint32_t fitted = Whole(Single(w / shape));
    return {area.x, area.y + (area.height - fitted) / 2, area.width, fitted};
  }
  const uint32_t fitted = Whole(Single(shape * h));
  return {area.x + (area.width - fitted) / 2, area.y, fitted, area.height};
}

// One command on its way.
class Course {
 public:
  Course(const Json& request, const std::string& function, Circumstances* now)
      : request_(request), in_adapter_(function), now_(now) {}

  // False: it ended before its end.
  bool Follow(const Lines& lines) {
    return std::all_of(lines.begin(), lines.end(),
                       [this](const std::string& line) { return Take(line); });
  }

  std::string Expand(const std::string& text) const {
    std::string expanded;
    std::size_t at = 0;
    for (std::size_t open = text.find('{'); open != std::string::npos; open = text.find('{', at)) {
      const std::size_t close = text.find('}', open);
      const std::string name = text.substr(open + 1, close - open - 1);
      const std::size_t colon = std::min(name.find(':'), name.size());
      expanded += text.substr(at, open - at) +
                  Value(name.substr(0, colon), colon < name.size() ? name[colon + 1] : 'i');
      at = close + 1;
    }
    return expanded + text.substr(at);
  }

  // Text that a browser cannot make a text of is null.
  std::string ValueOf(const std::string& value) const {
    const std::string text = value == "{:q}" ? UpToNul(answer_.text) : answer_.text;
    return value.size() == 4 && value[0] == '{' && (value[2] == 'q' || value[2] == 'Q') &&
                   !IsUtf8(text)
               ? "null"
               : Expand(value);
  }

  bool is_refused() const { return is_refused_; }
  Lines journal;

 private:
  bool Take(std::string line) {
    if (line == "stop?") {
      return !is_refused_;
    }
    if (line == "tuner" || line == "tuner?") {
      return true;
    }
    if (line == "player?") {
      HasPlayer();
      return true;
    }
    if (line[0] == '-' || line[0] == '+') {
      if (is_refused_ != (line[0] == '-')) {
        return true;
      }
      line.erase(0, 1);
    }
    if (line[0] == 'a' || line[0] == 'A') {
      if (line.find(" starts.") != std::string::npos) {
        in_adapter_ = line.substr(2, line.find(' ') - 2);
        lacks_player_ = false;
      } else if (lacks_player_) {
        return true;  // it has given its reason
      }
    }
    if (line.find("{fit") != std::string::npos && (answer_.width <= 0 || answer_.height <= 0)) {
      is_refused_ = true;
      return false;
    }
    if (line.find("{#}") != std::string::npos) {
      for (index_ = 0; index_ < answer_.bitrates.size(); ++index_) {
        journal.push_back(Expand(line));
      }
      return true;
    }
    if (line.compare(0, 7, "player ") == 0 || line.compare(0, 6, "tuner ") == 0) {
      if (line[0] == 'p' && !HasPlayer()) {
        is_refused_ = true;
        return true;
      }
      Call(Expand(line));
      return true;
    }
    journal.push_back(Expand(line));
    return true;
  }

  bool HasPlayer() {
    lacks_player_ = !now_->has_player;
    if (lacks_player_) {
      journal.push_back("A:" + in_adapter_ +
                        " ZunoPlayer instance is not created yet. Returns false.");
    }
    return now_->has_player;
  }

  void Call(const std::string& line) {
    journal.push_back(line);
    const std::string call = line.substr(0, line.find('('));
    answer_ = now_->answer(call);
    is_refused_ = !answer_.success;
    if (!answer_.fills) {  // its outputs stay as they were
      const std::size_t star = line.find('*');
      const int held = star == std::string::npos ? 0 : std::atoi(line.c_str() + star + 1);
      answer_ = {answer_.success, false, held, held, held, "", {}};
    }
    if (call == "player 25" && answer_.success) {
      now_->speed = Single(Double(request_.at("speed")));
    } else if (call == "tuner GetKelvoAppIDByPID") {
      application_ = answer_.success ? "org.example.page" : "";
    } else if (call == "tuner GetInstance") {
      now_->has_tuner = answer_.success;
    }
  }

  std::string Value(const std::string& name, char form) const {
    if (name.empty()) {
      return form == 'w'                  ? std::to_string(answer_.width)
             : form == 'h'                ? std::to_string(answer_.height)
             : form == 'b' || form == 'd' ? Form(answer_.number != 0, form)
             : form == 'i' || form == 'u' ? Form(answer_.number, form)
                                          : Form(answer_.text, form);
    }
    if (name == "fit") {
      return Fit(form);
    }
    if (name == "#") {
      return std::to_string(index_);
    }
    if (name == "bitrate") {
      return std::to_string(answer_.bitrates[index_]);
    }
    if (name == "bitrates") {
      std::string all;
      for (const unsigned int bitrate : answer_.bitrates) {
        all += (all.empty() ? "" : ",") + std::to_string(bitrate);
      }
      return all;
    }
    if (name == "player" || name == "tuner") {
      return Form(name == "player" ? now_->player_privilege : now_->tuner_privilege, form);
    }
    if (name == "application") {
      return Quote(application_);
    }
    if (name == "window") {
      return Form(now_->window, form);
    }
    if (name == "last") {
      char text[40];
      std::snprintf(text, sizeof text, form == 'f' ? "%f" : "%.17g", double{now_->speed});
      return text;
    }
    const Json value = request_.contains(name) ? request_.at(name) : Json();
    return Form(value.is_string() && !IsUtf8(value.get<std::string>()) ? Json() : value, form);
  }

  std::string Fit(char form) const {
    const auto argument = [this](const char* key) {
      return static_cast<uint32_t>(Int(request_.at(key)));
    };
    const Area area = Fitted({argument("x"), argument("y"), argument("width"), argument("height")},
                             answer_.width, answer_.height);
    std::string text;
    for (const uint32_t value : {area.x, area.y, area.width, area.height}) {
      text += (text.empty()  ? ""
               : form == 'i' ? " "
                             : ", ") +
              Form(static_cast<int32_t>(value), form);
    }
    return text;
  }

  const Json& request_;
  std::string in_adapter_;  // the operation
  Circumstances* const now_;
  bool lacks_player_ = false;
  bool is_refused_ = false;
  Answer answer_ = {};
  std::string application_;
  std::size_t index_ = 0;
};

bool Holds(const std::string& condition, const Json& request) {
  const std::size_t equals = condition.find('=');
  const std::string key = condition.substr(0, equals);
  const std::size_t dots = condition.find("..");
  return condition.empty() || (request.contains(key) &&
                               Int(request.at(key)) >= std::stoi(condition.substr(equals + 1)) &&
                               Int(request.at(key)) <= std::stoi(condition.substr(dots + 2)));
}

bool HasKeys(const Command& command, const Json& request) {
  for (const auto& [key, value] : command.message.items()) {
    const bool is_text = key == "url" || key == "URI";
    if (key != "timeOffset" && key != "scalingMode" &&
        (is_text ? !IsText(request, key.c_str()) : !request.contains(key))) {
      return false;
    }
  }
  return true;
}

Outcome Run(const Command& command, const Json& request, Circumstances* now) {
  Course course(request, command.name, now);
  const auto reply = [&course](const std::string& text) { return Outcome{text, course.journal}; };
  // The tuner comes before the arguments.
  const std::string first = command.script.empty() ? "" : command.script.front();
  if ((first == "tuner?" && !now->has_tuner) ||
      (first == "tuner" &&
       !course.Follow(Script(now->has_tuner ? "h:InitRFManager RFManager is already initialized."
                                            : kObtainingTuner)))) {
    return reply(NoTuner());
  }
  if (!HasKeys(command, request)) {
    return reply(command.name == "SetDataSource"
                     ? Refused(26, "InvalidValuesError", "Parameters are invalid")
                     : BadParameter());
  }
  if (command.name == "SetDataSource" && request.at("url").get_ref<const std::string&>().empty()) {
    return reply(BadParameter());
  }
  const bool is_complete = course.Follow(command.script);
  if (command.value == "bad") {
    return reply(BadParameter());
  }
  const bool is_refused = !is_complete || course.is_refused();
  return reply(
      Ok(course.ValueOf(is_refused && !command.refused.empty() ? command.refused : command.value)));
}

std::string Reply(const std::string& code,
                  const std::string& value,
                  const std::string& name,
                  const std::string& message) {
  return R"({"code": )" + code + R"(, "errorMessage": ")" + message + R"(", "errorName": ")" +
         name + R"(", "value": )" + value + "}";
}

// A posted reply as JSON text; none of those that are refused has a value.
std::string Posted(const std::string& reply, const std::string& name) {
  Json json = Json::parse(reply);
  json["name"] = name;
  return json.dump();
}

// What becomes of a request before its command is looked for: the reply, empty when it passes.
Outcome Admit(const Json& message, const std::string& hook, const Circumstances& now) {
  const auto refused = [](const char* what) {
    return Refused(26, "InvalidValuesError", std::string("Parameter ") + what + " is invalid");
  };
  if (!IsText(message, "moduleName")) {
    return {refused("moduleName"), {}};
  }
  const std::string module = message.at("moduleName").get<std::string>();
  const Lines line = {"h:" + hook + " =================> moduleName: " + UpToNul(module)};
  if ((module == kPlayer && !now.player_privilege) || (module == kTuner && !now.tuner_privilege)) {
    return {Refused(18, "SecurityError", "You do not have the " + module + " privilege"), line};
  }
  return {IsText(message, "command") ? "" : refused("command"), line};
}

}  // namespace

Outcome Expect(const Json& message, Circumstances* now) {
  if (!message.is_object()) {
    return {Refused(26, "InvalidValuesError", "Incoming message is not dictionary"), {}};
  }
  Outcome outcome = Admit(message, "HandleBlockingMessageImpl", *now);
  if (!outcome.reply.empty()) {
    return outcome;
  }
  const std::string name = message.at("command").get<std::string>();
  outcome.journal.push_back("h:HandleBlockingMessageImpl =================> command: " +
                            UpToNul(name));
  for (const Command& command : Commands()) {
    if (command.name == name && Holds(command.condition, message)) {
      Outcome run = Run(command, message, now);
      run.journal.insert(run.journal.begin(), outcome.journal.begin(), outcome.journal.end());
      return run;
    }
  }
  outcome.journal.push_back("H:HandleBlockingMessageImpl Can not handle the command!! ");
  outcome.reply = Refused(9, "NotSupportedError", "Command not recognized");
  return outcome;
}

Outcome ExpectPosted(const Json& message, const Circumstances& now) {
  if (!message.is_object()) {
    return {Posted(Refused(26, "InvalidValuesError", "Incoming message is invalid"), ""), {}};
  }
  Outcome outcome = Admit(message, "HandleMessageImpl", now);
  if (outcome.reply.empty()) {
    const std::string name = message.at("command").get<std::string>();
    return {Posted(Refused(9, "NotSupportedError", "Parameters is invalid"), name),
            outcome.journal};
  }
  const bool closed = outcome.reply.find("SecurityError") != std::string::npos;
  const std::string module = closed ? message.at("moduleName").get<std::string>() : "";
  if (module == kPlayer) {
    outcome.journal.push_back(
        "H:HandleMessageImpl [LumivexMessageHandler] m_hasLumivexPlayerPrivilege fail");
  }
  return {Posted(outcome.reply, module), outcome.journal};
}

bool IsUtf8(const std::string& text) {
  if (std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; })) {
    return true;
  }
  try {
    Json(text).dump();
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

std::string UpToNul(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

std::string Ok(const std::string& value) {
  return Reply("0", value, "", "");
}

std::string Refused(int code, const std::string& name, const std::string& message) {
  return Reply(std::to_string(code), "null", name, message);
}

std::string BadParameter() {
  return Refused(26, "InvalidValuesError", "Parameter is invalid");
}

std::string NoTuner() {
  return Refused(11, "InvalidStateError", "");
}

}  // namespace lumivex::test
