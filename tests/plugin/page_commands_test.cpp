// What the commands make of arguments and answers of every kind.

#include <cmath>
#include <limits>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

using PageCommands = PluginTest;

TEST_F(PageCommands, ReportTheSpeedThatWasLastAccepted) {
  Open();
  const Json get = Request(kPlayer, "GetPlaybackSpeed");
  Compare(get);
  for (const double speed : {0.1, 2.0, 2.0}) {
    Compare({{"moduleName", kPlayer}, {"command", "SetPlaybackSpeed"}, {"speed", speed}});
    Compare(get);
    stage_.failing =
        stage_.failing.empty() ? std::set<std::string>{"player 25"} : std::set<std::string>{};
  }
  EXPECT_EQ(Send(get), Ok("double 2"));
}

TEST_F(PageCommands, ConvertNumbersAndNeverRefuseThem) {
  Open();
  for (const Json& value :
       {Json(900), Json(-1500.7), Json(3e9), Json(-std::numeric_limits<double>::infinity()),
        Json(std::nan("")), Json(true), Json(), Json("1500"), Json::array()}) {
    Compare({{"moduleName", kPlayer}, {"command", "SeekTo"}, {"msec", value}});
    Compare({{"moduleName", kPlayer}, {"command", "SetPlaybackSpeed"}, {"speed", value}});
  }
  Send(Request(kPlayer, "SeekTo", R"({"msec": -1500.7})"));
  EXPECT_THAT(journal_.Take(), testing::Contains("player 20(-1500)"));
  // Where the type is not checked, anything but text reads as an empty one.
  Send(Request(kPlayer, "SetDRMProperty", R"({"type": "3", "propertyData": 5})"));
  EXPECT_THAT(journal_.Take(),
              testing::Contains(R"(player 14("PROPERTY_REQUEST_CHALLENGE_DATA", "", 0))"));
}

TEST_F(PageCommands, TakeTrackTypesAndDrmPropertiesByNumber) {
  Open();
  for (const int type : {0, 1, 2, 3, 4, 5, 7, -1, INT32_MIN, INT32_MAX}) {
    Compare({{"moduleName", kPlayer}, {"command", "GetNumOfTracks"}, {"trackType", type}});
    Json request = Request(kPlayer, "SetDRMProperty", R"({"propertyData": "%s"})");
    request["type"] = type;
    Compare(request);
  }
}

