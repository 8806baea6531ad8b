// The plug-in under load for a long time: elements side by side, each with a page that sends every
// command and a platform that reports on threads of its own. No event is lost, doubled or sent to
// another element, and nothing is leaked, neither while the elements live nor after them.
// LUMIVEX_SOAK_MINUTES says how long; without it, the test runs a few rounds.

#include <malloc.h>

#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <thread>

#include "plugin_test.h"
#include "process.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // in no header of the compiler's
constexpr int kRounds = 10;                                        // slow ones
#else
constexpr int kRounds = 30;
#endif

namespace lumivex::test {
namespace {

constexpr int kElements = 3;
constexpr int kEvents = 100;  // of a kind, for an element each time that it is used

// Bytes by which the heap may grow from the first half of the time to the end, and while elements
// live. The C library keeps a little for its threads.
constexpr std::ptrdiff_t kAllowedHeap = 16384;
#ifdef __SANITIZE_ADDRESS__
// AddressSanitizer registers each static object of a library at exit, and never forgets one.
constexpr std::ptrdiff_t kAllowedHeapPerRound = 512;
#else
constexpr std::ptrdiff_t kAllowedHeapPerRound = 0;
#endif

std::ptrdiff_t Heap() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return static_cast<std::ptrdiff_t>(__sanitizer_get_current_allocated_bytes());
#else
  const struct mallinfo2 info = mallinfo2();
  return static_cast<std::ptrdiff_t>(info.uordblks + info.hblkhd);
#endif
}

class Endurance : public PluginTest {
 protected:
  using Numbers = std::vector<int>;

  void SetUp() override {
    PluginTest::SetUp();
    StartFirstThread();
    journal_.Pause(true);
  }
  void TearDown() override {
    journal_.Pause(false);
    PluginTest::TearDown();
  }

  // What was posted by players and tuners and has to reach a page, or be dropped behind it.
  std::int64_t reported_ = 0;
  std::atomic<std::int64_t> dropped_{0};

  void OpenElements() {
    Stage::Reset();
    Browser::Options options;
    options.on_dropped = [this](const Json& event) { dropped_ += event.count("event"); };
    ASSERT_NO_FATAL_FAILURE(Load(std::move(options)));
    for (std::unique_ptr<Page>& page : pages_) {
      page = NewPage();
      ASSERT_EQ(Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"), page.get()),
                Ok("true"));
    }
    stage_.answer = [this](const std::string& call) {
      thread_local std::minstd_rand random;
      Answer answer = call.compare(0, 6, "player") == 0 ? stage_.player : stage_.tuner;
      answer.success = call[0] == 'd' || random() % 8 != 0;  // the library opens and closes
      return answer;
    };
  }

  // Every command, while the element's player and tuner report what bears the element's number.
  void Use(int number) {
    Page* const page = pages_[number - 1].get();
    std::thread messages([this, number] {
      for (int i = 0; i < kEvents; ++i) {
        const std::string text = std::to_string(1000 * number + i);
        MessageRecord record(text.c_str(), 55, 1000 * number + i);
        for (const int id : {131, 132, 177}) {
          stage_.Message(id, record.get(), number);
        }
        stage_.Message(181, MessageRecord(text.c_str(), 0, 4).get(), number);
        stage_.Event(0, number, text, number);
        stage_.Event(1, number, text, number);
      }
    });
    std::thread positions([this, number] {
      for (int i = 0; i < kEvents; ++i) {
        stage_.Position(static_cast<unsigned long>(1000 * number + i), number);
      }
    });
    for (const Command& command : Commands()) {
      const Json request = command.message;
      const char* const code = command.value == "bad" ? R"({"code": 26,)" : R"({"code": 0,)";
      EXPECT_EQ(Send(request, page).find(code), 0U) << request;
      EXPECT_TRUE(page->Post(request));
      Send(Request(kTuner, command.name), page);
    }
    messages.join();
    positions.join();
    EXPECT_TRUE(page->Settle());
    CheckEvents(number, page);
  }

  void CheckEvents(int number, Page* page) {
    std::map<std::string, Numbers> seen;
    for (const Json& event : Events(page)) {
      const auto text = [&event](const char* key) {
        return event.contains(key) ? event.at(key).get<std::string>() : "";
      };
      const std::string kind = text("event");
      if (kind == "PLAYBACK_INFO_EVENT") {
        seen[kind + event.at("type").dump()].push_back(event.at("param1").get<int>());
      } else {
        seen[kind].push_back(std::atoi((text("text") + text("data")).c_str()));
      }
    }
    Numbers all;
    for (int i = 0; i < kEvents; ++i) {
      all.push_back(1000 * number + i);
    }
    EXPECT_EQ(seen["PLAYBACK_TIMEDTEXT_EVENT"], all);
    EXPECT_EQ(seen["PLAYBACK_DRMINFO_EVENT"], all);
    EXPECT_EQ(seen["PLAYBACK_INFO_EVENT9"], all);
    EXPECT_EQ(seen["PLAYBACK_INFO_EVENT6"], all);
    EXPECT_EQ(seen["RF_INFO_EVENT"], Numbers(kEvents));
    EXPECT_EQ(seen[""].size(), Commands().size());
  }

