// Page messages: any values, blocking and posted, while player, tuner and private services answer
// what the input says. The input's first line is their answers; messages follow, and one after a !
// is posted.

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "host/browser.h"
#include "message_reader.h"
#include "platform.h"

namespace lumivex::fuzz {

namespace {

using host::Json;
using host::OwnedVar;
using host::Page;
using host::VarTable;

constexpr int kMostMessages = 48;

struct Expected {
  int code;
  const Command* command;  // that runs
  std::string name;        // of a posted reply
};

// The private services. A privilege is held only when they said true and no more.
class Services : public host::ExtensionSystem {
 public:
  int32_t GenericSyncCall(
      VarTable& vars, PP_Instance, PP_Var operation, PP_Var data, PP_Var* result) override {
    Answers& answers = Platform::Get().answers;
    const bool success = answers.Success();
    const bool of_type = answers.Success();
    const std::string asked = Text(&vars, operation).value_or("");
    const std::string uri = Text(&vars, data).value_or("");
    if (asked == "check_ace_privilege") {
      *result = of_type ? host::BoolVar(answers.Success()) : vars.FromUtf8(answers.Text());
      const bool granted =
          success && result->type == PP_VARTYPE_BOOL && result->value.as_bool == PP_TRUE;
      (uri.find("/lumivexplayer") != std::string::npos ? player : tuner) = granted;
    } else {
      *result = of_type ? host::IntVar(answers.Number()) : host::DoubleVar(-1e300);
    }
    if (!success) {
      vars.Release(*result);  // is not looked at
    }
    return success ? 0 : -2;
  }

  static std::optional<std::string> Text(VarTable* vars, PP_Var var) {
    if (var.type != PP_VARTYPE_STRING) {
      return std::nullopt;
    }
    uint32_t length = 0;
    const char* const text = vars->ToUtf8(var, &length);
    return std::string(text, length);
  }

  bool player = false;
  bool tuner = false;
};

OwnedVar Member(VarTable* vars, PP_Var dictionary, const std::string& key) {
  const OwnedVar name(vars, vars->FromUtf8(key));
  return {vars, vars->DictionaryGet(dictionary, name.get())};
}

bool HasKey(VarTable* vars, PP_Var dictionary, const std::string& key) {
  const OwnedVar name(vars, vars->FromUtf8(key));
  return vars->DictionaryHasKey(dictionary, name.get());
}

bool HasArguments(VarTable* vars, PP_Var request, const Command& command) {
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
         Services::Text(vars, Member(vars, request, "url").get()) != "";
}

// What the envelope comes to; a command that runs has code 0 here.
Expected Envelope(VarTable* vars, const Services& services, PP_Var message) {
  if (message.type != PP_VARTYPE_DICTIONARY) {
    return {26, nullptr, ""};
  }
  const auto module = Services::Text(vars, Member(vars, message, "moduleName").get());
  const auto name = Services::Text(vars, Member(vars, message, "command").get());
  if (!module) {
    return {26, nullptr, ""};
  }
  if ((module == "lumivexplayer" && !services.player) ||
      (module == "lumivexrfmanager" && !services.tuner)) {
    return {18, nullptr, *module};
  }
  if (!name) {
    return {26, nullptr, ""};
  }
  const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                  [&name](const Command& c) { return *name == c.name; });
  return found == kCommands.end() ? Expected{9, nullptr, *name} : Expected{0, &*found, *name};
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

// The four values of a reply as the page reads them, and that no others are there.
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

void SendBlocking(VarTable* vars, Page* page, const Services& services, PP_Var message) {
  Expected expected = Envelope(vars, services, message);
  Platform& platform = Platform::Get();
  platform.answers.TakeGaveBadText();
  const Page::VarAnswer answer = page->SendBlockingVar(message);
  Check(answer.outcome == Page::Outcome::kAnswered, "a blocking message is answered");
  const bool bad_text = platform.answers.TakeGaveBadText();
  const std::optional<Json> reply = vars->ToJson(answer.value.get());
  Check(reply.has_value(), "a reply can be passed on");
  const int code = CheckReply(*reply, 4);
  const std::string text = reply->dump();
  if (expected.command == nullptr) {
    Check(code == expected.code, "the envelope decides", text);
    return;
  }
  const Command& command = *expected.command;
  if (command.tuner != '-' && platform.tuners == 0) {
    expected.code = 11;
  } else if (!HasArguments(vars, message, command)) {
    expected.code = 26;
  }
  const bool bad_track_type = command.tuner == 't' && expected.code == 0 && code == 26;
  Check(code == expected.code || bad_track_type, command.name, text);
  if (code == 0) {
    const OwnedVar value = Member(vars, answer.value.get(), "value");
    // Text of the platform that is not UTF-8 cannot be a var.
    const bool null = value.get().type == PP_VARTYPE_NULL && command.value == 's' && bad_text;
    Check(null || HasType(command.value, value.get().type), "a value has its type", text);
  }
}

// Takes what came to the page: posted replies in the order of sending, and events among them.
void CheckEvents(Page* page, std::deque<Expected>* posted) {
  while (const std::optional<Json> event = page->NextEvent()) {
    const std::string text = event->dump();
    if (event->contains("event")) {
      Check(!event->contains("code") && (*event)["event"].is_string(), "an event is none", text);
      continue;
    }
    const int code = CheckReply(*event, 5);
    Check(!posted->empty(), "there is one reply for each posted message", text);
    const Expected expected = posted->front();
    posted->pop_front();
    Check(code == (expected.code == 0 ? 9 : expected.code), "a posted message is refused", text);
    Check(event->contains("name") && (*event)["name"] == expected.name,
          "a posted reply has its name", text);
  }
  Check(posted->empty(), "every posted message is answered");
}

void Run(std::string_view input) {
  const std::size_t line = std::min(input.find('\n'), input.size());
  Platform& platform = Platform::Get();
  platform.answers.Set(input.substr(0, line));
  platform.events_from_calls = true;

  const auto services = std::make_shared<Services>();
  host::Browser::Options options;
  options.extension_system = services;
  host::Browser browser(options);
  LoadPlugin(&browser);
  VarTable* const vars = &browser.vars();
  const std::unique_ptr<Page> page = browser.CreatePage();
  Check(page != nullptr, "the plug-in takes the page");
  const int64_t live = browser.LiveVars();

  MessageReader reader(vars, input.substr(line));
  std::deque<Expected> posted;
  for (int i = 0; i < kMostMessages && !reader.AtEnd(); ++i) {
    const bool post = reader.TakeIf('!');
    const OwnedVar message = reader.Value();
    if (post) {
      posted.push_back(Envelope(vars, *services, message.get()));
      Check(page->PostVar(message.get()), "a message can be posted");
    } else {
      SendBlocking(vars, page.get(), *services, message.get());
    }
  }
  Check(page->Settle(), "the handler comes to an end");
  CheckEvents(page.get(), &posted);
  Check(browser.LiveVars() == live, "no var is kept", std::to_string(browser.LiveVars() - live));
  page->Close();
  UnloadPlugin(&browser);
}

}  // namespace

}  // namespace lumivex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  lumivex::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
