#include "plugin_test.h"

#include <device_paths.h>

#include <cstdio>
#include <map>
#include <optional>

namespace lumivex::test {

namespace {

std::string TextOf(host::VarTable* vars, PP_Var var) {
  if (var.type != PP_VARTYPE_STRING) {
    return "";
  }
  uint32_t length = 0;
  const char* const text = vars->ToUtf8(var, &length);
  return std::string(text, length);
}

std::string Reply(const std::string& code,
                  const std::string& value,
                  const std::string& name,
                  const std::string& message) {
  return R"({"code": )" + code + R"(, "value": )" + value + R"(, "errorName": ")" + name +
         R"(", "errorMessage": ")" + message + R"("})";
}

}  // namespace

PP_Var PrivateServices::GetEmbedderName(host::VarTable& vars, PP_Instance instance) {
  Journal::Get().Add("bridge embedder name");
  return embedder_name ? embedder_name(&vars) : ExtensionSystem::GetEmbedderName(vars, instance);
}

int32_t PrivateServices::GenericSyncCall(
    host::VarTable& vars, PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
  const std::string name = TextOf(&vars, operation);
  const std::string call = name + " " + Describe(&vars, data);
  Journal::Get().Add("bridge " + call);
  if (answer) {
    return answer(instance, call, result);
  }
  if (name == "get_window_id") {
    *result = host::IntVar(7);
  } else {
    const bool of_player = TextOf(&vars, data).find("/privilege/lumivexplayer") < std::string::npos;
    *result = host::BoolVar(of_player ? player_privilege : tuner_privilege);
  }
  return 0;
}

