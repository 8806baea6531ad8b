#include <map>

#include "contract.h"

namespace lumivex::test {

namespace {

using host::Json;

Report Error(int type) {
  const std::string number = std::to_string(type);
  return {Json({{"event", "PLAYBACK_ERROR_EVENT"}, {"type", type}, {"extra", 0}}).dump(),
          Script("A:OnMessage Error event " + number +
                 " occured. | l:OnError [CZunoPlayerEventListener][OnError] type: [" + number +
                 "], extra: [0] | H:OnError [OnError] PLAYBACK_ERROR_EVENT >> eventType: " +
                 number + ", extra: 0")};
}

Report Info(int type, int param1 = 0, int param2 = 0) {
  const std::string numbers[] = {std::to_string(type), std::to_string(param1),
                                 std::to_string(param2)};
  return {Json({{"event", "PLAYBACK_INFO_EVENT"},
                {"type", type},
                {"param1", param1},
                {"param2", param2}})
              .dump(),
          Script("l:OnInfo [CZunoPlayerEventListener][OnInfo] type: [" + numbers[0] +
                 "], param1: [" + numbers[1] + "], param2: [" + numbers[2] +
                 "] | h:OnInfo [OnInfo] PLAYBACK_INFO_EVENT >> eventType: " + numbers[0] +
                 ", param1: " + numbers[1] + ", param2: " + numbers[2])};
}

Json PageText(const std::string& text) {
  return IsUtf8(UpToNul(text)) ? Json(UpToNul(text)) : Json();
}

Report Resolution(const Circumstances& now) {
  int numbers[] = {-1, -1};
  Lines lines;
  for (const bool is_width : {true, false}) {
    const Answer answer = now.answer("player 15");
    const std::string in = is_width ? "GetVideoWidth" : "GetVideoHeight";
    const Lines asked =
        Script("a " + in + "() starts. | player 15(*-1, *-1) | " +
                   (answer.success ? "a finishes." : "A GetResolution() returned false."),
               in);
    lines.insert(lines.end(), asked.begin(), asked.end());
    numbers[is_width ? 0 : 1] = !answer.success || !answer.fills ? -1
                                : is_width                       ? answer.width
                                                                 : answer.height;
  }
  Report report = Info(8, numbers[0], numbers[1]);
  report.journal.insert(report.journal.begin(), lines.begin(), lines.end());
  return report;
}

Report Buffering(const Record* record, Circumstances* now) {
  if (!now->is_buffering) {
    now->is_buffering = true;
    return Info(1);
  }
  if (record == nullptr) {
    return {};
  }
  if (record->percent == 100) {
    now->is_buffering = false;
    return Info(2);
  }
  const std::uint32_t last = now->last_percent;
  if (record->percent - record->percent % 10 == last - last % 10) {
    return {};
  }
  now->last_percent = record->percent;
  Report report = Info(3, static_cast<int>(record->percent));
  report.journal.insert(report.journal.begin(),
                        "a:OnMessage [INFO_BUFFERING_PROGRESS] Previous[" + std::to_string(last) +
                            "] vs. Current[" + std::to_string(record->percent) + "] Progress...");
  return report;
}

Report Message(int id, const Record* record, Circumstances* now) {
  static const std::map<int, int> kErrors = {{186, 1}, {134, 2}, {182, 4}, {183, 5}, {184, 6},
                                             {187, 7}, {68, 8},  {37, 0},  {0, 0},   {64, 0},
                                             {65, 0},  {66, 0},  {67, 0},  {98, 0}};
  static const std::map<int, int> kPlain = {{32, 0}, {35, 7}, {96, 4}, {97, 5}};
  if (const auto error = kErrors.find(id); error != kErrors.end()) {
    return Error(error->second);
  }
  if (const auto plain = kPlain.find(id); plain != kPlain.end()) {
    return Info(plain->second);
  }
  if (id == 131 || id == 185) {
    return id == 131 ? Buffering(record, now) : Resolution(*now);
  }
  if (record != nullptr && id == 177) {
    return Info(9, record->value);
  }
  if (record != nullptr && id == 132 && record->data) {
    return {
        Json({{"event", "PLAYBACK_TIMEDTEXT_EVENT"}, {"text", PageText(*record->data)}}).dump(),
        {"l:OnTimedText [CZunoPlayerEventListener][OnTimedText] pText: " + UpToNul(*record->data)}};
  }
  if (record != nullptr && id == 181 && record->value >= 0 &&
      (record->data || record->value == 0)) {
    const std::string data =
        record->data.value_or("").substr(0, static_cast<std::size_t>(record->value));
    return {
        Json({{"event", "PLAYBACK_DRMINFO_EVENT"}, {"type", 0}, {"data", PageText(data)}}).dump(),
        {"l:OnDRMInfo [CZunoPlayerEventListener][OnDRMInfo] type: [0], pData: [" + UpToNul(data) +
         "]"}};
  }
  return {};
}

}  // namespace

Report ExpectMessage(int id, const Record* record, Circumstances* now) {
  Report report = Message(id, record, now);
  report.journal.insert(report.journal.begin(),
                        "a:OnMessage [OnMessage] id: [" + std::to_string(id) + "]");
  return report;
}

Report ExpectPosition(unsigned long position) {
  return Info(6, static_cast<int>(position));
}

Report ExpectTunerEvent(unsigned int type, int param1, const std::string& param2) {
  const Lines lines =
      Script("t:OnEvent [CLumivexEventListener][OnEvent] contentType: [" +
             std::to_string(static_cast<int>(type)) + "], param1: [" + std::to_string(param1) +
             "], param2: [" + UpToNul(param2) +
             "] | t:OnEvent [CLumivexEventListener][OnEvent][OnRFInfo] Event TUNE_SUCCESS");
  if (type != 0) {
    return {std::nullopt, {lines[0]}};
  }
  return {R"({"event":"RF_INFO_EVENT","eventType":0})", lines};
}

}  // namespace lumivex::test
