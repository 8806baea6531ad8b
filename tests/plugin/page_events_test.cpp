// What player and tuner report: the log lines on the way, the event for the page and the answer to
// the library.

#include "plugin_test.h"

namespace lumivex::test {
namespace {

class Events : public PluginTest {
 protected:
  void Compare(const Report& expected) {
    std::vector<std::string> events;
    for (const Json& event : PluginTest::Events()) {
      events.push_back(event.dump());
    }
    EXPECT_EQ(events, expected.event ? Lines{*expected.event} : Lines{});
    EXPECT_THAT(journal_.Take(), ElementsAreArray(expected.journal));
  }
  void Compare(int id, const Record* record) {
    SCOPED_TRACE(id);
    const Report expected = ExpectMessage(id, record, &now_);
    const Record sent = record == nullptr ? Record{} : *record;
    MessageRecord passed(sent.data ? sent.data->c_str() : nullptr, sent.percent, sent.value);
    EXPECT_EQ(stage_.Message(id, record == nullptr ? nullptr : passed.get()),
              expected.event ? 1 : -1);
    Compare(expected);
  }
};

TEST_F(Events, OfEveryMessageWithEveryRecord) {
  Open();
  const Record records[] = {{0, 77, "Hello" + std::string(100, '\0')},
                            {0, 0, ""},
                            {0, 3, std::string("x\0y", 3)},
                            {5, 3, std::nullopt},
                            {0, 0, std::nullopt},
                            {0, 1, std::nullopt},
                            {0, -9, std::nullopt},
                            {0, -1, "abc"},
                            {0, 1, "\xe4"}};
  for (int id = -1; id < 200; ++id) {
    Compare(id, nullptr);
    for (const Record& record : records) {
      Compare(id, &record);
    }
  }
  Compare(999, nullptr);
  stage_.failing = {"player 15"};
  Compare(185, nullptr);
}

TEST_F(Events, OfBuffering) {
  Open();
  for (const std::uint32_t percent :
       {40U, 5U, 12U, 19U, 40U, 39U, 130U, UINT32_MAX, 100U, 100U, UINT32_MAX - 1, 101U, 100U}) {
    const Record record{percent, 0, {}};
    Compare(131, &record);
  }
}

TEST_F(Events, OfPositionsAndTunes) {
  Open();
  for (const unsigned long position : {700UL, 0UL, 2147483648UL, ~0UL}) {
    stage_.Position(position);
    Compare(ExpectPosition(position));
  }
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 1})"));
  journal_.Take();
  for (const unsigned int type : {0U, 1U, 2U, 0x80000000U, UINT32_MAX}) {
    const std::string name("Lumivex\0One", 11);
    stage_.Event(type, -6, name);
    Compare(ExpectTunerEvent(type, -6, name));
  }
}

// The events, spelled out.
TEST_F(Events, ReachThePageInFull) {
  Open();
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 1})"));
  MessageRecord record("x\0y", 0, 3);
  for (const int id : {134, 185, 181, 132}) {
    EXPECT_EQ(stage_.Message(id, record.get()), 1);
  }
  stage_.Event(0, 5, "x");
  std::string all;
  for (const Json& event : PluginTest::Events()) {
    all += event.dump() + "\n";
  }
  EXPECT_EQ(all, R"({"event":"PLAYBACK_ERROR_EVENT","extra":0,"type":2}
{"event":"PLAYBACK_INFO_EVENT","param1":1280,"param2":720,"type":8}
{"data":"x","event":"PLAYBACK_DRMINFO_EVENT","type":0}
{"event":"PLAYBACK_TIMEDTEXT_EVENT","text":"x"}
{"event":"RF_INFO_EVENT","eventType":0}
)");
}

}  // namespace
}  // namespace lumivex::test
