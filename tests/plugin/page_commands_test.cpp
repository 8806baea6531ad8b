// The commands of the streaming player: reply, log lines and library calls of each, in the order in
// which they happen.

#include <cmath>
#include <deque>
#include <limits>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

enum class Finishes { kAlways, kOnSuccess, kNever };

// One command. The adapter's operation has the command's name.
struct PlayerCommand {
  std::string request;
  Lines before;         // the handler's lines before it asks the player
  const char* starts;   // the adapter's first line, if it has one
  std::string call;     // of the library's operation
  const char* failure;  // the adapter's line when the library refuses
  Lines refused_after;  // the handler's lines then
  Lines after = {};     // and when the library agrees
  const char* value = "true";
  const char* refused_value = "false";
  Finishes finishes = Finishes::kAlways;

  std::string name() const { return Json::parse(request).at("command"); }
  int position() const { return std::stoi(call); }
};

PlayerCommand Control(const std::string& name, const char* call, const std::string& operation) {
  static std::deque<std::string> texts;  // what the rows point at
  const char* const starts = texts.emplace_back(name + "() starts.").c_str();
  const char* const failure = texts.emplace_back(operation + "() returned false.").c_str();
  return {R"({"command": ")" + name + "\"}",      {}, starts, call, failure,
          {HE(name, name + "() returned false.")}};
}

// A number of the library's, -1 when it refuses; shown is the handler's line up to it.
PlayerCommand Query(const std::string& request,
                    const char* starts,
                    const char* call,
                    const char* failure,
                    const std::string& shown,
                    const char* value = "4711") {
  PlayerCommand row = {request, {}, starts, call, failure, {}};
  if (!shown.empty()) {
    row.after = {H(row.name(), shown + value + ".")};
    row.refused_after = {H(row.name(), shown + "-1.")};
  }
  row.value = value;
  row.refused_value = "-1";
  row.finishes = Finishes::kOnSuccess;
  return row;
}

