#include "requests.h"

#include <fstream>
#include <map>
#include <regex>

namespace lumivex::bench {

namespace {

using host::Json;

constexpr char kPlayer[] = "lumivexplayer";
constexpr char kTuner[] = "lumivexrfmanager";

Request Make(const char* module, const char* command, const Json& arguments = Json::object()) {
  Json message = {{"moduleName", module}, {"command", command}};
  message.update(arguments);
  return {command, std::move(message)};
}

}  // namespace

const std::vector<Request>& Requests() {
  static const std::vector<Request> requests = {
      Make(kPlayer, "HasPlayerPrivilege"),
      Make(kPlayer, "GetPlayerVersion"),
      Make(kPlayer, "SetDataSource", {{"url", "http://media.example/film.mp4"}, {"timeOffset", 5}}),
      Make(kPlayer, "Start"),
      Make(kPlayer, "Stop"),
      Make(kPlayer, "Pause"),
      Make(kPlayer, "Resume"),
      Make(kPlayer, "SeekTo", {{"msec", 90000}}),
      Make(kPlayer, "SetPlaybackSpeed", {{"speed", 1.5}}),
      Make(kPlayer, "GetPlaybackSpeed"),
      Make(kPlayer, "GetCurrentPosition"),
      Make(kPlayer, "GetDuration"),
      Make(kPlayer, "GetVideoWidth"),
      Make(kPlayer, "GetVideoHeight"),
      Make(kPlayer, "SetDisplayArea",
           {{"x", 0}, {"y", 0}, {"width", 960}, {"height", 600}, {"scalingMode", 0}}),
      Make(kPlayer, "GetNumOfTracks", {{"trackType", 2}}),
      Make(kPlayer, "GetSelectedTrack", {{"trackType", 2}}),
      Make(kPlayer, "SelectTrack", {{"trackType", 2}, {"index", 1}}),
      Make(kPlayer, "GetTrackLanguageCode", {{"trackType", 2}, {"index", 0}}),
      Make(kPlayer, "SetTimedTextSource", {{"URI", "http://media.example/film.srt"}}),
      Make(kPlayer, "SetDRMProperty",
           {{"type", 2}, {"propertyData", "http://licence.example/acquire"}}),
      Make(kPlayer, "GetAvailableBitrates"),
      Make(kTuner, "HasRFManagerPrivilege"),
      Make(kTuner, "GetRFManagerVersion"),
      Make(kTuner, "SetChannelType", {{"channelType", 0}}),
      Make(kTuner, "TuneRFChannel",
           {{"ptc", 0}, {"major", 5}, {"minor", 1}, {"programNum", 1}, {"transportStreamID", 1}}),
      Make(kTuner, "GetNumOfRFTracks", {{"trackType", 2}}),
      Make(kTuner, "GetSelectedRFTrack", {{"trackType", 2}}),
      Make(kTuner, "SelectRFTrack", {{"trackType", 4}, {"index", 0}}),
      Make(kTuner, "GetRFTrackLanguageCode", {{"trackType", 2}, {"index", 0}}),
      Make(kTuner, "GetRFSubtitleMode"),
      Make(kTuner, "SetRFSubtitleMode", {{"subtitleMode", 1}}),
      Make(kTuner, "GetRFSubtitleStatus"),
      Make(kTuner, "SetRFSubtitleStatus", {{"showStatus", true}}),
  };
  return requests;
}

const Json& UnknownRequest() {
  static const Json message = Make(kPlayer, "GetPlayerColour").message;
  return message;
}

std::string CompareWithReference() {
  constexpr char kReference[] = LUMIVEX_PROJECT_FOLDER "/docs/page-api.md";
  std::map<std::string, int> counts;  // 1 here, 2 there, 3 in both
  for (const Request& request : Requests()) {
    counts[request.command] |= 1;
  }
  std::ifstream file(kReference);
  // A command's row begins with its name.
  const std::regex row("\\| `([A-Z][A-Za-z]+)` \\|.*");
  std::smatch match;
  for (std::string line; std::getline(file, line);) {
    if (std::regex_match(line, match, row)) {
      counts[match[1]] |= 2;
    }
  }
  std::string differences;
  for (const auto& [command, where] : counts) {
    if (where != 3) {
      differences += command + (where == 1 ? " is not in " : " is only in ") + kReference + "\n";
    }
  }
  return differences;
}

}  // namespace lumivex::bench
