// What every request passes: its shape, the privilege of its module, its command.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

const std::string kUnknown = Refused(9, "NotSupportedError", "Command not recognized");
const std::string kBadModule = Refused(26, "InvalidValuesError", "Parameter moduleName is invalid");
const std::string kBadCommand = Refused(26, "InvalidValuesError", "Parameter command is invalid");
const std::string kNotDictionary =
    Refused(26, "InvalidValuesError", "Incoming message is not dictionary");

std::string NoPrivilege(const std::string& module) {
  return Refused(18, "SecurityError", "You do not have the " + module + " privilege");
}

class Envelope : public PluginTest {
 protected:
  // Posts a message and gives what the page then receives.
  std::string Posted(const Json& message) {
    EXPECT_TRUE(page_->Post(message));
    EXPECT_TRUE(page_->Settle());
    const std::vector<Json> events = Events();
    return events.size() == 1 ? events[0].dump() : std::to_string(events.size()) + " events";
  }

  // What it says to a posted request, to which it never gives a value.
  static std::string PostedReply(int code,
                                 const std::string& error,
                                 const std::string& message,
                                 const std::string& name) {
    return R"({"code":)" + std::to_string(code) + R"(,"value":null,"errorName":")" + error +
           R"(","errorMessage":")" + message + R"(","name":")" + name + "\"}";
  }
  static std::string Line(const char* hook, const std::string& message) {
    return std::string("h:") + hook + " =================> " + message;
  }
};

TEST_F(Envelope, RequestsAreCheckedAndThosePostedAlwaysRefused) {
  Open();
  const std::string player = "moduleName: lumivexplayer";
  const auto bad = [](const char* message) {
    return PostedReply(26, "InvalidValuesError", message, "");
  };
  const auto refused = [](const std::string& name) {
    return PostedReply(9, "NotSupportedError", "Parameters is invalid", name);
  };
  const std::string not_dictionary = bad("Incoming message is invalid");
  const std::string no_module = bad("Parameter moduleName is invalid");
  const std::string no_command = bad("Parameter command is invalid");
  const struct {
    const char* message;
    std::string reply;
    std::string posted_reply;
    std::string module;
    std::string command;  // that is not known
  } kCases[] = {
      {R"("Start")", kNotDictionary, not_dictionary, "", ""},
      {"42", kNotDictionary, not_dictionary, "", ""},
      {"1.5", kNotDictionary, not_dictionary, "", ""},
      {"null", kNotDictionary, not_dictionary, "", ""},
      {"true", kNotDictionary, not_dictionary, "", ""},
      {R"([{"moduleName": "lumivexplayer"}])", kNotDictionary, not_dictionary, "", ""},
      {"{}", kBadModule, no_module, "", ""},
      {R"({"command": "Start"})", kBadModule, no_module, "", ""},
      {R"({"moduleName": 42, "command": "Start"})", kBadModule, no_module, "", ""},
      {R"({"moduleName": null, "command": "Start"})", kBadModule, no_module, "", ""},
      {R"({"ModuleName": "lumivexplayer", "command": "Start"})", kBadModule, no_module, "", ""},
      {R"({"moduleName": "lumivexplayer"})", kBadCommand, no_command, player, ""},
      {R"({"moduleName": "lumivexplayer", "command": 1})", kBadCommand, no_command, player, ""},
      {R"({"moduleName": "lumivexplayer", "command": ["x"]})", kBadCommand, no_command, player, ""},
      {R"({"moduleName": "lumivexplayer", "command": ""})", kUnknown, refused(""), player,
       "command: "},
      {R"({"moduleName": "other", "command": "start"})", kUnknown, refused("start"),
       "moduleName: other", "command: start"},
      {R"({"moduleName": "lumivexplayer", "command": "Start "})", kUnknown, refused("Start "),
       player, "command: Start "},
      {R"({"moduleName": "lumivexplayer", "command": "GetPlayerVersion\u0000"})", kUnknown,
       refused("GetPlayerVersion\\u0000"), player, "command: GetPlayerVersion"},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.message);
    EXPECT_EQ(Send(Json::parse(row.message)), row.reply);
    std::string lines = row.module.empty() ? "" : Line("HandleBlockingMessageImpl", row.module);
    if (!row.command.empty()) {
      lines += " | " + Line("HandleBlockingMessageImpl", row.command) +
               " | H:HandleBlockingMessageImpl Can not handle the command!! ";
    }
    EXPECT_THAT(journal_.Take(), ElementsAreArray(Script(lines)));
    EXPECT_EQ(Posted(Json::parse(row.message)), row.posted_reply);
    EXPECT_THAT(
        journal_.Take(),
        ElementsAreArray(Script(row.module.empty() ? "" : Line("HandleMessageImpl", row.module))));
  }
  EXPECT_EQ(Posted(Request(kPlayer, "HasPlayerPrivilege")), refused("HasPlayerPrivilege"));
}

