// What the streaming player's commands make of arguments and answers of every kind.

#include <cmath>
#include <limits>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

using PlayerCommands = PluginTest;

TEST_F(PlayerCommands, ASpeedStandsUntilTheLibraryAcceptsAnother) {
  Open();
  const struct {
    const char* speed;
    bool accepted;
    const char* then;
    const char* logged;
  } kSteps[] = {{nullptr, false, "double 0", "0.000000"},
                {"0.1", true, "double 0.10000000149011612", "0.100000"},
                {"2", false, "double 0.10000000149011612", "0.100000"},
                {"2", true, "double 2", "2.000000"}};
  for (const auto& step : kSteps) {
    player_.failing = step.accepted ? std::set<int>{} : std::set<int>{25};
    if (step.speed != nullptr) {
      Run(std::string(R"({"command": "SetPlaybackSpeed", "speed": )") + step.speed + "}");
    }
    const Outcome outcome = Run(R"({"command": "GetPlaybackSpeed"})");
    EXPECT_EQ(outcome.reply, Ok(step.then));
    EXPECT_THAT(outcome.journal, ElementsAre(A("GetPlaybackSpeed", "GetPlaybackSpeed() starts."),
                                             H("GetPlaybackSpeed",
                                               std::string("[GetPlaybackSpeed] ") + step.logged)));
  }
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
  const std::pair<int, int> kStreamTypes[] = {{1, 3},         {2, 1},        {3, 5}, {4, 4},
                                              {0, 9},         {5, 9},        {7, 9}, {-1, 9},
                                              {INT32_MIN, 9}, {INT32_MAX, 9}};
  for (const auto& [type, stream_type] : kStreamTypes) {
    EXPECT_THAT(
        Run(R"({"command": "GetNumOfTracks", "trackType": )" + std::to_string(type) + "}").journal,
        testing::Contains("player 32(" + std::to_string(stream_type) + ", *0)"))
        << type;
  }
  const char* const kProperties[] = {"PROPERTY_REQUEST_CHALLENGE_DATA", "PROPERTY_SET_DRM_LICENSE",
                                     "PROPERTY_LICENSE_SERVER", "PROPERTY_WMDRM_COOKIE"};
  for (const int type : {0, 1, 2, 3, 4, -1, INT32_MIN, INT32_MAX}) {
    const std::string number = std::to_string(type);
    const bool known = type >= 0 && type < 4;
    const Outcome outcome =
        Run(R"({"command": "SetDRMProperty", "propertyData": "", "type": )" + number + "}");
    EXPECT_EQ(outcome.reply, Ok(known ? "true" : "false")) << type;
    const std::string then =
        known ? std::string("player 14(\"") + kProperties[type] + R"(", "", 0) | a finishes.)"
              : "A No matching property type. Returns false. | H SetDRMProperty(" + number +
                    ", ) returned false.";
    EXPECT_THAT(outcome.journal,
                ElementsAreArray(Script("a SetDRMProperty(" + number + ", ) starts. | " + then,
                                        "SetDRMProperty")));
  }
}

TEST_F(PlayerCommands, TextsOfTheLibraryAndOfThePageWithStrangeBytes) {
  Open();
  const auto language = [this](std::string code) {
    player_.language = std::move(code);
    return Run(R"({"command": "GetTrackLanguageCode", "trackType": 2, "index": 0})");
  };
  const Outcome cut = language(std::string("de\0-AT", 6));
  EXPECT_EQ(cut.reply, Ok(R"("de")"));
  EXPECT_EQ(
      cut.journal.back(),
      H("GetTrackLanguageCode", "[GetTrackLanguageCode][Success] language: de, string length: 6"));
  EXPECT_EQ(language("").reply, Ok(R"("")"));
  EXPECT_EQ(language("\xff\xfe").reply, Ok("null"));  // not UTF-8: the browser makes no text of it
  EXPECT_EQ(language("\xc3\xbc").reply, Ok(R"("\xc3\xbc")"));

  // Without an offset it begins at the beginning.
  EXPECT_THAT(Run(R"({"command": "SetDataSource", "url": "a\u0000b"})").journal,
              testing::Contains(R"(player 6("a", 0))"));
  EXPECT_THAT(
      Run(R"({"command": "SetTimedTextSource", "URI": "%s%n \u00fc"})").journal,
      ElementsAre(H("SetTimedTextSource", "[SetTimedTextSource] filePath: [%s%n \u00fc]"),
                  A("SetTimedTextSource", "SetTimedTextSource(%s%n \u00fc) starts."),
                  R"(player 46("%s%n \xc3\xbc", 0))", A("SetTimedTextSource", "finishes.")));
}

TEST_F(PlayerCommands, BitratesAsOneText) {
  Open();
  const std::pair<std::vector<unsigned int>, const char*> kCases[] = {
      {{}, R"("")"}, {{96}, R"("96")"}, {{0, 4294967295U, 7}, R"("0,4294967295,7")"}};
  for (const auto& [bitrates, text] : kCases) {
    player_.bitrates = bitrates;
    EXPECT_EQ(Run(R"({"command": "GetAvailableBitrates"})").reply, Ok(text));
  }
  EXPECT_THAT(Run(R"({"command": "GetAvailableBitrates"})").journal,
              testing::Contains(H("GetAvailableBitrates", "The bitrates[1] is 4294967295")));
  // The number is a long one for the log.
  Send(Request(kPlayer, "GetAvailableBitrates"));
  EXPECT_EQ(journal_.TakeEntries().back().format, "%s: %s(%d) > The bitrates[%d] is %lu");
}

}  // namespace
}  // namespace lumivex::test