TEST_F(PageCommands, PassOnTextsWithUnusualBytes) {
  Open();
  for (const std::string& text :
       {std::string("de\0-AT", 6), std::string(), std::string("\xff\xfe"), std::string("\xc3\xbc"),
        std::string("\xff\0", 2), std::string(5000, 'x')}) {
    stage_.player.text = stage_.tuner.text = text;
    Compare(Request(kPlayer, "GetTrackLanguageCode", R"({"trackType": 2, "index": 0})"));
    Compare(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
    Compare(Request(kTuner, "GetRFTrackLanguageCode", R"({"trackType": 4, "index": 0})"));
  }
  // Without an offset, playback starts at the beginning.
  Compare(Request(kPlayer, "SetDataSource", R"({"url": "a\u0000b"})"));
  Compare(Request(kPlayer, "SetTimedTextSource", R"({"URI": "%s%n \u00fc"})"));
}

TEST_F(PageCommands, ListBitratesInOneText) {
  Open();
  const Json request = Request(kPlayer, "GetAvailableBitrates");
  for (const std::vector<unsigned int>& bitrates :
       {std::vector<unsigned int>{}, {96}, {0, 4294967295U, 7}}) {
    stage_.player.bitrates = bitrates;
    Compare(request);
  }
  // The log's format takes a long.
  Send(request);
  EXPECT_EQ(journal_.TakeEntries().back().format, "The bitrates[%d] is %lu");
}

TEST_F(PageCommands, ObtainTheTunerWhateverTheyLack) {
  for (const char* command : {"SetChannelType", "TuneRFChannel"}) {
    Stage::Reset();
    Open();
    Compare(Request(kTuner, "GetRFManagerVersion"));
    // A failed attempt is repeated.
    stage_.failing = {"tuner GetInstance"};
    Compare(Request("another module", command));
    Compare(Request("another module", command));
    EXPECT_FALSE(now_.has_tuner);
    stage_.failing.clear();
    Compare(Request(kTuner, command));
    EXPECT_TRUE(now_.has_tuner);
    stage_.tuner.number = -2;
    Compare(Request(kTuner, "GetNumOfRFTracks", R"({"trackType": 2})"));
    Compare(Request(kTuner, "GetRFSubtitleMode"));
    stage_.tuner.number = 0;
    Compare(Request(kTuner, "GetRFSubtitleStatus"));
    Close();
  }
}

class DisplayArea : public PluginTest {
 protected:
  using Area = std::array<uint32_t, 4>;

  static Json ToShowIn(const Area& area) {
    Json request = Request(kPlayer, "SetDisplayArea", R"({"scalingMode": 0})");
    const char* const keys[] = {"x", "y", "width", "height"};
    for (std::size_t i = 0; i < area.size(); ++i) {
      request[keys[i]] = static_cast<int32_t>(area[i]);
    }
    return request;
  }
};

TEST_F(DisplayArea, IsFittedToTheVideo) {
  Open();
  const struct {
    Area asked;
    int width, height;
    std::string given;
  } kCases[] = {
      {{0, 0, 1920, 1080}, 1280, 720, "0 0 1920 1080"},
      {{0, 0, 1920, 1080}, 640, 480, "240 0 1440 1080"},
      {{100, 50, 800, 600}, 1920, 1080, "100 125 800 450"},
      {{0, 0, 1920, 1080}, 1920, 800, "0 140 1920 799"},
      {{0, 0, 1366, 768}, 1920, 1080, "0 0 1365 768"},
      {{0, 0, 1280, 720}, 720, 576, "190 0 900 720"},
      {{0, 0, 1920, 0}, 1280, 720, "960 0 0 0"},
      {{0, 0, 0, 0}, 1280, 720, "0 0 0 0"},
      {{5, 6, 0, 1080}, 1280, 720, "5 546 0 0"},
      {{0, 0, 3840, 1728}, 1280, 576, "0 0 3840 1728"},  // same shape: the width is fitted
      {{0, 0, 100, UINT32_MAX}, 1280, 720, "0 2147483619 100 56"},  // half of more than an int
      {{UINT32_MAX, 0, 100, 100}, 50, 100, "24 0 50 100"},          // x overflows
      {{0, 0, UINT32_MAX, UINT32_MAX}, 1, 1, "0 0 -1 -1"},          // rounded up, beyond 32 bits
  };
  for (const auto& row : kCases) {
    stage_.player.width = row.width;
    stage_.player.height = row.height;
    EXPECT_EQ(Send(ToShowIn(row.asked)), Ok("true"));
    EXPECT_THAT(journal_.Take(),
                testing::Contains("player 75(0, display_area: " + row.given + " (16))"));
  }
}

TEST_F(DisplayArea, IsFittedInModeZeroOnly) {
  Open();
  stage_.player.width = 640;
  stage_.player.height = 480;
  Json request = ToShowIn({0, 0, 1920, 1080});
  for (const Json& mode : {Json(1), Json(-1), Json(1.9), Json(2), Json("1"), Json(), Json(0.9)}) {
    request["scalingMode"] = mode;  // what is not a number reads as 0
    Compare(request);
  }
  const std::pair<int, int> kNoSizes[] = {{0, 720}, {1280, 0}, {-1, -1}, {1280, -720}};
  for (const auto& [width, height] : kNoSizes) {
    stage_.player.width = width;
    stage_.player.height = height;
    EXPECT_EQ(Send(request), Ok("false"));
  }
}

}  // namespace
}  // namespace lumivex::test
