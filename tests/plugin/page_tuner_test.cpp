// The commands of the broadcast tuner and its events.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr char kSetType[] = R"({"command": "SetChannelType", "channelType": 1})";

const Lines kObtaining = {
    "tuner GetKelvoAppIDByPID(parent, zeros, 255)",
    R"(tuner GetInstance("org.example.page", false, null))",
    T("CLumivexEventListener", "[CLumivexEventListener] constructor"),
    "tuner RegisterRFEventHandler(listener)",
    "tuner SetSubtitleWindowSubsurface(7)",
    "tuner ShowSubtitleWindow()",
    H("InitRFManager", "RFManager is initialized"),
};

class Tuner : public PluginTest {
 protected:
  void OpenWithTuner() {
    Open();
    ASSERT_EQ(Run(kSetType, kTuner).reply, Ok("true"));
  }
};

// A command on the tuned service. Its lines all carry its name.
struct TunerCommand {
  const char* request;
  Lines before;      // messages before the tuner is asked
  const char* call;  // of the tuner's operation
  const char* value;
  const char* refused_value;
  const char* after;  // messages then, if there are any
  const char* refused_after;
};

const TunerCommand kCommands[] = {
    {R"({"command": "GetNumOfRFTracks", "trackType": 2})",
     {"[GetNumOfRFTracks][Audio] GetNumOfMultiAudio()"},
     "GetNumOfMultiAudio(*0)",
     "3",
     "-1",
     "[GetNumOfRFTracks] totalNumber: 3",
     "GetNumOfMultiAudio() returned false."},
    {R"({"command": "GetNumOfRFTracks", "trackType": 4.9})",
     {"[GetNumOfRFTracks][Subtitle] GetNumOfSubtitle()"},
     "GetNumOfSubtitle(*0)",
     "3",
     "-1",
     "[GetNumOfRFTracks] totalNumber: 3",
     "GetNumOfSubtitle() returned false."},
    {R"({"command": "GetSelectedRFTrack", "trackType": 2})",
     {"[GetSelectedRFTrack] trackType: 2 ", "[GetSelectedRFTrack] GetCurrentAudioInfo()"},
     "GetCurrentAudioIndex(*-1)",
     "3",
     "-1",
     "[GetSelectedRFTrack] index: 3",
     "GetCurrentAudioIndex() returned false."},
    {R"({"command": "GetSelectedRFTrack", "trackType": 4})",
     {"[GetSelectedRFTrack] trackType: 4 ", "[GetSelectedRFTrack]"},
     "GetCurrentSubtitleIndex(*-1)",
     "3",
     "-1",
     "[GetSelectedRFTrack] index: 3",
     "GetCurrentSubtitleIndex() returned false."},
    {R"({"command": "SelectRFTrack", "trackType": 2, "index": -1})",
     {"[SelectRFTrack] trackType: 2, index: -1", "[SelectRFTrack] ChangeAudioByIndex()"},
     "ChangeAudioByIndex(4294967295)",
     "true",
     "false",
     nullptr,
     nullptr},
    {R"({"command": "SelectRFTrack", "trackType": 4, "index": -1})",
     {"[SelectRFTrack] trackType: 4, index: -1", "[SelectRFTrack] ChangeSubtitleByIndex()"},
     "ChangeSubtitleByIndex(-1)",
     "true",
     "false",
     nullptr,
     nullptr},
    {R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 5})",
     {"[GetRFTrackLanguageCode] trackType: 2, index: 5",
      "[GetRFTrackLanguageCode] GetMultiAudioLanguageByIndex()"},
     R"(GetMultiAudioLanguageByIndex(5, *""))",
     R"("deu")",
     R"("FAILED")",
     "[GetRFTrackLanguageCode] languageCode : deu",
     "GetMultiAudioLanguageByIndex() retunred false."},
    {R"({"command": "GetRFTrackLanguageCode", "trackType": 4, "index": -5})",
     {"[GetRFTrackLanguageCode] trackType: 4, index: -5",
      "[GetRFTrackLanguageCode] GetSubtitleLanguageByIndex()"},
     R"(GetSubtitleLanguageByIndex(4294967291, *""))",
     R"("deu")",
     R"("FAILED")",
     "[GetRFTrackLanguageCode] languageCode : deu",
     "GetSubtitleLanguageByIndex() retunred false."},
    {R"({"command": "GetRFSubtitleMode"})",
     {},
     "GetSubtitleMode()",
     "3",
     "-1",
     "[GetRFSubtitleMode] subtitle mode: 3",
     "GetSubtitleMode() returned false."},
    {R"({"command": "SetRFSubtitleMode", "subtitleMode": -70})",
     {},
     "SetSubtitleMode(-70)",
     "true",
     "false",
     nullptr,
     "SetSubtitleMode(-70) returned false."},
    {R"({"command": "GetRFSubtitleStatus"})",
     {},
     "GetSubtitleStatus()",
     "true",
     "-1",
     "[GetRFSubtitleStatus] subtitle status: 1, result: 1",
     "GetSubtitleStatus() returned false."},
    {R"({"command": "SetRFSubtitleStatus", "showStatus": true})",
     {},
     "SetSubtitleStatus(true)",
     "true",
     "false",
     nullptr,
     "ShowSubtitle(1) returned false."},
    {R"({"command": "SetRFSubtitleStatus", "showStatus": 1})",
     {},  // only a bool is true
     "SetSubtitleStatus(false)",
     "true",
     "false",
     nullptr,
     "ShowSubtitle(0) returned false."},
};

