// What every request passes: its shape, the privilege of its module, its command.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr const char* kAllCommands[] = {"HasPlayerPrivilege",
                                        "SetDataSource",
                                        "Start",
                                        "Stop",
                                        "Pause",
                                        "Resume",
                                        "SeekTo",
                                        "SetPlaybackSpeed",
                                        "GetPlaybackSpeed",
                                        "SetDisplayArea",
                                        "GetCurrentPosition",
                                        "GetDuration",
                                        "GetVideoWidth",
                                        "GetVideoHeight",
                                        "GetNumOfTracks",
                                        "GetSelectedTrack",
                                        "SelectTrack",
                                        "GetTrackLanguageCode",
                                        "SetTimedTextSource",
                                        "SetDRMProperty",
                                        "GetAvailableBitrates",
                                        "GetPlayerVersion",
                                        "HasRFManagerPrivilege",
                                        "GetRFManagerVersion",
                                        "SetChannelType",
                                        "TuneRFChannel",
                                        "GetNumOfRFTracks",
                                        "GetSelectedRFTrack",
                                        "SelectRFTrack",
                                        "GetRFSubtitleMode",
                                        "SetRFSubtitleMode",
                                        "GetRFSubtitleStatus",
                                        "SetRFSubtitleStatus",
                                        "GetRFTrackLanguageCode"};

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
  Json Posted(const Json& message) {
    EXPECT_TRUE(page_->Post(message));
    EXPECT_TRUE(page_->Settle());
    const std::vector<Json> events = Events();
    EXPECT_EQ(events.size(), 1U);
    return events.empty() ? Json() : events.front();
  }

  static Json PostedReply(int code,
                          const std::string& error,
                          const std::string& message,
                          const std::string& name) {
    return {{"code", code},
            {"value", nullptr},
            {"errorName", error},
            {"errorMessage", message},
            {"name", name}};
  }
};

TEST_F(Envelope, BlockingRequests) {
  Open();
  const Lines module_line = {
      H("HandleBlockingMessageImpl", "=================> moduleName: lumivexplayer")};
  const struct {
    const char* message;
    std::string reply;
    Lines journal;
  } kCases[] = {
      {R"("Start")", kNotDictionary, {}},
      {"42", kNotDictionary, {}},
      {"1.5", kNotDictionary, {}},
      {"null", kNotDictionary, {}},
      {"true", kNotDictionary, {}},
      {R"([{"moduleName": "lumivexplayer"}])", kNotDictionary, {}},
      {"{}", kBadModule, {}},
      {R"({"command": "Start"})", kBadModule, {}},
      {R"({"moduleName": 42, "command": "Start"})", kBadModule, {}},
      {R"({"moduleName": null, "command": "Start"})", kBadModule, {}},
      {R"({"ModuleName": "lumivexplayer", "command": "Start"})", kBadModule, {}},
      {R"({"moduleName": "lumivexplayer"})", kBadCommand, module_line},
      {R"({"moduleName": "lumivexplayer", "command": 1})", kBadCommand, module_line},
      {R"({"moduleName": "lumivexplayer", "command": ["Start"]})", kBadCommand, module_line},
      {R"({"moduleName": "lumivexplayer", "command": ""})", kUnknown,
       module_line + Lines{H("HandleBlockingMessageImpl", "=================> command: "),
                           HE("HandleBlockingMessageImpl", "Can not handle the command!! ")}},
      {R"({"moduleName": "lumivexplayer", "command": "GetPlayerVersion\u0000"})", kUnknown,
       module_line +
           Lines{H("HandleBlockingMessageImpl", "=================> command: GetPlayerVersion"),
                 HE("HandleBlockingMessageImpl", "Can not handle the command!! ")}},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.message);
    EXPECT_EQ(Send(Json::parse(row.message)), row.reply);
    EXPECT_THAT(journal_.Take(), ElementsAreArray(row.journal));
  }
}

TEST_F(Envelope, PostedRequestsAreCheckedAndAlwaysRefused) {
  services_->tuner_privilege = false;
  Open();
  const auto module_line = [](const std::string& module) {
    return Lines{H("HandleMessageImpl", "=================> moduleName: " + module)};
  };
  const char* const kInvalid = "InvalidValuesError";
  const struct {
    const char* message;
    Json reply;
    Lines journal;
  } kCases[] = {
      {R"("Start")", PostedReply(26, kInvalid, "Incoming message is invalid", ""), {}},
      {"[]", PostedReply(26, kInvalid, "Incoming message is invalid", ""), {}},
      {R"({"command": "Start"})",
       PostedReply(26, kInvalid, "Parameter moduleName is invalid", ""),
       {}},
      {R"({"moduleName": 1, "command": "Start"})",
       PostedReply(26, kInvalid, "Parameter moduleName is invalid", ""),
       {}},
      {R"({"moduleName": "lumivexplayer", "command": false})",
       PostedReply(26, kInvalid, "Parameter command is invalid", ""), module_line(kPlayer)},
      {R"({"moduleName": "lumivexplayer", "command": "Start"})",
       PostedReply(9, "NotSupportedError", "Parameters is invalid", "Start"), module_line(kPlayer)},
      {R"({"moduleName": "lumivexplayer", "command": "HasPlayerPrivilege"})",
       PostedReply(9, "NotSupportedError", "Parameters is invalid", "HasPlayerPrivilege"),
       module_line(kPlayer)},
      {R"({"moduleName": "other", "command": "no such command"})",
       PostedReply(9, "NotSupportedError", "Parameters is invalid", "no such command"),
       module_line("other")},
      {R"({"moduleName": "lumivexrfmanager"})",
       PostedReply(18, "SecurityError", "You do not have the lumivexrfmanager privilege", kTuner),
       module_line(kTuner)},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.message);
    EXPECT_EQ(Posted(Json::parse(row.message)), row.reply);
    EXPECT_THAT(journal_.Take(), ElementsAreArray(row.journal));
  }
}

TEST_F(Envelope, APostedRequestWithoutThePlayerPrivilege) {
  services_->player_privilege = false;
  Open();
  EXPECT_EQ(
      Posted(Request(kPlayer, "Start")),
      PostedReply(18, "SecurityError", "You do not have the lumivexplayer privilege", kPlayer));
  EXPECT_THAT(journal_.Take(),
              ElementsAre(H("HandleMessageImpl", "=================> moduleName: lumivexplayer"),
                          HE("HandleMessageImpl",
                             "[LumivexMessageHandler] m_hasLumivexPlayerPrivilege fail")));
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

TEST_F(Envelope, KnowsEveryCommandByItsExactName) {
  Open();
  EXPECT_EQ(std::size(kAllCommands), 34U);
  for (const std::string name : kAllCommands) {
    EXPECT_NE(Send(Request("x", name)), kUnknown) << name;
    std::string other_case = name;
    other_case[0] = static_cast<char>(other_case[0] + ('a' - 'A'));
    for (const std::string& wrong : {other_case, name + " ", " " + name, name.substr(1)}) {
      EXPECT_EQ(Send(Request("x", wrong)), kUnknown) << wrong;
    }
  }
}

}  // namespace
}  // namespace lumivex::test
