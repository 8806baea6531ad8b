#include "commands.h"

#include <cctype>

namespace lumivex::test {

const char* ModuleOf(const std::string& request) {
  return request.find("RF") < std::string::npos || request.find("ChannelType") < std::string::npos
             ? kTuner
             : kPlayer;
}

std::string Command::call() const {
  for (const std::string& line : Journal(true)) {
    if (!CallOf(line).empty() && CallOf(line) != "log") {
      return CallOf(line);
    }
  }
  return "";
}

std::string CallOf(const std::string& line) {
  if (std::isdigit(static_cast<unsigned char>(line[0])) != 0) {
    return "log";
  }
  const std::size_t space = line.find(' ');
  const std::string first = line.substr(0, space);
  if (first == "bridge") {
    return line;
  }
  if (first == "player" || first == "tuner") {
    return line.substr(0, line.find_first_of(" (", space + 1));
  }
  return first == "post" ? "" : first;
}

namespace {

// A command of the player that it takes or refuses; the adapter's operation has the same name.
Command Operation(const std::string& request,
                  const std::string& before,
                  const std::string& arguments,
                  const std::string& call,
                  const std::string& failure,
                  std::string refused = "") {
  const std::string name = Json::parse(request).at("command");
  refused = refused.empty() ? name + arguments : refused;
  return {request,
          before + "a " + name + arguments + " starts. | player " + call + " | -A " + failure +
              " | a finishes. | -H " + refused + " returned false.",
          "true", "false"};
}

// One that asks for a number, -1 when it is refused; shown is the handler's line up to it.
Command Query(const std::string& request,
              const std::string& arguments,
              const std::string& call,
              const std::string& failure,
              const std::string& shown,
              const std::string& value = "4711") {
  const std::string name = Json::parse(request).at("command");
  const auto line = [&shown](const char* before, const std::string& number) {
    return shown.empty() ? "" : before + shown + number + ".";
  };
  return {request,
          "a " + name + arguments + " starts. | player " + call + " | -A " + failure +
              " returned false." + line(" | -h ", "-1") + " | +a finishes." + line(" | +h ", value),
          value, "-1"};
}

}  // namespace

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {R"({"command": "HasPlayerPrivilege"})", "", "true"},
      {R"({"command": "HasRFManagerPrivilege"})", "", "true"},
      {R"({"command": "GetPlayerVersion"})", "", R"("1.50")"},
      {R"({"command": "GetRFManagerVersion"})", "", R"("1.50")"},
      {R"({"command": "GetPlaybackSpeed"})",
       "a GetPlaybackSpeed() starts. | h [GetPlaybackSpeed] 0.000000", "double 0"},
      Operation(R"({"command": "Start"})", "", "()", "10(0)", "Play() returned false."),
      Operation(R"({"command": "Stop"})", "", "()", "11()", "Stop() returned false."),
      Operation(R"({"command": "Pause"})", "", "()", "17()", "Pause() returned false."),
      Operation(R"({"command": "Resume"})", "", "()", "18()", "Resume() returned false."),
      Operation(R"({"command": "SetDataSource", "url": "http://a/b.mp4", "timeOffset": 1500})",
                "h [SetDataSource] url: http://a/b.mp4, timeOffset: 1500 | ",
                "(http://a/b.mp4, 1500)", R"(6("http://a/b.mp4", 1500))",
                "InitPlayer() returned false.",
                "[SetDataSource] SetDataSource(http://a/b.mp4, 1500)"),
      Operation(R"({"command": "SetDataSource", "url": "/b.mp4", "timeOffset": -1})",
                "h [SetDataSource] url: /b.mp4, timeOffset: 4294967295 | ", "(/b.mp4, 4294967295)",
                R"(6("/b.mp4", 4294967295))", "InitPlayer() returned false.",
                "[SetDataSource] SetDataSource(/b.mp4, 4294967295)"),
      Operation(R"({"command": "SeekTo", "msec": -900})", "h msec: -900 | ", "(-900)", "20(-900)",
                "Seek() returned false."),
      Operation(R"({"command": "SetPlaybackSpeed", "speed": -0.5})",
                "h [SetPlaybackSpeed] SetPlaybackSpeed: -0.500000 | ", "(-0.500000)",
                "25(-0.500000)", "SetPlaySpeed returned false."),
      Operation(R"({"command": "SetDisplayArea", "x": -1, "y": 2, "width": 640, "height": 360})",
                "h [SetDisplayArea] SetDisplayArea(4294967295, 2, 640, 360) starts | ",
                "(4294967295, 2, 640, 360, 1)", "75(0, display_area: -1 2 640 360 (16))",
                "SetAttribute() returned false.", "SetDisplayArea()"),
      {R"({"command": "SetDisplayArea", "x": 0, "y": 0, "width": 9, "height": 9,
           "scalingMode": 0})",
       "h [SetDisplayArea] SetDisplayArea(0, 0, 9, 9) starts | "
       "a:GetVideoWidth GetVideoWidth() starts. | player 15(*-1, *-1) | "
       "-A:GetVideoWidth GetResolution() returned false. | +a:GetVideoWidth finishes. | "
       "a:GetVideoHeight GetVideoHeight() starts. | player 15(*-1, *-1) | "
       "-A:GetVideoHeight GetResolution() returned false. | +a:GetVideoHeight finishes. | "
       "+h [SetDisplayArea] After adjusting for ScalingMode - (0, 2, 9, 5). | "
       "+a SetDisplayArea(0, 2, 9, 5, 1) starts. | "
       "+player 75(0, display_area: 0 2 9 5 (16)) | +a finishes.",
       "true", "false"},
      Operation(R"({"command": "SelectTrack", "trackType": 1, "index": -4})",
                "h SelectTrack(1, -4) | ", "(1, -4)", "77(3, -4)", "SetStreamID() returned false."),
      Operation(R"({"command": "SetTimedTextSource", "URI": ""})",
                "h [SetTimedTextSource] filePath: [] | ", "()", R"(46("", 0))",
                "StartSubtitle() returned false."),
      {R"({"command": "SetDRMProperty", "type": 3, "propertyData": "a\u0000b"})",
       "a SetDRMProperty(3, a) starts. | "
       R"(player 14("PROPERTY_WMDRM_COOKIE", "a\x00b", 0) | )"
       "-A SetDrmInfo() returns fail. | +a finishes. | -H SetDRMProperty(3, a) returned false.",
       "true", "false"},
      {R"({"command": "GetTrackLanguageCode", "trackType": 4, "index": 6})",
       "h [GetTrackLanguageCode] trackType: 4, index: 6 | a GetTrackLanguageCode(4, 6) starts. | "
       "player 36(4, 6, *\"\", *\"\") | -A GetStreamLanguageCode() returned false. | "
       "a finishes. | -H GetTrackLanguageCode(4, 6) returned false. | "
       "+h [GetTrackLanguageCode][Success] language: eng, string length: 3",
       R"("eng")", R"("FAILED")"},
      {R"({"command": "GetAvailableBitrates"})",
       "player 30(*0 bitrates) | -A GetAvailableBitrates() returned false. | "
       "-H GetAvailableBitrates() returned false. | +h The bitrates[0] is 64 | "
       "+h The bitrates[1] is 128 | +h The bitrates[2] is 256",
       R"("64,128,256")", R"("")"},
      Query(R"({"command": "GetCurrentPosition"})", "()", "27(*0)", "GetCurrentPosition()",
            "GetCurrentPosition returned "),
      Query(R"({"command": "GetDuration"})", "()", "28(*0)", "GetDuration()",
            "GetDuration() returned "),
      Query(R"({"command": "GetVideoWidth"})", "()", "15(*-1, *-1)", "GetResolution()",
            "GetVideoWidth() returned ", "1280"),
      Query(R"({"command": "GetVideoHeight"})", "()", "15(*-1, *-1)", "GetResolution()",
            "GetVideoHeight() returned ", "720"),
      Query(R"({"command": "GetNumOfTracks", "trackType": 2})", "(2)", "32(1, *0)",
            "GetTotalNumOfStreamID()", ""),
      Query(R"({"command": "GetSelectedTrack", "trackType": 3})", "(3)", "33(5, *0)",
            "GetCurrentStreamID()", "GetSelectedTrack(3) returned "),
      {R"({"command": "SetChannelType", "channelType": 1})",
       "h:InitRFManager RFManager is already initialized. | "
       "h [SetChannelType] channelType : 1 | tuner SetChType(1)",
       "true"},  // whatever the tuner did
      {R"({"command": "TuneRFChannel", "ptc": null, "major": 5, "minor": 1.9, "programNum": -3,
           "transportStreamID": "x"})",
       "h:InitRFManager RFManager is already initialized. | "
       "h [TuneRFChannel] major: 5, minor: 1, progNum: -3, tsid: 0 | "
       "tuner TuneRFChannel(5, 1, -3, 0) | -H TuneRFChannel(5, 1, -3, 0) returned false.",
       "true", "false"},
      {R"({"command": "GetNumOfRFTracks", "trackType": 2})",
       "h [GetNumOfRFTracks][Audio] GetNumOfMultiAudio() | tuner GetNumOfMultiAudio(*0) | "
       "-H GetNumOfMultiAudio() returned false. | +h [GetNumOfRFTracks] totalNumber: 3",
       "3", "-1"},
      {R"({"command": "GetNumOfRFTracks", "trackType": 4.9})",
       "h [GetNumOfRFTracks][Subtitle] GetNumOfSubtitle() | tuner GetNumOfSubtitle(*0) | "
       "-H GetNumOfSubtitle() returned false. | +h [GetNumOfRFTracks] totalNumber: 3",
       "3", "-1"},
      {R"({"command": "GetSelectedRFTrack", "trackType": 2})",
       "h [GetSelectedRFTrack] trackType: 2  | h [GetSelectedRFTrack] GetCurrentAudioInfo() | "
       "tuner GetCurrentAudioIndex(*-1) | -H GetCurrentAudioIndex() returned false. | "
       "+h [GetSelectedRFTrack] index: 3",
       "3", "-1"},
      {R"({"command": "GetSelectedRFTrack", "trackType": 4})",
       "h [GetSelectedRFTrack] trackType: 4  | h [GetSelectedRFTrack] | "
       "tuner GetCurrentSubtitleIndex(*-1) | -H GetCurrentSubtitleIndex() returned false. | "
       "+h [GetSelectedRFTrack] index: 3",
       "3", "-1"},
      {R"({"command": "SelectRFTrack", "trackType": 2, "index": -1})",
       "h [SelectRFTrack] trackType: 2, index: -1 | h [SelectRFTrack] ChangeAudioByIndex() | "
       "tuner ChangeAudioByIndex(4294967295)",
       "true", "false"},
      {R"({"command": "SelectRFTrack", "trackType": 4, "index": -1})",
       "h [SelectRFTrack] trackType: 4, index: -1 | h [SelectRFTrack] ChangeSubtitleByIndex() | "
       "tuner ChangeSubtitleByIndex(-1)",
       "true", "false"},
      {R"({"command": "GetRFTrackLanguageCode", "trackType": 2, "index": 5})",
       "h [GetRFTrackLanguageCode] trackType: 2, index: 5 | "
       "h [GetRFTrackLanguageCode] GetMultiAudioLanguageByIndex() | "
       "tuner GetMultiAudioLanguageByIndex(5, *\"\") | "
       "-H GetMultiAudioLanguageByIndex() retunred false. | "
       "+h [GetRFTrackLanguageCode] languageCode : deu",
       R"("deu")", R"("FAILED")"},
      {R"({"command": "GetRFTrackLanguageCode", "trackType": 4, "index": -5})",
       "h [GetRFTrackLanguageCode] trackType: 4, index: -5 | "
       "h [GetRFTrackLanguageCode] GetSubtitleLanguageByIndex() | "
       "tuner GetSubtitleLanguageByIndex(4294967291, *\"\") | "
       "-H GetSubtitleLanguageByIndex() retunred false. | "
       "+h [GetRFTrackLanguageCode] languageCode : deu",
       R"("deu")", R"("FAILED")"},
      {R"({"command": "GetRFSubtitleMode"})",
       "tuner GetSubtitleMode() | -H GetSubtitleMode() returned false. | "
       "+h [GetRFSubtitleMode] subtitle mode: 3",
       "3", "-1"},
      {R"({"command": "SetRFSubtitleMode", "subtitleMode": -70})",
       "tuner SetSubtitleMode(-70) | -H SetSubtitleMode(-70) returned false.", "true", "false"},
      {R"({"command": "GetRFSubtitleStatus"})",
       "tuner GetSubtitleStatus() | -H GetSubtitleStatus() returned false. | "
       "+h [GetRFSubtitleStatus] subtitle status: 1, result: 1",
       "true", "-1"},
      {R"({"command": "SetRFSubtitleStatus", "showStatus": true})",
       "tuner SetSubtitleStatus(true) | -H ShowSubtitle(1) returned false.", "true", "false"},
      {R"({"command": "SetRFSubtitleStatus", "showStatus": 1})",  // only a bool is true
       "tuner SetSubtitleStatus(false) | -H ShowSubtitle(0) returned false.", "true", "false"},
  };
  return commands;
}

}  // namespace lumivex::test
