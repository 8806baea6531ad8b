// Every command: what it says, calls and answers, what it needs, and what it does without a player
// or a tuner. How it takes the platform's refusal is among the faults.

#include "LumivexMessageHandler.h"
#include "commands.h"

namespace lumivex::test {
namespace {

class EveryCommand : public PluginTest {
 protected:
  void OpenWithTuner() {
    Open();
    ASSERT_EQ(Send(Request(kTuner, "SetChannelType", R"({"channelType": 1})")), Ok("true"));
  }
  static bool ObtainsTuner(const Command& row) { return row.journal.find("InitRF") < 10; }
  static bool NeedsTuner(const Command& row) {
    return row.call().compare(0, 5, "tuner") == 0 && !ObtainsTuner(row);
  }
};

TEST_F(EveryCommand, WhenThePlatformAgrees) {
  OpenWithTuner();
  std::set<std::string> names;
  for (const Command& row : Commands()) {
    SCOPED_TRACE(row.request);
    names.insert(row.name());
    const Outcome outcome = Run(row.request, row.module());
    EXPECT_EQ(outcome.reply, Ok(row.value));
    EXPECT_THAT(outcome.journal, ElementsAreArray(row.Journal(true)));
  }
  EXPECT_EQ(names.size(), 34U);
  for (const auto& [name, command] : CLumivexMessageHandler::m_messageMap) {
    EXPECT_EQ(names.count(name), 1U) << name << " has no row";
  }
}

TEST_F(EveryCommand, WithoutAPlayer) {
  player_.creates = false;
  Open();
  for (const Command& row : Commands()) {
    if (row.call().compare(0, 5, "tuner") == 0) {
      continue;
    }
    SCOPED_TRACE(row.request);
    // The handler's part, and the adapter's first line with its excuse in the place of the call.
    Lines expected;
    std::string function = row.name();
    for (const std::string& line : row.Journal(row.call().empty())) {
      const std::size_t place = line.find("ZunoPlayerAdapter.cpp ");
      if (place < std::string::npos && line.find("() starts.") < std::string::npos) {
        function = line.substr(place + 22, line.find(':') - place - 22);
      }
      if (CallOf(line) != "log") {
        expected.push_back(AE(function, "ZunoPlayer instance is not created yet. Returns false."));
      } else if (place == std::string::npos || line.find(" starts.") < std::string::npos) {
        expected.push_back(line);
      }
      if (row.name() == "GetPlaybackSpeed" && place < std::string::npos) {
        expected.push_back(AE(function, "ZunoPlayer instance is not created yet. Returns false."));
      }
    }
    const Outcome outcome = Run(row.request);
    EXPECT_EQ(outcome.reply, Ok(row.refused_value));
    EXPECT_THAT(outcome.journal, ElementsAreArray(expected));
  }
}

TEST_F(EveryCommand, WithoutTheTunerAsksForItBeforeAnythingElse) {
  Open();
  for (const Command& row : Commands()) {
    for (const std::string& request : {row.request, R"({"command": ")" + row.name() + "\"}"}) {
      if (NeedsTuner(row)) {
        const Outcome outcome = Run(request, kTuner);
        EXPECT_EQ(outcome.reply, NoTuner()) << request;
        EXPECT_THAT(outcome.journal, IsEmpty()) << request;
      }
    }
  }
}

TEST_F(EveryCommand, RefusesWhatItCannotWorkWith) {
  OpenWithTuner();
  const auto refuses = [this](const Json& request, const Lines& journal) {
    SCOPED_TRACE(request.dump());
    const bool url = request["command"] == "SetDataSource" && request.value("url", Json(0)) != "";
    const Outcome outcome = Run(request.dump(), "open module");
    EXPECT_EQ(outcome.reply,
              url ? Refused(26, "InvalidValuesError", "Parameters are invalid") : BadParameter());
    EXPECT_THAT(outcome.journal, ElementsAreArray(journal));
  };
  for (const Command& row : Commands()) {
    const Lines journal = ObtainsTuner(row) ? Lines{row.Journal(true)[0]} : Lines{};
    const Json whole = Json::parse(row.request);
    for (const auto& [key, value] : whole.items()) {
      Json request = whole;
      if (key == "command" || key == "timeOffset" || key == "scalingMode") {
        continue;
      }
      request.erase(key);
      refuses(request, journal);
      for (const Json& no_text : {Json(42), Json(nullptr), Json::array({"x"})}) {
        if (key == "url" || key == "URI") {
          request[key] = no_text;
          refuses(request, journal);
        }
      }
    }
  }
  const std::pair<const char*, const char*> kCases[] = {
      {R"({"command": "SetDataSource", "url": ""})", ""},
      {R"({"command": "SelectRFTrack", "trackType": 3})", ""},
      {R"({"command": "GetNumOfRFTracks", "trackType": 1})",
       "H:GetNumOfRFTracks Wrong media type."},
      {R"({"command": "GetNumOfRFTracks", "trackType": "2"})",
       "H:GetNumOfRFTracks Wrong media type."},
      {R"({"command": "GetSelectedRFTrack", "trackType": 3})",
       "h:GetSelectedRFTrack [GetSelectedRFTrack] trackType: 3  | "
       "H:GetSelectedRFTrack Wrong media track type."},
      {R"({"command": "SelectRFTrack", "trackType": 0, "index": 1})",
       "h:SelectRFTrack [SelectRFTrack] trackType: 0, index: 1 | "
       "H:SelectRFTrack Wrong media track type."},
      {R"({"command": "GetRFTrackLanguageCode", "trackType": -2, "index": 1})",
       "h:GetRFTrackLanguageCode [GetRFTrackLanguageCode] trackType: -2, index: 1 | "
       "H:GetRFTrackLanguageCode Wrong media track type."},
  };
  for (const auto& [request, journal] : kCases) {
    refuses(Json::parse(request), Script(journal));
  }
}

}  // namespace
}  // namespace lumivex::test