TEST_F(Tuner, EveryCommandWhenTheTunerAgreesAndWhenItRefuses) {
  OpenWithTuner();
  for (const TunerCommand& row : kCommands) {
    for (const bool agrees : {true, false}) {
      SCOPED_TRACE(std::string(row.request) + (agrees ? "" : ", refused"));
      const std::string name = Json::parse(row.request).at("command");
      const std::string call = row.call;
      tuner_.failing =
          agrees ? std::set<std::string>{} : std::set<std::string>{call.substr(0, call.find('('))};
      Lines expected;
      for (const std::string& message : row.before) {
        expected.push_back(H(name, message));
      }
      expected.push_back("tuner " + call);
      if (agrees && row.after != nullptr) {
        expected.push_back(H(name, row.after));
      }
      if (!agrees && row.refused_after != nullptr) {
        expected.push_back(HE(name, row.refused_after));
      }
      const Outcome outcome = Run(row.request, kTuner);
      EXPECT_EQ(outcome.reply, Ok(agrees ? row.value : row.refused_value));
      EXPECT_THAT(outcome.journal, ElementsAreArray(expected));
    }
  }
  tuner_.failing.clear();
  tuner_.number = -2;
  tuner_.shown = false;
  tuner_.language = std::string("fr\0x", 4);
  EXPECT_EQ(Run(R"({"command": "GetNumOfRFTracks", "trackType": 2})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleMode"})").reply, Ok("-2"));
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleStatus"})").reply, Ok("false"));
  EXPECT_EQ(Run(R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 0})").reply,
            Ok(R"("fr\x00x")"));  // as it came
}

TEST_F(Tuner, CommandsOnTheServiceNeedAnInstanceBeforeAnythingElse) {
  Open();
  for (const char* name : {"GetNumOfRFTracks", "GetSelectedRFTrack", "SelectRFTrack",
                           "GetRFSubtitleMode", "SetRFSubtitleMode", "GetRFSubtitleStatus",
                           "SetRFSubtitleStatus", "GetRFTrackLanguageCode"}) {
    for (const char* arguments : {"", R"(, "trackType": 2, "index": 0, "subtitleMode": 1)",
                                  R"(, "trackType": 3, "showStatus": true)"}) {
      const Outcome outcome =
          Run(std::string(R"({"command": ")") + name + "\"" + arguments + "}", kTuner);
      EXPECT_EQ(outcome.reply, NoTuner()) << name << arguments;
      EXPECT_THAT(outcome.journal, IsEmpty()) << name << arguments;
    }
  }
}

TEST_F(Tuner, BadArgumentsAreRefused) {
  OpenWithTuner();
  const auto get_num = [](const std::string& what) { return HE("GetNumOfRFTracks", what); };
  const std::pair<const char*, Lines> kCases[] = {
      {R"({"command": "GetNumOfRFTracks"})", {}},
      {R"({"command": "GetSelectedRFTrack", "index": 1})", {}},
      {R"({"command": "SelectRFTrack", "trackType": 2})", {}},
      {R"({"command": "SelectRFTrack", "trackType": 3})", {}},
      {R"({"command": "SelectRFTrack", "index": 2})", {}},
      {R"({"command": "GetRFTrackLanguageCode", "trackType": 4})", {}},
      {R"({"command": "GetRFTrackLanguageCode", "index": 2})", {}},
      {R"({"command": "SetRFSubtitleMode"})", {}},
      {R"({"command": "SetRFSubtitleStatus"})", {}},
      {R"({"command": "GetNumOfRFTracks", "trackType": 1})", {get_num("Wrong media type.")}},
      {R"({"command": "GetNumOfRFTracks", "trackType": 3})", {get_num("Wrong media type.")}},
      {R"({"command": "GetNumOfRFTracks", "trackType": "2"})", {get_num("Wrong media type.")}},
      {R"({"command": "GetSelectedRFTrack", "trackType": 3})",
       {H("GetSelectedRFTrack", "[GetSelectedRFTrack] trackType: 3 "),
        HE("GetSelectedRFTrack", "Wrong media track type.")}},
      {R"({"command": "SelectRFTrack", "trackType": 0, "index": 1})",
       {H("SelectRFTrack", "[SelectRFTrack] trackType: 0, index: 1"),
        HE("SelectRFTrack", "Wrong media track type.")}},
      {R"({"command": "GetRFTrackLanguageCode", "trackType": -2, "index": 1})",
       {H("GetRFTrackLanguageCode", "[GetRFTrackLanguageCode] trackType: -2, index: 1"),
        HE("GetRFTrackLanguageCode", "Wrong media track type.")}},
  };
  for (const auto& [request, journal] : kCases) {
    SCOPED_TRACE(request);
    const Outcome outcome = Run(request, kTuner);
    EXPECT_EQ(outcome.reply, BadParameter());
    EXPECT_THAT(outcome.journal, ElementsAreArray(journal));
  }
}

