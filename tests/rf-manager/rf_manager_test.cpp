// The tuner's stand-in, by its exported names.

#include <CRFManager.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "process.h"

namespace {

using Event = std::tuple<unsigned int, int, std::string>;  // code, param1, param2

// Long enough for any tune to be over, on a loaded machine too.
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kTwoTunes{400};

// Keeps the events it gets, and does on_event with each.
class EventLog : public IEventListener {
 public:
  void OnEvent(unsigned int code, int param1, const std::string& param2) override {
    if (on_event) {
      on_event();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.emplace_back(code, param1, param2);
    changed_.notify_all();
  }

  std::vector<Event> events() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }

  bool WaitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return events_.size() >= count; });
  }

  std::function<void()> on_event;  // set before the first tune

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Event> events_;
};

// An instance with a listener, given back in the end.
class Tuner {
 public:
  explicit Tuner(const char* application = "org.lumivex.test")
      : manager_(CRFManager::GetInstance(application, false, nullptr)) {
    manager_->RegisterRFEventHandler(&log);
  }
  ~Tuner() { CRFManager::ReleaseInstance(); }
  CRFManager* operator->() const { return manager_; }

  // True once the tune's event has come.
  bool TuneAndWait(int major, int minor, int program, int stream) {
    const std::size_t before = log.events().size();
    return manager_->TuneRFChannel(major, minor, program, stream) && log.WaitFor(before + 1);
  }

  EventLog log;

 private:
  CRFManager* manager_;
};

bool TuneOne(CRFManager* manager) {
  return manager->TuneRFChannel(5, 1, 1, 4097);
}
const Event kOneTuned{0, 1, "Lumivex One"};

using lumivex::test::CountThreads;
using lumivex::test::ThreadsComeTo;

std::ptrdiff_t SettledThreads() {
  lumivex::test::StartFirstThread();
  return CountThreads();
}

TEST(Tune, TakesThePlaceOfTheOneUnderWay) {
  std::chrono::steady_clock::time_point end;
  Tuner tuner;
  ASSERT_TRUE(TuneOne(tuner.operator->()));
  tuner.log.on_event = [&end] { end = std::chrono::steady_clock::now(); };
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_TRUE(tuner->TuneRFChannel(5, 3, 3, 4097));
  EXPECT_FALSE(tuner->TuneRFChannel(1, 1, 1, 1)) << "refused, so it must not stop the other";
  EXPECT_FALSE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{2}));
  EXPECT_FALSE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{-1}));
  std::this_thread::sleep_for(kTwoTunes);
  ASSERT_TRUE(tuner.log.WaitFor(1));
  EXPECT_EQ(tuner.log.events(), std::vector<Event>({{0, 3, "Lumivex Radio"}}));
  EXPECT_GE(end - begin, std::chrono::milliseconds(200));

  unsigned int count = 0;
  EXPECT_TRUE(tuner->GetNumOfMultiAudio(&count));
  std::string language;
  ASSERT_TRUE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{1}));
  EXPECT_FALSE(tuner->TuneRFChannel(5, 1, 1, 4097));
  EXPECT_TRUE(tuner->GetMultiAudioLanguageByIndex(0, &language)) << "what is tuned stays";
  EXPECT_EQ(language, "kor");
  ASSERT_TRUE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{0}));
  ASSERT_TRUE(TuneOne(tuner.operator->()));
  EXPECT_FALSE(tuner->GetNumOfMultiAudio(&count)) << "during the next tune";
}

TEST(Tune, EventsGoToTheListenerOfTheInstanceThatTuned) {
  Tuner first;
  Tuner second;
  EXPECT_FALSE(first->RegisterRFEventHandler(nullptr));
  ASSERT_TRUE(first->TuneRFChannel(5, 2, 2, 4097));
  ASSERT_TRUE(second.TuneAndWait(9, 2, 2, 4098));
  ASSERT_TRUE(first.log.WaitFor(1));
  EXPECT_EQ(first.log.events(), std::vector<Event>({{0, 2, "Lumivex News"}}));
  EXPECT_EQ(second.log.events(), std::vector<Event>({{1, 2, "Lumivex Night"}}));
}

using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;

TEST(Subtitles, ModeAndStatusBelongToTheApplication) {
  Mode mode{};
  bool shown = false;
  {
    Tuner tuner("one");
    Tuner sibling("one");
    Tuner stranger("two");
    for (Tuner* each : {&tuner, &sibling, &stranger}) {
      ASSERT_TRUE(each->TuneAndWait(5, 2, 2, 4097));
    }
    EXPECT_TRUE(tuner->SetSubtitleMode(Mode{1}));
    EXPECT_FALSE(tuner->SetSubtitleMode(Mode{2}));
    EXPECT_FALSE(tuner->SetSubtitleMode(Mode{-1}));
    EXPECT_TRUE(tuner->SetSubtitleStatus(true));
    EXPECT_TRUE(sibling->GetSubtitleMode(&mode) && mode == Mode{1});
    EXPECT_TRUE(sibling->GetSubtitleStatus(&shown) && shown);
    EXPECT_TRUE(stranger->GetSubtitleMode(&mode) && mode == Mode{0});
    EXPECT_TRUE(stranger->GetSubtitleStatus(&shown) && !shown);
  }
  Tuner later("one");
  ASSERT_TRUE(later.TuneAndWait(5, 2, 2, 4097));
  EXPECT_TRUE(later->GetSubtitleMode(&mode) && mode == Mode{0});
}

