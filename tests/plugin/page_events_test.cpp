// What the player reports on its own: the library's message, the log lines on its way, the event
// that the page gets and the answer that the library gets.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

// Events, and the lines on their way, of the numbers in them.
std::string Error(const std::string& type) {
  return R"({"event":"PLAYBACK_ERROR_EVENT","type":)" + type + R"(,"extra":0})";
}
std::string ErrorLines(const std::string& type) {
  return "A:OnMessage Error event " + type +
         " occured. | l:OnError [CZunoPlayerEventListener][OnError] type: [" + type +
         "], extra: [0] | H:OnError [OnError] PLAYBACK_ERROR_EVENT >> eventType: " + type +
         ", extra: 0";
}
std::string Info(int type, int a, int b) {
  return R"({"event":"PLAYBACK_INFO_EVENT","type":)" + std::to_string(type) + R"(,"param1":)" +
         std::to_string(a) + R"(,"param2":)" + std::to_string(b) + "}";
}
std::string InfoLines(int type, int a, int b) {
  const std::string numbers[] = {std::to_string(type), std::to_string(a), std::to_string(b)};
  return "l:OnInfo [CZunoPlayerEventListener][OnInfo] type: [" + numbers[0] + "], param1: [" +
         numbers[1] + "], param2: [" + numbers[2] +
         "] | h:OnInfo [OnInfo] PLAYBACK_INFO_EVENT >> eventType: " + numbers[0] +
         ", param1: " + numbers[1] + ", param2: " + numbers[2];
}
std::string TextLine(const std::string& text) {
  return "l:OnTimedText [CZunoPlayerEventListener][OnTimedText] pText: " + text;
}
std::string DataLine(const std::string& data) {
  return "l:OnDRMInfo [CZunoPlayerEventListener][OnDRMInfo] type: [0], pData: [" + data + "]";
}

class PlayerEvents : public PluginTest {
 protected:
  // The one event that has come, as JSON text in the order of its keys; empty for none.
  std::string OneEvent() {
    const std::vector<Json> events = Events();
    EXPECT_LE(events.size(), 1U);
    return events.empty() ? "" : events[0].dump();
  }

  void Expect(int id, void* record, const std::string& event, const std::string& lines) {
    SCOPED_TRACE(id);
    EXPECT_EQ(player_.Message(id, record), event.empty() ? -1 : 1);
    EXPECT_EQ(OneEvent(), event);
    const std::string first = "a:OnMessage [OnMessage] id: [" + std::to_string(id) + "]";
    EXPECT_THAT(journal_.Take(),
                ElementsAreArray(Script(lines.empty() ? first : first + " | " + lines)));
  }
};