TEST_F(Tuner, TheFirstChannelCommandObtainsTheInstance) {
  const std::string tune =
      R"({"command": "TuneRFChannel", "ptc": null, "major": 5, "minor": 1.9,
          "programNum": -3, "transportStreamID": "x"})";
  const Lines tuning = {
      H("TuneRFChannel", "[TuneRFChannel] major: 5, minor: 1, progNum: -3, tsid: 0"),
      "tuner TuneRFChannel(5, 1, -3, 0)"};
  const Lines setting = {H("SetChannelType", "[SetChannelType] channelType : 1"),
                         "tuner SetChType(1)"};
  const Lines already = {H("InitRFManager", "RFManager is already initialized.")};
  Open();
  EXPECT_EQ(Run(R"({"command": "GetRFManagerVersion"})", kTuner).reply, Ok(R"("1.50")"));
  const Outcome first = Run(tune, kTuner);
  EXPECT_EQ(first.reply, Ok("true"));
  EXPECT_THAT(first.journal, ElementsAreArray(kObtaining + tuning));

  tuner_.failing = {"TuneRFChannel", "SetChType"};
  const Outcome refused = Run(tune, kTuner);
  EXPECT_EQ(refused.reply, Ok("false"));
  EXPECT_THAT(
      refused.journal,
      ElementsAreArray(already + tuning +
                       Lines{HE("TuneRFChannel", "TuneRFChannel(5, 1, -3, 0) returned false.")}));
  const Outcome set = Run(kSetType, kTuner);
  EXPECT_EQ(set.reply, Ok("true"));  // whatever the tuner did
  EXPECT_THAT(set.journal, ElementsAreArray(already + setting));
}

TEST_F(Tuner, MissingKeysAreSeenAfterTheInstanceWasObtained) {
  Open();
  const Outcome first = Run(R"({"command": "SetChannelType"})", kTuner);
  EXPECT_EQ(first.reply, BadParameter());
  EXPECT_THAT(first.journal, ElementsAreArray(kObtaining));
  const Json whole = {
      {"ptc", 1}, {"major", 1}, {"minor", 1}, {"programNum", 1}, {"transportStreamID", 1}};
  for (const auto& [key, value] : whole.items()) {
    Json request = whole;
    request.erase(key);
    request["command"] = "TuneRFChannel";
    const Outcome outcome = Run(request.dump(), kTuner);
    EXPECT_EQ(outcome.reply, BadParameter()) << key;
    EXPECT_THAT(outcome.journal,
                ElementsAre(H("InitRFManager", "RFManager is already initialized.")));
  }
}

TEST_F(Tuner, AFailedAttemptIsRepeated) {
  tuner_.gives_instance = false;
  tuner_.has_application_id = false;
  services_->answer = [](PP_Instance, const std::string&, PP_Var*) { return -2; };
  Open();
  const Lines failing = {"tuner GetKelvoAppIDByPID(parent, zeros, 255)",
                         R"(tuner GetInstance("", false, null))",
                         HE("InitRFManager", "Getting RFManager instance failed.")};
  for (const char* request :
       {kSetType, R"({"command": "TuneRFChannel"})", R"({"command": "SetChannelType"})"}) {
    const Outcome outcome = Run(request, "open module");
    EXPECT_EQ(outcome.reply, NoTuner()) << request;
    EXPECT_THAT(outcome.journal, ElementsAreArray(failing)) << request;
  }
  EXPECT_EQ(Run(R"({"command": "GetRFSubtitleMode"})", "open module").reply, NoTuner());
  // Without a window of its own the application's is unknown to the tuner too.
  tuner_.gives_instance = true;
  EXPECT_THAT(Run(kSetType, "open module").journal,
              testing::Contains("tuner SetSubtitleWindowSubsurface(4294967295)"));
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
