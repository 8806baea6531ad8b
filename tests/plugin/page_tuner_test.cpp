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
    Stage::Reset();
    Open();
    EXPECT_EQ(Run(R"({"command": "GetRFManagerVersion"})", kTuner).reply, Ok(R"("1.50")"));
    // An attempt that fails is repeated.
    stage_.failing = {"tuner GetInstance"};
    for (int i = 0; i < 2; ++i) {
      const Outcome failed = Run(request, "open module");
      EXPECT_EQ(failed.reply, NoTuner());
      EXPECT_THAT(failed.journal,
                  ElementsAre(kObtaining[0], kObtaining[1],
                              HE("InitRFManager", "Getting RFManager instance failed.")));
    }
    stage_.failing.clear();
    const Outcome first = Run(request, kTuner);
    EXPECT_EQ(first.reply, BadParameter());
    EXPECT_THAT(first.journal, ElementsAreArray(kObtaining));
    Close();
  }
}

TEST_F(Tuner, AnswersReachThePageAsTheyAre) {
  OpenWithTuner();
  stage_.tuner.number = -2;
  stage_.tuner.text = std::string("fr\0x", 4);
  EXPECT_EQ(Run(R"({"command": "GetNumOfRFTracks", "trackType": 2})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleMode"})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 0})").reply,
            Ok(R"("fr\x00x")"));
  stage_.tuner.number = 0;
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleStatus"})").reply, Ok("false"));
}

}  // namespace
}  // namespace lumivex::test
