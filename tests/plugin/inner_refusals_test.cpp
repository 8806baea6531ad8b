// The platform refuses what the plug-in needs during construction and destruction. The plug-in logs
// that and continues, and still releases everything.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

using Refusals = PluginTest;

// What adapter and handler logged as errors, and how the library was used.
Lines Essence(const Lines& journal) {
  Lines essence;
  for (const std::string& line : journal) {
    if (line[0] == 'A' || line[0] == 'H' || line.compare(0, 2, "dl") == 0 ||
        line == "player Create()" || line == "player 1()") {
      essence.push_back(line);
    }
  }
  return essence;
}

TEST_F(Refusals, DuringConstructionAndDestruction) {
  const std::string no_player =
      " | A:CZunoPlayerAdapter GetPlayerInstance() retunred NULL. | "
      "A:SetDisplay ZunoPlayer instance is not created yet. Returns false. | "
      "H:CLumivexMessageHandler SetDisplay() returned false.";
  const std::string not_created =
      " | A:GetPlayerInstance IZunoPlayer::Create() returned null. ZunoPlayer instance creation "
      "failed.\n" +
      no_player + " | dlclose";
  const std::string opened = "dlopen /usr/lib/libzuno-player.so 1";
  const std::string created = opened + " | player Create()";
  const std::string ended = " | player 1() | dlclose";
  const std::pair<const char*, std::string> kCases[] = {
      {"", created + ended},
      {"dlopen",
       opened +
           " | dlerror | A:GetPlayerInstance Loading /usr/lib/libzuno-player.so lib failed. "
           "(no such file)\n" +
           no_player},
      {"dlopen dlerror", opened + " | dlerror" + no_player},
      {"dlsym", opened + not_created},
      {"player Create", created + not_created},
      {"dlclose", created + ended + " | A:~CZunoPlayerAdapter dlclose() failed."},
      {"player 53",
       created + " | A:CZunoPlayerAdapter SetMessageCallback() returned false." + ended},
      {"player 52",
       created + " | A:CZunoPlayerAdapter SetCurrentPositionCallback() returned false." + ended},
      {"player 75", created +
                        " | A:SetDisplay SetDisplay() returned false. | "
                        "H:CLumivexMessageHandler SetDisplay() returned false." +
                        ended},
      {"player 11", created + " | A:Stop Stop() returned false." + ended},
  };
  for (const auto& [call, lines] : kCases) {
    SCOPED_TRACE(call);
    Stage::Reset();
    stage_.failing = {call};
    if (call == std::string("dlopen dlerror")) {
      stage_.failing = {"dlopen", "dlerror"};
    }
    journal_.Take();
    Load();
    page_ = NewPage();
    EXPECT_EQ(Send(Request(kPlayer, "GetPlayerVersion")), Ok(R"("1.50")"));
    Close();
    EXPECT_THAT(Essence(journal_.Take()), ElementsAreArray(Script(lines)));
    EXPECT_EQ(stage_.libraries, call == std::string("dlclose") ? 1 : 0);
  }
}

TEST_F(Refusals, WhileTheTunerIsObtained) {
  for (const char* call :
       {"tuner GetKelvoAppIDByPID", "tuner GetInstance", "tuner RegisterRFEventHandler",
        "tuner SetSubtitleWindowSubsurface", "tuner ShowSubtitleWindow"}) {
    SCOPED_TRACE(call);
    Stage::Reset();
    Open();
    stage_.failing = {call};
    const Json request = Request(kTuner, "SetChannelType", R"({"channelType": 1})");
    Compare(request);
    stage_.failing.clear();
    Compare(request);
    EXPECT_TRUE(now_.has_tuner);
    Close();
  }
}

TEST_F(Refusals, OfTheRegistrationLeaveTheElement) {
  Load();
  browser_->ForceRegisterResult(-2);
  page_ = NewPage();
  EXPECT_EQ(journal_.Take().back(),
            "K:CLumivexPluginInstance [PluginLogging]  RegisterMessageHandler Fail");
  EXPECT_FALSE(page_->HasHandler());
}

}  // namespace
}  // namespace lumivex::test