const PlayerCommand kCommands[] = {
    Control("Start", "10(0)", "Play"),
    Control("Stop", "11()", "Stop"),
    Control("Pause", "17()", "Pause"),
    Control("Resume", "18()", "Resume"),
    {R"({"command": "SetDataSource", "url": "http://a/b.mp4", "timeOffset": 1500})",
     {H("SetDataSource", "[SetDataSource] url: http://a/b.mp4, timeOffset: 1500")},
     "SetDataSource(http://a/b.mp4, 1500) starts.",
     R"(6("http://a/b.mp4", 1500))",
     "InitPlayer() returned false.",
     {HE("SetDataSource", "[SetDataSource] SetDataSource(http://a/b.mp4, 1500) returned false.")}},
    {R"({"command": "SetDataSource", "url": "/b.mp4", "timeOffset": -1})",
     {H("SetDataSource", "[SetDataSource] url: /b.mp4, timeOffset: 4294967295")},
     "SetDataSource(/b.mp4, 4294967295) starts.",
     R"(6("/b.mp4", 4294967295))",
     "InitPlayer() returned false.",
     {HE("SetDataSource", "[SetDataSource] SetDataSource(/b.mp4, 4294967295) returned false.")}},
    {R"({"command": "SeekTo", "msec": -900})",
     {H("SeekTo", "msec: -900")},
     "SeekTo(-900) starts.",
     "20(-900)",
     "Seek() returned false.",
     {HE("SeekTo", "SeekTo(-900) returned false.")}},
    {R"({"command": "SetPlaybackSpeed", "speed": -0.5})",
     {H("SetPlaybackSpeed", "[SetPlaybackSpeed] SetPlaybackSpeed: -0.500000")},
     "SetPlaybackSpeed(-0.500000) starts.",
     "25(-0.500000)",
     "SetPlaySpeed returned false.",
     {HE("SetPlaybackSpeed", "SetPlaybackSpeed(-0.500000) returned false.")}},
    {R"({"command": "SetDisplayArea", "x": -1, "y": 2, "width": 640, "height": 360})",
     {H("SetDisplayArea", "[SetDisplayArea] SetDisplayArea(4294967295, 2, 640, 360) starts")},
     "SetDisplayArea(4294967295, 2, 640, 360, 1) starts.",
     "75(0, display_area: -1 2 640 360 (16))",
     "SetAttribute() returned false.",
     {HE("SetDisplayArea", "SetDisplayArea() returned false.")}},
    {R"({"command": "SelectTrack", "trackType": 1, "index": -4})",
     {H("SelectTrack", "SelectTrack(1, -4)")},
     "SelectTrack(1, -4) starts.",
     "77(3, -4)",
     "SetStreamID() returned false.",
     {HE("SelectTrack", "SelectTrack(1, -4) returned false.")}},
    {R"({"command": "SetTimedTextSource", "URI": ""})",
     {H("SetTimedTextSource", "[SetTimedTextSource] filePath: []")},
     "SetTimedTextSource() starts.",
     R"(46("", 0))",
     "StartSubtitle() returned false.",
     {HE("SetTimedTextSource", "SetTimedTextSource() returned false.")}},
    {R"({"command": "SetDRMProperty", "type": 3, "propertyData": "a\u0000b"})",
     {},
     "SetDRMProperty(3, a) starts.",
     R"(14("PROPERTY_WMDRM_COOKIE", "a\x00b", 0))",
     "SetDrmInfo() returns fail.",
     {HE("SetDRMProperty", "SetDRMProperty(3, a) returned false.")},
     {},
     "true",
     "false",
     Finishes::kOnSuccess},
    {R"({"command": "GetTrackLanguageCode", "trackType": 4, "index": 6})",
     {H("GetTrackLanguageCode", "[GetTrackLanguageCode] trackType: 4, index: 6")},
     "GetTrackLanguageCode(4, 6) starts.",
     R"(36(4, 6, *"", *""))",
     "GetStreamLanguageCode() returned false.",
     {HE("GetTrackLanguageCode", "GetTrackLanguageCode(4, 6) returned false.")},
     {H("GetTrackLanguageCode", "[GetTrackLanguageCode][Success] language: eng, string length: 3")},
     R"("eng")",
     R"("FAILED")"},
    {R"({"command": "GetAvailableBitrates"})",
     {},
     nullptr,
     "30(*0 bitrates)",
     "GetAvailableBitrates() returned false.",
     {HE("GetAvailableBitrates", "GetAvailableBitrates() returned false.")},
     {H("GetAvailableBitrates", "The bitrates[0] is 64"),
      H("GetAvailableBitrates", "The bitrates[1] is 128"),
      H("GetAvailableBitrates", "The bitrates[2] is 256")},
     R"("64,128,256")",
     R"("")",
     Finishes::kNever},
    Query(R"({"command": "GetCurrentPosition"})",
          "GetCurrentPosition() starts.",
          "27(*0)",
          "GetCurrentPosition() returned false.",
          "GetCurrentPosition returned "),
    Query(R"({"command": "GetDuration"})",
          "GetDuration() starts.",
          "28(*0)",
          "GetDuration() returned false.",
          "GetDuration() returned "),
    Query(R"({"command": "GetVideoWidth"})",
          "GetVideoWidth() starts.",
          "15(*-1, *-1)",
          "GetResolution() returned false.",
          "GetVideoWidth() returned ",
          "1280"),
    Query(R"({"command": "GetVideoHeight"})",
          "GetVideoHeight() starts.",
          "15(*-1, *-1)",
          "GetResolution() returned false.",
          "GetVideoHeight() returned ",
          "720"),
    Query(R"({"command": "GetNumOfTracks", "trackType": 2})",
          "GetNumOfTracks(2) starts.",
          "32(1, *0)",
          "GetTotalNumOfStreamID() returned false.",
          ""),
    Query(R"({"command": "GetSelectedTrack", "trackType": 3})",
          "GetSelectedTrack(3) starts.",
          "33(5, *0)",
          "GetCurrentStreamID() returned false.",
          "GetSelectedTrack(3) returned "),
};