TEST_F(Envelope, APostedRequestWithoutThePrivilege) {
  services_->player_privilege = services_->tuner_privilege = false;
  Open();
  for (const char* module : {kPlayer, kTuner}) {
    EXPECT_EQ(Posted(Request(module, "Start")),
              PostedReply(18, "SecurityError",
                          std::string("You do not have the ") + module + " privilege", module));
    EXPECT_THAT(journal_.Take(),
                ElementsAreArray(
                    Script(Line("HandleMessageImpl", std::string("moduleName: ") + module) +
                           (module == kPlayer ? " | H:HandleMessageImpl [LumivexMessageHandler] "
                                                "m_hasLumivexPlayerPrivilege fail"
                                              : ""))));
  }
}

// Every pair of privileges with every kind of module name. The name selects the privilege that is
// tested, not the commands that can be reached: a name that is neither of the two passes no gate.
TEST_F(Envelope, ThePrivilegeGate) {
  for (const bool player : {false, true}) {
    for (const bool tuner : {false, true}) {
      services_->player_privilege = player;
      services_->tuner_privilege = tuner;
      Open();
      // The flags are asked for once: what the platform says later changes nothing.
      services_->player_privilege = !player;
      services_->tuner_privilege = !tuner;
      for (const char* module : {kPlayer, kTuner, "LumivexPlayer", "", "lumivexplayer "}) {
        SCOPED_TRACE(std::string(module) + (player ? " player" : "") + (tuner ? " tuner" : ""));
        const bool closed = (module == std::string(kPlayer) && !player) ||
                            (module == std::string(kTuner) && !tuner);
        const auto gated = [&](const std::string& reply) {
          return closed ? NoPrivilege(module) : reply;
        };
        EXPECT_EQ(Send({{"moduleName", module}}), gated(kBadCommand));
        EXPECT_EQ(Send(Request(module, "NoSuchCommand")), gated(kUnknown));
        EXPECT_EQ(Send(Request(module, "HasPlayerPrivilege")),
                  gated(Ok(player ? "true" : "false")));
        EXPECT_EQ(Send(Request(module, "HasRFManagerPrivilege")),
                  gated(Ok(tuner ? "true" : "false")));
        EXPECT_EQ(Send(Request(module, "Start")), gated(Ok("true")));
        EXPECT_EQ(Send(Request(module, "GetRFManagerVersion")), gated(Ok(R"("1.50")")));
        EXPECT_EQ(Send(Request(module, "GetRFSubtitleMode")), gated(NoTuner()));
        if (closed) {
          journal_.Take();
          Send(Request(module, "Start"));
          EXPECT_THAT(journal_.Take(),
                      ElementsAre(H("HandleBlockingMessageImpl",
                                    std::string("=================> moduleName: ") + module)));
        }
      }
      Close();
    }
  }
}

TEST_F(Envelope, ModuleNamesAreComparedWhole) {
  services_->player_privilege = false;
  Open();
  Json request = Request(kPlayer, "HasPlayerPrivilege");
  request["moduleName"] = std::string("lumivexplayer\0x", 15);
  EXPECT_EQ(Send(request), Ok("false"));
}

}  // namespace
}  // namespace lumivex::test
