// The tuner stand-in through its exported names. services.jsonl tests what a page sees of it.

#include <CRFManager.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstring>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "process.h"
#include "wait_until.h"

namespace {

using Event = std::tuple<unsigned int, int, std::string>;  // code, param1, param2
using ChannelType = CRFManager::LUMIVEX_CHANNEL_TYPE;
using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;

constexpr std::chrono::milliseconds kTwoTunes{400};

// Records the events it receives and calls on_event for each.
class EventLog : public IEventListener {
 public:
  void OnEvent(unsigned int code, int param1, const std::string& param2) override {
    if (on_event) {
      on_event();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.emplace_back(code, param1, param2);
  }

  // Waits for this many events and returns all so far.
  std::vector<Event> WaitFor(std::size_t count) {
    std::vector<Event> events;
    WaitUntil(std::chrono::seconds(10), [&] {
      const std::lock_guard<std::mutex> lock(mutex_);
      events = events_;
      return events.size() >= count;
    });
    return events;
  }

  std::function<void()> on_event;  // set before the first tune

 private:
  std::mutex mutex_;
  std::vector<Event> events_;
};

CRFManager* Obtain(IEventListener* listener) {
  CRFManager* const manager = CRFManager::GetInstance("org.lumivex.test", false, nullptr);
  EXPECT_TRUE(manager->RegisterRFEventHandler(listener));
  return manager;
}

bool TuneOne(CRFManager* manager) {
  return manager->TuneRFChannel(5, 1, 1, 4097);
}

TEST(Tune, ReplacesTheOneUnderWay) {
  std::chrono::steady_clock::time_point end;
  EventLog log;
  CRFManager* const tuner = Obtain(&log);
  ASSERT_TRUE(TuneOne(tuner));
  std::this_thread::sleep_for(kTwoTunes / 4);
  unsigned int count = 0;
  log.on_event = [&] {
    end = std::chrono::steady_clock::now();
    tuner->GetNumOfMultiAudio(&count);  // a listener may call the tuner
  };
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_TRUE(tuner->TuneRFChannel(9, 2, 2, 4098));
  EXPECT_FALSE(tuner->TuneRFChannel(1, 1, 1, 1)) << "refused, so it must not stop the other";
  EXPECT_FALSE(tuner->SetChType(ChannelType{2}));
  EXPECT_FALSE(tuner->SetChType(ChannelType{-1}));
  std::this_thread::sleep_for(kTwoTunes);
  EXPECT_EQ(log.WaitFor(1), std::vector<Event>({{1, 2, "Lumivex Night"}}));
  EXPECT_GE(end - begin, std::chrono::milliseconds(200));

  ASSERT_TRUE(tuner->TuneRFChannel(5, 3, 3, 4097));
  EXPECT_EQ(log.WaitFor(2).back(), Event(0, 3, "Lumivex Radio"));
  EXPECT_TRUE(tuner->GetNumOfMultiAudio(&count));
  ASSERT_TRUE(TuneOne(tuner));
  EXPECT_FALSE(tuner->GetNumOfMultiAudio(&count)) << "during the next tune";
  CRFManager::ReleaseInstance();
}

TEST(Release, LeavesOtherHoldersWhatIsTuned) {
  EventLog first;
  EventLog second;
  CRFManager* const tuner = Obtain(&first);
  Obtain(&second);
  EXPECT_FALSE(tuner->RegisterRFEventHandler(nullptr));
  EXPECT_FALSE(tuner->ShowSubtitleWindow());
  EXPECT_TRUE(tuner->SetSubtitleWindowSubsurface(7));
  EXPECT_TRUE(tuner->ShowSubtitleWindow());
  ASSERT_TRUE(TuneOne(tuner));
  EXPECT_EQ(second.WaitFor(1), std::vector<Event>({{0, 1, "Lumivex One"}}));
  EXPECT_TRUE(tuner->SetSubtitleMode(Mode{1}));
  CRFManager::ReleaseInstance();
  Mode mode{};
  EXPECT_TRUE(tuner->GetSubtitleMode(&mode));
  EXPECT_EQ(mode, Mode{1});
  EXPECT_EQ(first.WaitFor(0).size(), 0U);
  CRFManager::ReleaseInstance();
  CRFManager::ReleaseInstance();  // one too many
  EXPECT_FALSE(TuneOne(tuner));

  EXPECT_EQ(Obtain(&first), tuner);
  EXPECT_FALSE(tuner->ShowSubtitleWindow());
  EXPECT_FALSE(tuner->GetSubtitleMode(&mode));
  CRFManager::ReleaseInstance();
}

TEST(Release, WaitsForTheEventUnderWayAndSilencesTheListener) {
  for (const bool under_way : {true, false}) {
    EventLog log;
    std::promise<void> called;
    std::atomic<bool> returned{false};
    log.on_event = [&] {
      called.set_value();
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      returned = true;
    };
    for (int holders = 0; holders < 2; ++holders) {
      ASSERT_TRUE(TuneOne(Obtain(&log)));
    }
    if (under_way) {
      called.get_future().wait();
    }
    CRFManager::ReleaseInstance();
    EXPECT_EQ(returned, under_way);
    std::this_thread::sleep_for(kTwoTunes);
    EXPECT_EQ(log.WaitFor(0).size(), under_way ? 1U : 0U);
    CRFManager::ReleaseInstance();
  }
}

TEST(Instance, NullIsNone) {
  // Undefined behaviour in C++, but the library must survive it.
  const auto tune_null = []() __attribute__((no_sanitize("undefined"))) {
    CRFManager* volatile null = nullptr;
    return null->TuneRFChannel(5, 1, 1, 4097);
  };
  EXPECT_EQ(CRFManager::GetInstance(nullptr, false, nullptr), nullptr);
  EventLog log;
  Obtain(&log);
  EXPECT_FALSE(tune_null());
  CRFManager::ReleaseInstance();
}

TEST(Instance, TwoThreadsObtainAndReleaseAtOnce) {
  lumivex::test::StartFirstThread();
  const std::ptrdiff_t threads = lumivex::test::CountThreads();
  const auto rounds = [] {
    for (int round = 0; round < 1000; ++round) {
      EventLog log;
      EXPECT_TRUE(TuneOne(Obtain(&log)));
      CRFManager::ReleaseInstance();
    }
  };
  std::thread other(rounds);
  rounds();
  other.join();
  EXPECT_TRUE(lumivex::test::ThreadsComeTo(threads));
}

TEST(AppId, IsCutAndTerminatedOrNotWritten) {
  ASSERT_EQ(prctl(PR_SET_NAME, "tv app/2"), 0);
  const struct {
    int pid;
    int size;
    const char* id;  // null: refused
  } kCases[] = {
      {getpid(), 255, "org.lumivex.tv_app_2"},
      {getpid(), 21, "org.lumivex.tv_app_2"},
      {getpid(), 20, "org.lumivex.tv_app_"},
      {getpid(), 1, ""},
      {getpid(), 0, nullptr},
      {getpid(), -5, nullptr},
      {0, 255, nullptr},
      {-1, 255, nullptr},
      {INT_MAX, 255, nullptr},
  };
  for (const auto& c : kCases) {
    std::string buffer(300, '#');
    const int result = CAppUtil::GetKelvoAppIDByPID(c.pid, buffer.data(), c.size);
    EXPECT_EQ(result == 0, c.id != nullptr) << c.pid << ", " << c.size;
    std::string expected(300, '#');
    if (c.id != nullptr) {
      expected.replace(0, std::strlen(c.id) + 1, c.id, std::strlen(c.id) + 1);
    }
    EXPECT_EQ(buffer, expected);
  }
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), nullptr, 255), 0);
}

}  // namespace