class PlayerCommands : public PluginTest {};

TEST_F(PlayerCommands, EveryCommandWhenTheLibraryAgreesAndWhenItRefuses) {
  Open();
  for (const PlayerCommand& row : kCommands) {
    for (const bool agrees : {true, false}) {
      SCOPED_TRACE(row.request + (agrees ? "" : ", refused"));
      const std::string name = row.name();
      player_.failing = agrees ? std::set<int>{} : std::set<int>{row.position()};
      player_.drm_result = agrees ? 0 : -5;
      Lines expected = row.before;
      if (row.starts != nullptr) {
        expected.push_back(A(name, row.starts));
      }
      expected.push_back("player " + row.call);
      if (!agrees) {
        expected.push_back(AE(name, row.failure));
      }
      if (row.finishes == Finishes::kAlways || (agrees && row.finishes == Finishes::kOnSuccess)) {
        expected.push_back(A(name, "finishes."));
      }
      const Outcome outcome = Run(row.request);
      EXPECT_EQ(outcome.reply, Ok(agrees ? row.value : row.refused_value));
      EXPECT_THAT(outcome.journal,
                  ElementsAreArray(expected + (agrees ? row.after : row.refused_after)));
    }
  }
}

TEST_F(PlayerCommands, EveryCommandWithoutAPlayer) {
  player_.creates = false;
  Open();
  for (const PlayerCommand& row : kCommands) {
    SCOPED_TRACE(row.request);
    const std::string name = row.name();
    Lines expected = row.before;
    if (row.starts != nullptr) {
      expected.push_back(A(name, row.starts));
    }
    expected.push_back(AE(name, "ZunoPlayer instance is not created yet. Returns false."));
    const Outcome outcome = Run(row.request);
    EXPECT_EQ(outcome.reply, Ok(row.refused_value));
    EXPECT_THAT(outcome.journal, ElementsAreArray(expected + row.refused_after));
  }
  EXPECT_EQ(Run(R"({"command": "GetPlaybackSpeed"})").reply, Ok("double 0"));
  EXPECT_EQ(Run(R"({"command": "GetPlayerVersion"})").reply, Ok(R"("1.50")"));
}

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

TEST_F(PlayerCommands, BadArgumentsAreRefusedInSilence) {
  Open();
  const std::string bad_url = Refused(26, "InvalidValuesError", "Parameters are invalid");
  const std::pair<const char*, std::string> kCases[] = {
      {R"({"command": "SetDataSource"})", bad_url},
      {R"({"command": "SetDataSource", "url": 42})", bad_url},
      {R"({"command": "SetDataSource", "url": null, "timeOffset": 1})", bad_url},
      {R"({"command": "SetDataSource", "url": ["x"]})", bad_url},
      {R"({"command": "SetDataSource", "url": ""})", BadParameter()},
      {R"({"command": "SeekTo"})", BadParameter()},
      {R"({"command": "SeekTo", "Msec": 1})", BadParameter()},
      {R"({"command": "SetPlaybackSpeed"})", BadParameter()},
      {R"({"command": "SetDisplayArea", "y": 0, "width": 1, "height": 1})", BadParameter()},
      {R"({"command": "SetDisplayArea", "x": 0, "width": 1, "height": 1})", BadParameter()},
      {R"({"command": "SetDisplayArea", "x": 0, "y": 0, "height": 1})", BadParameter()},
      {R"({"command": "SetDisplayArea", "x": 0, "y": 0, "width": 1, "scalingMode": 0})",
       BadParameter()},
      {R"({"command": "GetNumOfTracks"})", BadParameter()},
      {R"({"command": "GetSelectedTrack"})", BadParameter()},
      {R"({"command": "SelectTrack", "trackType": 1})", BadParameter()},
      {R"({"command": "SelectTrack", "index": 1})", BadParameter()},
      {R"({"command": "GetTrackLanguageCode", "trackType": 1})", BadParameter()},
      {R"({"command": "GetTrackLanguageCode", "index": 1})", BadParameter()},
      {R"({"command": "SetTimedTextSource"})", BadParameter()},
      {R"({"command": "SetTimedTextSource", "URI": 1})", BadParameter()},
      {R"({"command": "SetDRMProperty", "type": 1})", BadParameter()},
      {R"({"command": "SetDRMProperty", "propertyData": "x"})", BadParameter()},
  };
  for (const auto& [request, reply] : kCases) {
    SCOPED_TRACE(request);
    const Outcome outcome = Run(request);
    EXPECT_EQ(outcome.reply, reply);
    EXPECT_THAT(outcome.journal, IsEmpty());
  }
}

