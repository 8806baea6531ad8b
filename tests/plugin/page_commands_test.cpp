// What the streaming player's commands make of arguments and answers of every kind.

#include <cmath>
#include <limits>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

using PlayerCommands = PluginTest;

TEST_F(PlayerCommands, ASpeedStandsUntilTheLibraryAcceptsAnother) {
  Open();
  Circumstances now;
  const Json get = Request(kPlayer, "GetPlaybackSpeed");
  Compare(get, &now);
  for (const double speed : {0.1, 2.0, 2.0}) {
    Compare({{"moduleName", kPlayer}, {"command", "SetPlaybackSpeed"}, {"speed", speed}}, &now);
    Compare(get, &now);
    stage_.failing =
        stage_.failing.empty() ? std::set<std::string>{"player 25"} : std::set<std::string>{};
  }
  EXPECT_EQ(Send(get), Ok("double 2"));
}

TEST_F(PlayerCommands, NumbersAreConvertedAndNeverRefused) {
  Open();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  host::VarTable* const vars = &browser_->vars();
  const host::OwnedVar text(vars, vars->FromUtf8("1500"));
  const host::OwnedVar array(vars, vars->CreateArray());
  const struct {
    PP_Var value;
    const char* integer;
    const char* speed;
  } kCases[] = {
      {host::IntVar(900), "900", "900.000000"},
      {host::DoubleVar(-1500.7), "-1500", "-1500.699951"},
      {host::DoubleVar(3e9), "2147483647", "3000000000.000000"},
      {host::DoubleVar(-kInfinity), "-2147483648", "-inf"},
      {host::DoubleVar(std::nan("")), "0", "nan"},
      {host::BoolVar(true), "0", "0.000000"},
      {host::NullVar(), "0", "0.000000"},
      {text.get(), "0", "0.000000"},
      {array.get(), "0", "0.000000"},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(Describe(vars, row.value));
    const Outcome seek = Run(R"({"command": "SeekTo"})", kPlayer, {{"msec", row.value}});
    EXPECT_EQ(seek.reply, Ok("true"));
    EXPECT_THAT(seek.journal, testing::Contains(std::string("player 20(") + row.integer + ")"));
    const Outcome speed =
        Run(R"({"command": "SetPlaybackSpeed"})", kPlayer, {{"speed", row.value}});
    EXPECT_EQ(speed.reply, Ok("true"));
    EXPECT_THAT(speed.journal, testing::Contains(std::string("player 25(") + row.speed + ")"));
  }
  // Values that are no text read as an empty one where the type is not asked for.
  EXPECT_THAT(Run(R"({"command": "SetDRMProperty", "type": "3", "propertyData": 5})").journal,
              testing::Contains(R"(player 14("PROPERTY_REQUEST_CHALLENGE_DATA", "", 0))"));
}

TEST_F(PlayerCommands, TrackTypesAndDrmPropertiesByNumber) {
  Open();
  Circumstances now;
  for (const int type : {0, 1, 2, 3, 4, 5, 7, -1, INT32_MIN, INT32_MAX}) {
    Json request = {{"moduleName", kPlayer}, {"command", "GetNumOfTracks"}, {"trackType", type}};
    Compare(request, &now);
    request = {{"moduleName", kPlayer}, {"command", "SetDRMProperty"}, {"type", type}};
    request["propertyData"] = "%s";
    Compare(request, &now);
  }
}

TEST_F(PlayerCommands, TextsOfTheLibraryAndOfThePageWithStrangeBytes) {
  Open();
  Circumstances now;
  const std::string texts[] = {
      std::string("de\0-AT", 6), "", "\xff\xfe", "\xc3\xbc", std::string("\xff\0", 2),
      std::string(5000, 'x')};
  for (const std::string& text : texts) {
    stage_.player.text = stage_.tuner.text = text;
    Json request = Request(kPlayer, "GetTrackLanguageCode", R"({"trackType": 2, "index": 0})");
    Compare(request, &now);
    request = Request(kTuner, "SetChannelType", R"({"channelType": 0})");
    Compare(request, &now);
    request = Request(kTuner, "GetRFTrackLanguageCode", R"({"trackType": 4, "index": 0})");
    Compare(request, &now);
  }
  // Without an offset it begins at the beginning.
  Compare(Request(kPlayer, "SetDataSource", R"({"url": "a\u0000b"})"), &now);
  Compare(Request(kPlayer, "SetTimedTextSource", R"({"URI": "%s%n \u00fc"})"), &now);
}

TEST_F(PlayerCommands, BitratesAsOneText) {
  Open();
  Circumstances now;
  const Json request = Request(kPlayer, "GetAvailableBitrates");
  for (const std::vector<unsigned int>& bitrates :
       {std::vector<unsigned int>{}, {96}, {0, 4294967295U, 7}}) {
    stage_.player.bitrates = bitrates;
    Compare(request, &now);
  }
  // The number is a long one for the log.
  Send(request);
  EXPECT_EQ(journal_.TakeEntries().back().format, "%s: %s(%d) > The bitrates[%d] is %lu");
}

}  // namespace
}  // namespace lumivex::test