std::string Describe(host::VarTable* vars, PP_Var var) {
  char text[64];
  switch (var.type) {
    case PP_VARTYPE_UNDEFINED:
      return "undefined";
    case PP_VARTYPE_NULL:
      return "null";
    case PP_VARTYPE_BOOL:
      return var.value.as_bool == PP_TRUE ? "true" : "false";
    case PP_VARTYPE_INT32:
      return std::to_string(var.value.as_int);
    case PP_VARTYPE_DOUBLE:
      std::snprintf(text, sizeof text, "double %.17g", var.value.as_double);
      return text;
    case PP_VARTYPE_STRING:
      return Quote(TextOf(vars, var));
    case PP_VARTYPE_DICTIONARY: {
      std::string members;
      const host::OwnedVar keys(vars, vars->DictionaryKeys(var));
      for (uint32_t i = 0; i < vars->ArrayLength(keys.get()); ++i) {
        const host::OwnedVar key(vars, vars->ArrayGet(keys.get(), i));
        const host::OwnedVar value(vars, vars->DictionaryGet(var, key.get()));
        members +=
            (i == 0 ? "" : ", ") + Describe(vars, key.get()) + ": " + Describe(vars, value.get());
      }
      return "{" + members + "}";
    }
    default:
      return "var of type " + std::to_string(var.type);
  }
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

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Lines Script(const std::string& text, const std::string& function, char sign) {
  constexpr char kBetween[] = " | ";
  Lines lines;
  for (std::size_t at = 0, end = 0; end != std::string::npos && !text.empty();
       at = end + sizeof kBetween - 1) {
    end = text.find(kBetween, at);
    std::string line = text.substr(at, end - at);
    const bool has_sign = line[0] == '+' || line[0] == '-';
    if (has_sign && sign != 0 && line[0] != sign) {
      continue;
    }
    const std::string kept = has_sign && sign == 0 ? line.substr(0, 1) : "";
    line.erase(0, has_sign ? 1 : 0);
    if (line.size() > 1 && (line[1] == ':' || line[1] == ' ')) {
      const std::size_t space = line.find(' ');
      const std::string in = line[1] == ':' ? line.substr(2, space - 2) : function;
      const std::string message = line.substr(space + 1);
      const std::map<char, std::string> kinds = {
          {'h', H(in, message)},
          {'H', HE(in, message)},
          {'a', A(in, message)},
          {'A', AE(in, message)},
          {'l', L(in, message)},
          {'t', T(in, message)},
          {'K', LogLine(2, 6, "KPP_BASE", "LumivexMessageHandler.h", "CLumivexPluginInstance",
                        "[PluginLogging] " + message)}};
      line = kinds.at(line[0]);
    }
    lines.push_back(kept + line);
  }
  return lines;
}

void PluginTest::SetUp() {
  device_paths_set_root(LUMIVEX_TEST_SYSROOT);
  PlayerRecorder::Reset();
  TunerRecorder::Reset();
  journal_.Take();
}

void PluginTest::TearDown() {
  Close();
}

void PluginTest::Load() {
  Browser::Options options;
  options.extension_system = services_;
  browser_ = std::make_unique<Browser>(std::move(options));
  std::string error;
  ASSERT_TRUE(LoadPlugin(browser_.get(), &error)) << error;
}

void PluginTest::Open() {
  ASSERT_NO_FATAL_FAILURE(Load());
  page_ = NewPage();
  ASSERT_NE(page_, nullptr);
  journal_.Take();
}

void PluginTest::Close() {
  page_.reset();
  if (browser_ == nullptr) {
    return;
  }
  std::string error;
  EXPECT_TRUE(browser_->Unload(&error)) << error;
  EXPECT_THAT(browser_->Defects(), IsEmpty());
  EXPECT_EQ(browser_->LiveVars(), 0);
  EXPECT_EQ(browser_->LiveResources(), 0);
  browser_.reset();
}

std::unique_ptr<Page> PluginTest::NewPage() {
  std::string error;
  std::unique_ptr<Page> page = browser_->CreatePage({}, &error);
  EXPECT_NE(page, nullptr) << error;
  return page;
}

std::string PluginTest::Send(const Json& message, const MoreVars& more, Page* page) {
  host::VarTable* const vars = &browser_->vars();
  const std::optional<PP_Var> built = vars->FromJson(message);
  if (!built) {
    return "not passable";
  }
  const host::OwnedVar request(vars, *built);
  for (const auto& [key, value] : more) {
    const host::OwnedVar name(vars, vars->FromUtf8(key));
    vars->DictionarySet(request.get(), name.get(), value);
  }
  const Page::VarAnswer answer =
      (page == nullptr ? *page_ : *page).SendBlockingVar(request.get(), patience_);
  return answer.outcome == Page::Outcome::kAnswered
             ? Describe(vars, answer.value.get())
             : "no answer: " + std::to_string(static_cast<int>(answer.outcome));
}

PluginTest::Outcome PluginTest::Run(const std::string& request,
                                    const char* module,
                                    const MoreVars& more) {
  Json message = Json::parse(request);
  message["moduleName"] = module;
  const std::string command = message.at("command").get<std::string>();
  journal_.Take();
  Outcome outcome{Send(message, more), journal_.Take()};
  const Lines envelope = {
      H("HandleBlockingMessageImpl", std::string("=================> moduleName: ") + module),
      H("HandleBlockingMessageImpl", "=================> command: " + command)};
  EXPECT_THAT(Lines(outcome.journal.begin(),
                    outcome.journal.begin() +
                        std::min<std::ptrdiff_t>(2, std::ptrdiff_t(outcome.journal.size()))),
              ElementsAreArray(envelope));
  outcome.journal.erase(outcome.journal.begin(), outcome.journal.size() < 2
                                                     ? outcome.journal.end()
                                                     : outcome.journal.begin() + 2);
  return outcome;
}

Json PluginTest::Request(const std::string& module,
                         const std::string& command,
                         const std::string& arguments) {
  Json message = Json::parse(arguments);
  message["moduleName"] = module;
  message["command"] = command;
  return message;
}

std::vector<Json> PluginTest::Events(Page* page) {
  std::vector<Json> events;
  while (std::optional<Json> event = (page == nullptr ? *page_ : *page).NextEvent()) {
    events.push_back(std::move(*event));
  }
  return events;
}

}  // namespace lumivex::test
