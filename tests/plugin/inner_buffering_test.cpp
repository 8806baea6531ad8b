// The buffering rule against random messages, for two players that share the last percentage.

#include <random>

#include "ZunoPlayerAdapter.h"
#include "inner_support.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

// The rule told once more: what a player's listener hears of one buffering message.
struct Model {
  uint32_t last_reported = 0;
  bool buffering[2] = {};

  std::string Hear(int player, const uint32_t* percent) {
    bool* const state = &buffering[player - 1];
    if (!*state) {
      *state = true;
      return "3(1, 0, 0)";
    }
    if (percent == nullptr ||
        (*percent != 100 && *percent - *percent % 10 == last_reported - last_reported % 10)) {
      return "";
    }
    if (*percent == 100) {
      *state = false;
      return "3(2, 0, 0)";
    }
    last_reported = *percent;
    return "3(3, " + std::to_string(static_cast<int32_t>(*percent)) + ", 0)";
  }
};

using Buffering = PluginTest;

TEST_F(Buffering, TheFirstReportsOfTheProcessBelowTenAreDropped) {
  RawListener listener;
  const CZunoPlayerAdapter adapter(listener.get());
  journal_.Take();
  const std::pair<uint32_t, int> kSteps[] = {{0, 1}, {9, -1}, {0, -1}, {10, 1}};
  for (const auto& [percent, answer] : kSteps) {
    EXPECT_EQ(player_.Message(131, MessageRecord(nullptr, percent, 0).get()), answer) << percent;
  }
}

TEST_F(Buffering, FollowsTheRuleInAnyOrderOfMessages) {
  RawListener listeners[2] = {RawListener(1), RawListener(2)};
  const CZunoPlayerAdapter first(listeners[0].get());
  const CZunoPlayerAdapter second(listeners[1].get());
  Model model;
  std::mt19937 random(7);
  const auto up_to = [&random](uint32_t most) {
    return std::uniform_int_distribution<uint32_t>(0, most)(random);
  };
  for (int i = 0; i < 20000; ++i) {
    const int player = 1 + static_cast<int>(up_to(1));
    const uint32_t kind = up_to(9);
    uint32_t percent = kind == 0 ? 100 : kind == 1 ? up_to(UINT32_MAX) : up_to(130);
    MessageRecord record(nullptr, percent, 0);
    const bool has_record = kind != 2;
    journal_.Take();
    const int answer = player_.Message(131, has_record ? record.get() : nullptr, player);
    const Lines journal = journal_.Take();
    const std::string heard = model.Hear(player, has_record ? &percent : nullptr);
    ASSERT_EQ(answer, heard.empty() ? -1 : 1) << i;
    ASSERT_EQ(journal.back(), heard.empty()
                                  ? A("OnMessage", "[OnMessage] id: [131]")
                                  : std::string("listener") + (player == 1 ? " " : "2 ") + heard)
        << i;
  }
}

}  // namespace
}  // namespace lumivex::test
