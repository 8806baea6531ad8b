// How the broadcast tuner is obtained, and what comes from it.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

const Lines kObtaining =
    Script(R"(tuner GetKelvoAppIDByPID(parent, zeros, 255) | )"
           R"(tuner GetInstance("org.example.page", false, null) | )"
           "t:CLumivexEventListener [CLumivexEventListener] constructor | "
           "tuner RegisterRFEventHandler(true) | tuner SetSubtitleWindowSubsurface(7) | "
           "tuner ShowSubtitleWindow() | h:InitRFManager RFManager is initialized");

class Tuner : public PluginTest {
 protected:
  void OpenWithTuner() {
    Open();
    ASSERT_EQ(Run(R"({"command": "SetChannelType", "channelType": 1})", kTuner).reply, Ok("true"));
  }
};

TEST_F(Tuner, TheFirstChannelCommandObtainsTheInstanceWhateverItLacks) {
  for (const char* request :
       {R"({"command": "SetChannelType"})", R"({"command": "TuneRFChannel"})"}) {
    TunerRecorder::Reset();
    Open();
    EXPECT_EQ(Run(R"({"command": "GetRFManagerVersion"})", kTuner).reply, Ok(R"("1.50")"));
    // An attempt that fails is repeated.
    tuner_.failing = {"GetInstance"};
    for (int i = 0; i < 2; ++i) {
      const Outcome failed = Run(request, "open module");
      EXPECT_EQ(failed.reply, NoTuner());
      EXPECT_THAT(failed.journal,
                  ElementsAre(kObtaining[0], kObtaining[1],
                              HE("InitRFManager", "Getting RFManager instance failed.")));
    }
    tuner_.failing.clear();
    const Outcome first = Run(request, kTuner);
    EXPECT_EQ(first.reply, BadParameter());
    EXPECT_THAT(first.journal, ElementsAreArray(kObtaining));
    Close();
  }
}

TEST_F(Tuner, AnswersReachThePageAsTheyAre) {
  OpenWithTuner();
  tuner_.number = -2;
  tuner_.shown = false;
  tuner_.language = std::string("fr\0x", 4);
  EXPECT_EQ(Run(R"({"command": "GetNumOfRFTracks", "trackType": 2})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleMode"})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleStatus"})").reply, Ok("false"));
  EXPECT_EQ(Run(R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 0})").reply,
            Ok(R"("fr\x00x")"));
}

TEST_F(Tuner, OnlyASuccessfulTuneReachesThePage) {
  OpenWithTuner();
  journal_.Take();
  const auto line = [](const std::string& type, const std::string& rest) {
    return T("OnEvent", "[CLumivexEventListener][OnEvent] contentType: [" + type + "], " + rest);
  };
  tuner_.Event(0, -6, std::string("Lumivex\0One", 11));
  EXPECT_THAT(
      journal_.Take(),
      ElementsAre(line("0", "param1: [-6], param2: [Lumivex]"),
                  T("OnEvent", "[CLumivexEventListener][OnEvent][OnRFInfo] Event TUNE_SUCCESS")));
  const std::vector<Json> events = Events();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].dump(), R"({"event":"RF_INFO_EVENT","eventType":0})");
  for (const unsigned int type : {1U, 2U, 0x80000000U, UINT32_MAX}) {
    tuner_.Event(type, 0, "");
    EXPECT_THAT(journal_.Take(), ElementsAre(line(std::to_string(static_cast<int>(type)),
                                                  "param1: [0], param2: []")));
  }
  EXPECT_THAT(Events(), IsEmpty());
}

}  // namespace
}  // namespace lumivex::test
