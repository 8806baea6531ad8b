// What the player reports on its own: the library's message, the log lines on its way, the event
// that the page gets and the answer that the library gets.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

class PlayerEvents : public PluginTest {
 protected:
  static Lines ErrorLines(int type) {
    const std::string number = std::to_string(type);
    return {AE("OnMessage", "Error event " + number + " occured."),
            L("OnError", "[CZunoPlayerEventListener][OnError] type: [" + number + "], extra: [0]"),
            HE("OnError", "[OnError] PLAYBACK_ERROR_EVENT >> eventType: " + number + ", extra: 0")};
  }

  static Lines InfoLines(int type, int param1, int param2) {
    const std::string a = std::to_string(type);
    const std::string b = std::to_string(param1);
    const std::string c = std::to_string(param2);
    return {L("OnInfo", "[CZunoPlayerEventListener][OnInfo] type: [" + a + "], param1: [" + b +
                            "], param2: [" + c + "]"),
            H("OnInfo", "[OnInfo] PLAYBACK_INFO_EVENT >> eventType: " + a + ", param1: " + b +
                            ", param2: " + c)};
  }

  static std::string Error(int type) {
    return R"({"event":"PLAYBACK_ERROR_EVENT","type":)" + std::to_string(type) + R"(,"extra":0})";
  }

  static std::string Info(int type, int param1, int param2) {
    return R"({"event":"PLAYBACK_INFO_EVENT","type":)" + std::to_string(type) + R"(,"param1":)" +
           std::to_string(param1) + R"(,"param2":)" + std::to_string(param2) + "}";
  }

  // The one event that has come, as JSON text in the order of its keys; empty for none.
  std::string OneEvent() {
    const std::vector<Json> events = Events();
    EXPECT_LE(events.size(), 1U);
    return events.empty() ? "" : events[0].dump();
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
  const Lines width = {A("GetVideoWidth", "GetVideoWidth() starts."), "player 15(*-1, *-1)",
                       A("GetVideoWidth", "finishes.")};
  const Lines height = {A("GetVideoHeight", "GetVideoHeight() starts."), "player 15(*-1, *-1)",
                        A("GetVideoHeight", "finishes.")};
  const auto text = [](const std::string& cue_text) {
    return L("OnTimedText", "[CZunoPlayerEventListener][OnTimedText] pText: " + cue_text);
  };
  const auto data = [](const std::string& shown) {
    return L("OnDRMInfo",
             "[CZunoPlayerEventListener][OnDRMInfo] type: [0], pData: [" + shown + "]");
  };
  const struct {
    int id;
    void* record;
    std::string event;
    Lines journal;
  } kCases[] = {
      {186, nullptr, Error(1), ErrorLines(1)},
      {134, cue.get(), Error(2), ErrorLines(2)},
      {182, nullptr, Error(4), ErrorLines(4)},
      {183, nullptr, Error(5), ErrorLines(5)},
      {184, nullptr, Error(6), ErrorLines(6)},
      {187, nullptr, Error(7), ErrorLines(7)},
      {68, nullptr, Error(8), ErrorLines(8)},
      {37, nullptr, Error(0), ErrorLines(0)},
      {0, nullptr, Error(0), ErrorLines(0)},
      {64, nullptr, Error(0), ErrorLines(0)},
      {65, nullptr, Error(0), ErrorLines(0)},
      {66, nullptr, Error(0), ErrorLines(0)},
      {67, nullptr, Error(0), ErrorLines(0)},
      {98, nullptr, Error(0), ErrorLines(0)},
      {32, nullptr, Info(0, 0, 0), InfoLines(0, 0, 0)},
      {35, cue.get(), Info(7, 0, 0), InfoLines(7, 0, 0)},
      {96, nullptr, Info(4, 0, 0), InfoLines(4, 0, 0)},
      {97, nullptr, Info(5, 0, 0), InfoLines(5, 0, 0)},
      {132, cue.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":"Hello"})", {text("Hello")}},
      {132, empty.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":""})", {text("")}},
      {132, latin.get(), R"({"event":"PLAYBACK_TIMEDTEXT_EVENT","text":null})", {text("\xe4")}},
      {132, no_text.get(), "", {}},
      {132, nullptr, "", {}},
      {177, value.get(), Info(9, -9, 0), InfoLines(9, -9, 0)},
      {177, nullptr, "", {}},
      {181, drm.get(), R"({"event":"PLAYBACK_DRMINFO_EVENT","type":0,"data":"x"})", {data("x")}},
      {181, empty.get(), R"({"event":"PLAYBACK_DRMINFO_EVENT","type":0,"data":""})", {data("")}},
      {181, no_text.get(), "", {}},
      {181, value.get(), "", {}},
      {181, negative.get(), "", {}},
      {181, nullptr, "", {}},
      {185, nullptr, Info(8, 1280, 720), width + height + InfoLines(8, 1280, 720)},
      {999, cue.get(), "", {}},
      {33, nullptr, "", {}},
      {133, nullptr, "", {}},
      {-1, nullptr, "", {}},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(player_.Message(row.id, row.record), row.event.empty() ? -1 : 1);
    EXPECT_EQ(OneEvent(), row.event);
    EXPECT_THAT(
        journal_.Take(),
        ElementsAreArray(Lines{A("OnMessage", "[OnMessage] id: [" + std::to_string(row.id) + "]")} +
                         row.journal));
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
    EXPECT_THAT(journal_.Take(), ElementsAreArray(InfoLines(6, shown, 0)));
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