TEST(Subtitles, WindowIsSetBeforeItIsShown) {
  Tuner tuner;
  EXPECT_FALSE(tuner->ShowSubtitleWindow());
  EXPECT_TRUE(tuner->SetSubtitleWindowSubsurface(7));
  EXPECT_TRUE(tuner->ShowSubtitleWindow());
}

CRFManager* Obtain() {
  return CRFManager::GetInstance("org.lumivex.test", false, nullptr);
}

// Behaves like the plug-in's message handler: the instance is obtained and used on a thread of its
// own, which ends before the release, and the listener goes right after the release.
class Handler {
 public:
  Handler() {
    worker_ = std::thread([this] {
      manager_ = Obtain();
      manager_->RegisterRFEventHandler(log_.get());
      made_.set_value();
      ends_.get_future().wait();
    });
    made_.get_future().wait();
  }
  ~Handler() {
    ends_.set_value();
    worker_.join();
    CRFManager::ReleaseInstance();
    log_.reset();
  }
  bool Tune() { return TuneOne(manager_); }
  EventLog& log() { return *log_; }

 private:
  std::promise<void> made_;
  std::promise<void> ends_;
  CRFManager* manager_ = nullptr;
  std::unique_ptr<EventLog> log_ = std::make_unique<EventLog>();
  std::thread worker_;
};

// The moments of the release lie around the end of the tune, so that some meet an event under way.
TEST(TwoHandlers, OneGoesAndTheOtherWorksOn) {
  const std::ptrdiff_t threads = SettledThreads();
  for (const std::size_t goes : {0, 1}) {
    for (const int milliseconds : {0, 100, 198, 199, 200, 201, 203}) {
      SCOPED_TRACE(testing::Message() << goes << " goes after " << milliseconds);
      std::array<std::unique_ptr<Handler>, 2> handlers;
      for (auto& handler : handlers) {
        handler = std::make_unique<Handler>();
        handler->log().on_event = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); };
      }
      for (auto& handler : handlers) {
        ASSERT_TRUE(handler->Tune());
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
      handlers[goes].reset();
      Handler& stays = *handlers[1 - goes];
      ASSERT_TRUE(stays.log().WaitFor(1));
      ASSERT_TRUE(stays.Tune());
      ASSERT_TRUE(stays.log().WaitFor(2));
      EXPECT_EQ(stays.log().events(), std::vector<Event>({kOneTuned, kOneTuned}));
      ASSERT_TRUE(stays.Tune());
    }
    EXPECT_TRUE(ThreadsComeTo(threads));
  }
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
    CRFManager* const manager = Obtain();
    EXPECT_TRUE(manager->RegisterRFEventHandler(&log));
    EXPECT_TRUE(TuneOne(manager));
    if (under_way) {
      called.get_future().wait();
    }
    CRFManager::ReleaseInstance();
    EXPECT_EQ(returned, under_way);
    std::this_thread::sleep_for(kTwoTunes);
    EXPECT_EQ(log.events().size(), under_way ? 1U : 0U);
  }
}

// The call itself is outside the language; the library has to stand it.
__attribute__((no_sanitize("undefined"))) bool CallNull() {
  CRFManager* volatile null = nullptr;
  int index = 0;
  null->RegisterRFEventHandler(nullptr);
  return null->SetSubtitleWindowSubsurface(1) || null->TuneRFChannel(5, 1, 1, 4097) ||
         null->GetCurrentAudioIndex(&index);
}

TEST(Instance, OnlyALiveOneAnswers) {
  CRFManager::ReleaseInstance();
  EXPECT_EQ(CRFManager::GetInstance(nullptr, false, nullptr), nullptr);
  EXPECT_FALSE(CallNull());
  CRFManager* const stale = Obtain();
  CRFManager::ReleaseInstance();
  CRFManager::ReleaseInstance();
  EXPECT_FALSE(TuneOne(stale));
}

// Two threads obtain, tune and release at once.
TEST(Threads, ManyRounds) {
  const std::ptrdiff_t threads = SettledThreads();
  const auto rounds = [] {
    for (int round = 0; round < 1000; ++round) {
      EXPECT_NE(Obtain(), nullptr);
      CRFManager::ReleaseInstance();
    }
  };
  std::thread other(rounds);
  rounds();
  other.join();
  EXPECT_TRUE(ThreadsComeTo(threads));
}

TEST(AppId, IsCutAndTerminated) {
  char old_name[16];
  ASSERT_EQ(prctl(PR_GET_NAME, old_name), 0);
  ASSERT_EQ(prctl(PR_SET_NAME, "tv app/2"), 0);
  const struct {
    int size;
    const char* id;
  } cases[] = {{255, "org.lumivex.tv_app_2"},
               {21, "org.lumivex.tv_app_2"},
               {20, "org.lumivex.tv_app_"},
               {1, ""}};
  for (const auto& c : cases) {
    std::string buffer(300, '#');
    EXPECT_EQ(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer.data(), c.size), 0);
    EXPECT_STREQ(buffer.c_str(), c.id);
    EXPECT_EQ(buffer.find_first_not_of('#', std::strlen(c.id) + 1), std::string::npos);
  }
  prctl(PR_SET_NAME, old_name);
}

TEST(AppId, IsNotWrittenOnFailure) {
  char buffer[] = "untouched";
  const int size = sizeof buffer;
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(0, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(-1, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(INT_MAX, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer, 0), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer, -5), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), nullptr, size), 0);
  EXPECT_STREQ(buffer, "untouched");
}

}  // namespace
