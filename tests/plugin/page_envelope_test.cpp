// The checks that every request passes: its shape, the privilege of its module, its command.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

class Envelope : public PluginTest {
 protected:
  // Posts a message and holds what the page then receives against the contract.
  void ComparePosted(const Json& message) {
    SCOPED_TRACE("posted: " + message.dump());
    journal_.Take();
    EXPECT_TRUE(page_->Post(message));
    EXPECT_TRUE(page_->Settle());
    const std::vector<Json> events = Events();
    const Outcome expected = ExpectPosted(message, now_);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].dump(), expected.reply);
    EXPECT_THAT(journal_.Take(), ElementsAreArray(expected.journal));
  }
};

// Every pair of privileges with every kind of message. The module's name selects the privilege that
// is tested, not the commands that can be reached: a name that is neither of the two passes no
// gate.
TEST_F(Envelope, EveryMessageUnderEveryPrivilege) {
  std::vector<Json> messages;
  for (const char* message :
       {R"("Start")", "42", "1.5", "null", "true", R"([{"moduleName": "lumivexplayer"}])", "{}",
        R"({"command": "Start"})", R"({"moduleName": 42, "command": "Start"})",
        R"({"moduleName": null, "command": "Start"})",
        R"({"ModuleName": "lumivexplayer", "command": "Start"})",
        R"({"moduleName": "lumivexplayer\u0000x", "command": "HasPlayerPrivilege"})"}) {
    messages.push_back(Json::parse(message));
  }
  for (const char* module : {kPlayer, kTuner, "LumivexPlayer", "other", "", "lumivexplayer "}) {
    messages.push_back({{"moduleName", module}});
    messages.push_back({{"moduleName", module}, {"command", 1}});
    messages.push_back({{"moduleName", module}, {"command", Json::array({"x"})}});
    for (const char* command :
         {"", "start", "Start ", "NoSuchCommand", "Start", "HasPlayerPrivilege",
          "HasRFManagerPrivilege", "GetRFManagerVersion", "GetRFSubtitleMode"}) {
      messages.push_back(Request(module, command));
    }
    messages.push_back(Request(module, std::string("GetPlayerVersion\0", 17)));
  }
  for (const bool player : {false, true}) {
    for (const bool tuner : {false, true}) {
      services_->player_privilege = player;
      services_->tuner_privilege = tuner;
      Stage::Reset();
      Open();
      // The flags are asked for once: what the platform says later changes nothing.
      services_->player_privilege = !player;
      services_->tuner_privilege = !tuner;
      now_.player_privilege = player;
      now_.tuner_privilege = tuner;
      for (const Json& message : messages) {
        Compare(message);
        ComparePosted(message);
      }
      Close();
    }
  }
}

// The replies, spelled out.
TEST_F(Envelope, RepliesInFull) {
  services_->tuner_privilege = false;
  Open();
  const std::pair<Json, std::string> kCases[] = {
      {"Start", Refused(26, "InvalidValuesError", "Incoming message is not dictionary")},
      {Json::object(), Refused(26, "InvalidValuesError", "Parameter moduleName is invalid")},
      {{{"moduleName", "x"}}, Refused(26, "InvalidValuesError", "Parameter command is invalid")},
      {Request("x", "start"), Refused(9, "NotSupportedError", "Command not recognized")},
      {Request(kTuner, ""),
       Refused(18, "SecurityError", "You do not have the lumivexrfmanager privilege")},
      {Request(kPlayer, "GetPlayerVersion"),
       R"({"code": 0, "errorMessage": "", "errorName": "", "value": "1.50"})"},
      {Request("", "GetRFSubtitleMode"),
       R"({"code": 11, "errorMessage": "", "errorName": "InvalidStateError", "value": null})"},
  };
  for (const auto& [message, reply] : kCases) {
    EXPECT_EQ(Send(message), reply);
  }
  EXPECT_TRUE(page_->Post(Request(kPlayer, "Start")));
  EXPECT_TRUE(page_->Settle());
  EXPECT_EQ(Events().at(0).dump(),
            R"({"code":9,"errorMessage":"Parameters is invalid",)"
            R"("errorName":"NotSupportedError","name":"Start","value":null})");
}

}  // namespace
}  // namespace lumivex::test