TEST_F(PlayerCommands, NumbersAreConvertedAndNeverRefused) {
  Open();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  host::VarTable* const vars = &browser_->vars();
  const host::OwnedVar text(vars, vars->FromUtf8("1500"));
  const host::OwnedVar array(vars, vars->CreateArray());
  const host::OwnedVar dictionary(vars, vars->CreateDictionary());
  const struct {
    PP_Var value;
    const char* integer;
    const char* speed;
  } kCases[] = {
      {host::IntVar(900), "900", "900.000000"},
      {host::DoubleVar(1500.7), "1500", "1500.699951"},
      {host::DoubleVar(-1500.7), "-1500", "-1500.699951"},
      {host::DoubleVar(2), "2", "2.000000"},
      {host::DoubleVar(2147483647.5), "2147483647", "2147483648.000000"},
      {host::DoubleVar(3e9), "2147483647", "3000000000.000000"},
      {host::DoubleVar(-3e9), "-2147483648", "-3000000000.000000"},
      {host::DoubleVar(kInfinity), "2147483647", "inf"},
      {host::DoubleVar(-kInfinity), "-2147483648", "-inf"},
      {host::DoubleVar(std::nan("")), "0", "nan"},
      {host::BoolVar(true), "0", "0.000000"},
      {host::NullVar(), "0", "0.000000"},
      {host::UndefinedVar(), "0", "0.000000"},
      {text.get(), "0", "0.000000"},
      {array.get(), "0", "0.000000"},
      {dictionary.get(), "0", "0.000000"},
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
    SCOPED_TRACE(type);
    const std::string number = std::to_string(type);
    const bool known = type >= 0 && type < 4;
    const Outcome outcome =
        Run(R"({"command": "SetDRMProperty", "propertyData": "", "type": )" + number + "}");
    EXPECT_EQ(outcome.reply, Ok(known ? "true" : "false"));
    EXPECT_THAT(outcome.journal,
                ElementsAreArray(
                    known ? Lines{A("SetDRMProperty", "SetDRMProperty(" + number + ", ) starts."),
                                  std::string("player 14(\"") + kProperties[type] + R"(", "", 0))",
                                  A("SetDRMProperty", "finishes.")}
                          : Lines{A("SetDRMProperty", "SetDRMProperty(" + number + ", ) starts."),
                                  AE("SetDRMProperty", "No matching property type. Returns false."),
                                  HE("SetDRMProperty",
                                     "SetDRMProperty(" + number + ", ) returned false.")}));
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

TEST_F(PlayerCommands, VersionAndDefaultOffset) {
  Open();
  const Outcome version = Run(R"({"command": "GetPlayerVersion", "url": [1], "msec": "x"})");
  EXPECT_EQ(version.reply, Ok(R"("1.50")"));
  EXPECT_THAT(version.journal, IsEmpty());
  EXPECT_THAT(Run(R"({"command": "SetDataSource", "url": "u"})").journal,
              testing::Contains(R"(player 6("u", 0))"));
}

}  // namespace
}  // namespace lumivex::test