  void UseAll() {
    std::array<std::thread, kElements> users;
    for (int i = 0; i < kElements; ++i) {
      users[i] = std::thread([this, i] { Use(i + 1); });
    }
    for (std::thread& user : users) {
      user.join();
    }
  }

  // Ends an element in the midst of commands and events. The services end their threads while they
  // are being released, as real ones do.
  void CloseBusy(int number) {
    Page* const page = pages_[number - 1].get();
    std::atomic<bool> released{false};
    std::atomic<bool> deleted{false};
    std::atomic<std::int64_t> reported{0};
    const auto pour = [&reported](const std::atomic<bool>& end, auto report) {
      return std::thread([&reported, &end, report] {
        while (!end) {
          reported += report();
        }
      });
    };
    std::array<std::thread, 3> poured;
    stage_.on_call = [&](const std::string& call) {
      if (call == "tuner ReleaseInstance") {
        released = true;
        poured[0].join();
      } else if (call == "player 1") {
        deleted = true;
        poured[1].join();
        poured[2].join();
      }
    };
    poured = {pour(released,
                   [&] {
                     stage_.Event(0, 1, "x", number);
                     return 1;
                   }),
              pour(deleted,
                   [&] {
                     return stage_.Message(186, nullptr, number) +
                            stage_.Message(185, nullptr, number);
                   }),
              pour(deleted, [&] {
                stage_.Position(7, number);
                return 1;
              })};
    std::thread sender([page] {
      const Json request =
          Request(kPlayer, "SetDisplayArea",
                  R"({"x": 0, "y": 0, "width": 9, "height": 9, "scalingMode": 0})");
      while (page->SendBlocking(request).outcome == Page::Outcome::kAnswered) {
        page->Post(request);
      }
    });
    while (reported < 4) {
      std::this_thread::yield();
    }
    page->Close();
    sender.join();
    EXPECT_TRUE(released && deleted);
    stage_.on_call = nullptr;
    for (const Json& event : Events(page)) {
      reported -= static_cast<std::int64_t>(event.count("event"));
    }
    reported_ += reported;
    pages_[number - 1].reset();
  }

  std::array<std::unique_ptr<Page>, kElements> pages_;
};

TEST_F(Endurance, NothingIsLostAndNothingIsKept) {
  const char* const minutes = std::getenv("LUMIVEX_SOAK_MINUTES");
  const double limit = minutes == nullptr ? 0 : 60 * std::atof(minutes);
  const auto start = std::chrono::steady_clock::now();
  const auto seconds = [start] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  const std::ptrdiff_t threads = CountThreads();
  const std::ptrdiff_t files = CountFiles();
  std::ptrdiff_t allowed = 0;  // heap; unknown in the first half
  for (int round = 1; round <= kRounds || seconds() < limit; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    ASSERT_NO_FATAL_FAILURE(OpenElements());
    UseAll();
    const std::ptrdiff_t living = Heap();
    UseAll();
    EXPECT_LE(Heap(), living + kAllowedHeap) << "growth of living elements";
    for (int number = 1; number <= kElements; ++number) {
      CloseBusy(number);
    }
    Close();
    EXPECT_EQ(reported_, dropped_) << "events lost behind pages";
    EXPECT_EQ(stage_.libraries, 0);
    EXPECT_TRUE(ThreadsComeTo(threads)) << CountThreads() << " threads, before " << threads;
    EXPECT_EQ(CountFiles(), files);
    if (allowed != 0) {
      allowed += kAllowedHeapPerRound;
      EXPECT_LE(Heap(), allowed) << "growth behind elements";
    } else if (round >= kRounds / 2 && seconds() >= limit / 2) {
      allowed = Heap() + kAllowedHeap;
    }
    if (minutes != nullptr && round % 20 == 0) {
      std::printf("%.0f s, round %d: heap %td B\n", seconds(), round, Heap());
      std::fflush(stdout);
    }
    ASSERT_FALSE(HasFailure());
  }
}

}  // namespace
}  // namespace lumivex::test
