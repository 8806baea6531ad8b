#include <utility>

#include "contract.h"

namespace lumivex::test {

namespace {

// A command of the player that it takes or refuses; the adapter's operation has the same name.
Command Operation(const std::string& request,
                  const std::string& before,
                  const std::string& arguments,
                  const std::string& call,
                  const std::string& failure,
                  const std::string& refused = "") {
  const std::string name = host::Json::parse(request).at("command").get<std::string>();
  return {kPlayer, request,
          before + "a " + name + arguments + " starts. | player " + call + " | -A " + failure +
              " | a finishes. | -H " + (refused.empty() ? name + arguments : refused) +
              " returned false.",
          "true", "false"};
}

// One that asks for a number, -1 when it is refused; shown is the handler's line up to it.
Command Query(const std::string& request,
              const std::string& arguments,
              const std::string& call,
              const std::string& failure,
              const std::string& shown,
              const std::string& value = "{}") {
  const std::string name = host::Json::parse(request).at("command").get<std::string>();
  const auto line = [&shown](const char* before, const std::string& number) {
    return shown.empty() ? "" : before + shown + number + ".";
  };
  return {kPlayer, request,
          "a " + name + arguments + " starts. | player " + call + " | -A " + failure +
              " returned false." + line(" | -h ", "-1") + " | stop? | a finishes." +
              line(" | h ", value),
          value, "-1"};
}

// One of the tuner that goes by the type of a track.
Command OfTracks(const std::string& request,
                 int type,
                 const std::string& before,
                 const std::string& journal,
                 const std::string& value = "true",
                 const std::string& refused = "false") {
  return {kTuner,
          request,
          "tuner? | " + before + (before.empty() ? "" : " | ") + journal,
          value,
          refused,
          type == 0 ? "" : "trackType=" + std::to_string(type) + ".." + std::to_string(type)};
}

}  // namespace

Command::Command(const char* module,
                 const std::string& request,
                 const std::string& journal,
                 std::string reply,
                 std::string refusal,
                 std::string when)
    : message(host::Json::parse(request)),
      name(message.at("command").get<std::string>()),
      script(Script(journal, name)),
      value(std::move(reply)),
      refused(std::move(refusal)),
      condition(std::move(when)) {
  message["moduleName"] = module;
}

std::string Line(const std::string& text, const std::string& function) {
  const std::size_t letter = text[0] == '-' || text[0] == '+' ? 1 : 0;
  return text.size() > letter + 1 && text[letter + 1] == ' '
             ? text.substr(0, letter + 1) + ":" + function + text.substr(letter + 1)
             : text;
}

Lines Script(const std::string& text, const std::string& function) {
  constexpr char kBetween[] = " | ";
  Lines lines;
  for (std::size_t at = 0, end = 0; end != std::string::npos && !text.empty();
       at = end + sizeof kBetween - 1) {
    end = text.find(kBetween, at);
    lines.push_back(Line(text.substr(at, end - at), function));
  }
  return lines;
}

// clang-format off
const char* const kObtainingTuner =
    "tuner GetKelvoAppIDByPID(parent, zeros, 255) | tuner GetInstance({application}, false, false) | "
    "-H:InitRFManager Getting RFManager instance failed. | stop? | "
    "t:CLumivexEventListener [CLumivexEventListener] constructor | "
    "tuner RegisterRFEventHandler(true) | tuner SetSubtitleWindowSubsurface({window:u}) | "
    "tuner ShowSubtitleWindow() | h:InitRFManager RFManager is initialized";
// clang-format on

const std::vector<Command>& Commands() {
  constexpr char kNumTracks[] = R"({"command": "GetNumOfRFTracks", "trackType": 2})";
  constexpr char kSelected[] = R"({"command": "GetSelectedRFTrack", "trackType": 2})";
  constexpr char kSelect[] = R"({"command": "SelectRFTrack", "trackType": 2, "index": -1})";
  constexpr char kLanguage[] =
      R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 5})";
  // The same rows with a subtitle's and with no track's type.
  const auto with = [](std::string request, const char* type) {
    return request.replace(request.find('2'), 1, type);
  };
  const std::string selected = "h [GetSelectedRFTrack] trackType: {trackType} ";
  const std::string select = "h [SelectRFTrack] trackType: {trackType}, index: {index}";
  const std::string language = "h [GetRFTrackLanguageCode] trackType: {trackType}, index: {index}";
  const std::string wrong = "H Wrong media track type.";
  static const std::vector<Command> commands = {
      {kPlayer, R"({"command": "HasPlayerPrivilege"})", "", "{player:b}"},
      {kTuner, R"({"command": "HasRFManagerPrivilege"})", "", "{tuner:b}"},
      {kPlayer, R"({"command": "GetPlayerVersion"})", "", R"("1.50")"},
      {kTuner, R"({"command": "GetRFManagerVersion"})", "", R"("1.50")"},
      {kPlayer, R"({"command": "GetPlaybackSpeed"})",
       "a GetPlaybackSpeed() starts. | player? | h [GetPlaybackSpeed] {last:f}", "double {last}"},
      Operation(R"({"command": "Start"})", "", "()", "10(0)", "Play() returned false."),
      Operation(R"({"command": "Stop"})", "", "()", "11()", "Stop() returned false."),
      Operation(R"({"command": "Pause"})", "", "()", "17()", "Pause() returned false."),
      Operation(R"({"command": "Resume"})", "", "()", "18()", "Resume() returned false."),
      Operation(R"({"command": "SetDataSource", "url": "http://a/b.mp4", "timeOffset": 1500})",
                "h [SetDataSource] url: {url:s}, timeOffset: {timeOffset:u} | ",
                "({url:s}, {timeOffset:u})", "6({url:q}, {timeOffset:u})",
                "InitPlayer() returned false.",
                "[SetDataSource] SetDataSource({url:s}, {timeOffset:u})"),
      Operation(R"({"command": "SeekTo", "msec": -900})", "h msec: {msec} | ", "({msec})",
                "20({msec})", "Seek() returned false."),
      Operation(R"({"command": "SetPlaybackSpeed", "speed": -0.5})",
                "h [SetPlaybackSpeed] SetPlaybackSpeed: {speed:f} | ", "({speed:f})",
                "25({speed:f})", "SetPlaySpeed returned false."),
      {kPlayer,
       R"({"command": "SetDisplayArea", "x": 0, "y": 0, "width": 9, "height": 9,
           "scalingMode": 0})",
       "h [SetDisplayArea] SetDisplayArea({x:u}, {y:u}, {width:u}, {height:u}) starts | "
       "a:GetVideoWidth GetVideoWidth() starts. | player 15(*-1, *-1) | "
       "-A:GetVideoWidth GetResolution() returned false. | +a:GetVideoWidth finishes. | "
       "a:GetVideoHeight GetVideoHeight() starts. | player 15(*-1, *-1) | "
       "-A:GetVideoHeight GetResolution() returned false. | +a:GetVideoHeight finishes. | stop? | "
       "h [SetDisplayArea] After adjusting for ScalingMode - ({fit:u}). | "
       "a SetDisplayArea({fit:u}, 1) starts. | player 75(0, display_area: {fit:i} (16)) | "
       "-A SetAttribute() returned false. | a finishes. | -H SetDisplayArea() returned false.",
       "true", "false", "scalingMode=0..0"},
      Operation(R"({"command": "SetDisplayArea", "x": -1, "y": 2, "width": 640, "height": 360})",
                "h [SetDisplayArea] SetDisplayArea({x:u}, {y:u}, {width:u}, {height:u}) starts | ",
                "({x:u}, {y:u}, {width:u}, {height:u}, 1)",
                "75(0, display_area: {x} {y} {width} {height} (16))",
                "SetAttribute() returned false.", "SetDisplayArea()"),
      Operation(R"({"command": "SelectTrack", "trackType": 1, "index": -4})",
                "h SelectTrack({trackType}, {index}) | ", "({trackType}, {index})",
                "77({trackType:t}, {index})", "SetStreamID() returned false."),
      Operation(R"({"command": "SetTimedTextSource", "URI": "a\u0000b"})",
                "h [SetTimedTextSource] filePath: [{URI:s}] | ", "({URI:s})", "46({URI:q}, 0)",
                "StartSubtitle() returned false."),
      {kPlayer, R"({"command": "SetDRMProperty", "type": 3, "propertyData": "a\u0000b"})",
       "a SetDRMProperty({type}, {propertyData:s}) starts. | "
       "player 14({type:p}, {propertyData:Q}, 0) | -A SetDrmInfo() returns fail. | +a finishes. | "
       "-H SetDRMProperty({type}, {propertyData:s}) returned false.",
       "true", "false", "type=0..3"},
      {kPlayer, R"({"command": "SetDRMProperty", "type": 4, "propertyData": ""})",
       "a SetDRMProperty({type}, {propertyData:s}) starts. | player? | "
       "A No matching property type. Returns false. | "
       "H SetDRMProperty({type}, {propertyData:s}) returned false.",
       "false"},
      {kPlayer, R"({"command": "GetTrackLanguageCode", "trackType": 4, "index": 6})",
       "h [GetTrackLanguageCode] trackType: {trackType}, index: {index} | "
       "a GetTrackLanguageCode({trackType}, {index}) starts. | "
       "player 36({trackType:t}, {index}, *\"\", *\"\") | "
       "-A GetStreamLanguageCode() returned false. | a finishes. | "
       "-H GetTrackLanguageCode({trackType}, {index}) returned false. | stop? | "
       "h [GetTrackLanguageCode][Success] language: {:s}, string length: {:n}",
       "{:q}", R"("FAILED")"},
      {kPlayer, R"({"command": "GetAvailableBitrates"})",
       "player 30(*0 bitrates) | -A GetAvailableBitrates() returned false. | "
       "-H GetAvailableBitrates() returned false. | stop? | h The bitrates[{#}] is {bitrate}",
       R"("{bitrates}")", R"("")"},
      Query(R"({"command": "GetCurrentPosition"})", "()", "27(*0)", "GetCurrentPosition()",
            "GetCurrentPosition returned "),
      Query(R"({"command": "GetDuration"})", "()", "28(*0)", "GetDuration()",
            "GetDuration() returned "),
      Query(R"({"command": "GetVideoWidth"})", "()", "15(*-1, *-1)", "GetResolution()",
            "GetVideoWidth() returned ", "{:w}"),
      Query(R"({"command": "GetVideoHeight"})", "()", "15(*-1, *-1)", "GetResolution()",
            "GetVideoHeight() returned ", "{:h}"),
      Query(R"({"command": "GetNumOfTracks", "trackType": 2})", "({trackType})",
            "32({trackType:t}, *0)", "GetTotalNumOfStreamID()", ""),
      Query(R"({"command": "GetSelectedTrack", "trackType": 3})", "({trackType})",
            "33({trackType:t}, *0)", "GetCurrentStreamID()",
            "GetSelectedTrack({trackType}) returned "),
      {kTuner, R"({"command": "SetChannelType", "channelType": 1})",
       "tuner | h [SetChannelType] channelType : {channelType} | tuner SetChType({channelType})",
       "true"},  // whatever the tuner did
      {kTuner,
       R"({"command": "TuneRFChannel", "ptc": null, "major": 5, "minor": 1.9, "programNum": -3,
           "transportStreamID": "x"})",
       "tuner | h [TuneRFChannel] major: {major}, minor: {minor}, progNum: {programNum}, "
       "tsid: {transportStreamID} | "
       "tuner TuneRFChannel({major}, {minor}, {programNum}, {transportStreamID}) | "
       "-H TuneRFChannel({major}, {minor}, {programNum}, {transportStreamID}) returned false.",
       "true", "false"},
      OfTracks(kNumTracks, 2, "",
               "h [GetNumOfRFTracks][Audio] GetNumOfMultiAudio() | tuner GetNumOfMultiAudio(*0) | "
               "-H GetNumOfMultiAudio() returned false. | stop? | "
               "h [GetNumOfRFTracks] totalNumber: {:u}",
               "{}", "-1"),
      OfTracks(with(kNumTracks, "4"), 4, "",
               "h [GetNumOfRFTracks][Subtitle] GetNumOfSubtitle() | tuner GetNumOfSubtitle(*0) | "
               "-H GetNumOfSubtitle() returned false. | stop? | "
               "h [GetNumOfRFTracks] totalNumber: {:u}",
               "{}", "-1"),
      OfTracks(with(kNumTracks, "\"2\""), 0, "", "H Wrong media type.", "bad"),
      OfTracks(kSelected, 2, selected,
               "h [GetSelectedRFTrack] GetCurrentAudioInfo() | tuner GetCurrentAudioIndex(*-1) | "
               "-H GetCurrentAudioIndex() returned false. | stop? | "
               "h [GetSelectedRFTrack] index: {}",
               "{}", "-1"),
      OfTracks(with(kSelected, "4"), 4, selected,
               "h [GetSelectedRFTrack] | tuner GetCurrentSubtitleIndex(*-1) | "
               "-H GetCurrentSubtitleIndex() returned false. | stop? | "
               "h [GetSelectedRFTrack] index: {}",
               "{}", "-1"),
      OfTracks(with(kSelected, "3"), 0, selected, wrong, "bad"),
      OfTracks(kSelect, 2, select,
               "h [SelectRFTrack] ChangeAudioByIndex() | tuner ChangeAudioByIndex({index:u})"),
      OfTracks(with(kSelect, "4.9"), 4, select,
               "h [SelectRFTrack] ChangeSubtitleByIndex() | tuner ChangeSubtitleByIndex({index})"),
      OfTracks(with(kSelect, "0"), 0, select, wrong, "bad"),
      OfTracks(kLanguage, 2, language,
               "h [GetRFTrackLanguageCode] GetMultiAudioLanguageByIndex() | "
               "tuner GetMultiAudioLanguageByIndex({index:u}, *\"\") | "
               "-H GetMultiAudioLanguageByIndex() retunred false. | stop? | "
               "h [GetRFTrackLanguageCode] languageCode : {:s}",
               "{:Q}", R"("FAILED")"),
      OfTracks(with(kLanguage, "4"), 4, language,
               "h [GetRFTrackLanguageCode] GetSubtitleLanguageByIndex() | "
               "tuner GetSubtitleLanguageByIndex({index:u}, *\"\") | "
               "-H GetSubtitleLanguageByIndex() retunred false. | stop? | "
               "h [GetRFTrackLanguageCode] languageCode : {:s}",
               "{:Q}", R"("FAILED")"),
      OfTracks(with(kLanguage, "-2"), 0, language, wrong, "bad"),
      {kTuner, R"({"command": "GetRFSubtitleMode"})",
       "tuner? | tuner GetSubtitleMode(*0) | -H GetSubtitleMode() returned false. | stop? | "
       "h [GetRFSubtitleMode] subtitle mode: {}",
       "{}", "-1"},
      {kTuner, R"({"command": "SetRFSubtitleMode", "subtitleMode": -70})",
       "tuner? | tuner SetSubtitleMode({subtitleMode}) | "
       "-H SetSubtitleMode({subtitleMode}) returned false.",
       "true", "false"},
      {kTuner, R"({"command": "GetRFSubtitleStatus"})",
       "tuner? | tuner GetSubtitleStatus(*false) | -H GetSubtitleStatus() returned false. | stop? "
       "| "
       "h [GetRFSubtitleStatus] subtitle status: {:d}, result: 1",
       "{:b}", "-1"},
      {kTuner, R"({"command": "SetRFSubtitleStatus", "showStatus": true})",
       "tuner? | tuner SetSubtitleStatus({showStatus:b}) | "
       "-H ShowSubtitle({showStatus:d}) returned false.",
       "true", "false"},
  };
  return commands;
}

}  // namespace lumivex::test