TEST_F(PlayerEvents, EveryMessageOfTheLibrary) {
  Open();
  MessageRecord cue("Hello", 0, 77);
  MessageRecord empty("", 0, 0);
  MessageRecord drm("x\0y", 0, 3);
  MessageRecord value(nullptr, 0, -9);
  MessageRecord no_text(nullptr, 5, 3);
  MessageRecord negative("abc", 0, -1);
  MessageRecord latin("\xe4", 0, 1);
  for (const auto& [id, type] : std::vector<std::pair<int, const char*>>{{186, "1"},
                                                                         {134, "2"},
                                                                         {182, "4"},
                                                                         {183, "5"},
                                                                         {184, "6"},
                                                                         {187, "7"},
                                                                         {68, "8"},
                                                                         {37, "0"},
                                                                         {0, "0"},
                                                                         {64, "0"},
                                                                         {65, "0"},
                                                                         {66, "0"},
                                                                         {67, "0"},
                                                                         {98, "0"}}) {
    Expect(id, id == 134 ? cue.get() : nullptr, Error(type), ErrorLines(type));
  }
  Expect(32, nullptr, Info(0, 0, 0), InfoLines(0, 0, 0));
  Expect(35, cue.get(), Info(7, 0, 0), InfoLines(7, 0, 0));
  Expect(96, nullptr, Info(4, 0, 0), InfoLines(4, 0, 0));
  Expect(97, nullptr, Info(5, 0, 0), InfoLines(5, 0, 0));
  Expect(132, cue.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":"Hello"})",
         TextLine("Hello"));
  Expect(132, empty.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":""})", TextLine(""));
  Expect(132, latin.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":null})", TextLine("\xe4"));
  Expect(177, value.get(), Info(9, -9, 0), InfoLines(9, -9, 0));
  Expect(181, drm.get(), R"({"event":"PLAYBACK_DRMINFO_EVENT","type":0,"data":"x"})",
         DataLine("x"));
  Expect(181, empty.get(), R"({"event":"PLAYBACK_DRMINFO_EVENT","type":0,"data":""})",
         DataLine(""));
  Expect(185, nullptr, Info(8, 1280, 720),
         "a:GetVideoWidth GetVideoWidth() starts. | player 15(*-1, *-1) | "
         "a:GetVideoWidth finishes. | a:GetVideoHeight GetVideoHeight() starts. | "
         "player 15(*-1, *-1) | a:GetVideoHeight finishes. | " +
             InfoLines(8, 1280, 720));
  for (const auto& [id, record] : std::vector<std::pair<int, void*>>{{132, no_text.get()},
                                                                     {132, nullptr},
                                                                     {177, nullptr},
                                                                     {181, no_text.get()},
                                                                     {181, value.get()},
                                                                     {181, negative.get()},
                                                                     {181, nullptr},
                                                                     {999, cue.get()},
                                                                     {33, nullptr},
                                                                     {133, nullptr},
                                                                     {-1, nullptr}}) {
    Expect(id, record, "", "");
  }
  player_.failing = {15};
  EXPECT_EQ(player_.Message(185), 1);
  EXPECT_EQ(OneEvent(), Info(8, -1, -1));
}

TEST_F(PlayerEvents, PositionsInSilenceOfTheAdapter) {
  Open();
  const std::pair<unsigned long, int> kPositions[] = {
      {700, 700}, {0, 0}, {2147483648UL, INT32_MIN}, {~0UL, -1}};
  for (const auto& [position, shown] : kPositions) {
    player_.Position(position);
    EXPECT_EQ(OneEvent(), Info(6, shown, 0));
    EXPECT_THAT(journal_.Take(), ElementsAreArray(Script(InfoLines(6, shown, 0))));
  }
}

TEST_F(PlayerEvents, Buffering) {
  Open();
  const struct {
    std::uint32_t percent;
    std::string event;
    const char* previous;  // in the progress line, if there is one
  } kSteps[] = {
      {40, Info(1, 0, 0), nullptr},  // a start, whatever it carries
      {5, "", nullptr},              // still in the tens of 0
      {12, Info(3, 12, 0), "0"},     //
      {19, "", nullptr},             //
      {40, Info(3, 40, 0), "12"},    //
      {39, Info(3, 39, 0), "40"},    // backwards too
      {130, Info(3, 130, 0), "39"},  // beyond the end is no end
      {UINT32_MAX, Info(3, -1, 0), "130"},
      {100, Info(2, 0, 0), nullptr},
      {100, Info(1, 0, 0), nullptr},  // the next start; the last percentage stays
      {UINT32_MAX - 1, "", nullptr},
      {101, Info(3, 101, 0), "4294967295"},
      {100, Info(2, 0, 0), nullptr},
  };
  for (const auto& step : kSteps) {
    SCOPED_TRACE(step.percent);
    MessageRecord record(nullptr, step.percent, 0);
    EXPECT_EQ(player_.Message(131, record.get()), step.event.empty() ? -1 : 1);
    EXPECT_EQ(OneEvent(), step.event);
    Lines journal = journal_.Take();
    ASSERT_EQ(journal.size(), step.event.empty() ? 1U : step.previous == nullptr ? 3U : 4U);
    if (step.previous != nullptr) {
      EXPECT_EQ(journal[1], A("OnMessage", std::string("[INFO_BUFFERING_PROGRESS] Previous[") +
                                               step.previous + "] vs. Current[" +
                                               std::to_string(step.percent) + "] Progress..."));
    }
  }
}

}  // namespace
}  // namespace lumivex::test
