#include <gtest/gtest.h>

#include <array>
#include <atomic>

#include "support.h"

namespace {

CRFManager* Obtain() {
  return CRFManager::GetInstance("org.lumivex.test", false, nullptr);
}

// Behaves like the plug-in's message handler: everything but the release is done on a thread of
// its own, which ends before the release, and the listener goes right after the release.
class Handler {
 public:
  Handler() {
    worker_.Do([this] {
      manager_ = Obtain();
      manager_->RegisterRFEventHandler(log_.get());
    });
  }
  ~Handler() {
    worker_.Join();
    CRFManager::ReleaseInstance();
    log_.reset();
  }
  bool Tune() {
    bool accepted = false;
    worker_.Do([&] { accepted = TuneOne(manager_); });
    return accepted;
  }
  EventLog& log() { return *log_; }

 private:
  Worker worker_;
  CRFManager* manager_ = nullptr;
  std::unique_ptr<EventLog> log_ = std::make_unique<EventLog>();
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

enum class Obtained { kHere, kOnEndedThreads, kOnLiveThreads };

// Nothing tells whose instance a release means: neither listener may be called until it is clear.
TEST(Release, OfOneOfSeveralLeavesTheOneThatIsUsedAfterwards) {
  const std::ptrdiff_t threads = SettledThreads();
  for (const Obtained where :
       {Obtained::kHere, Obtained::kOnEndedThreads, Obtained::kOnLiveThreads}) {
    for (const std::size_t used : {0, 1}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(where) << ", used " << used);
      std::array<EventLog, 2> logs;
      std::array<CRFManager*, 2> managers{};
      {
        std::array<Worker, 2> workers;
        for (std::size_t i = 0; i < managers.size(); ++i) {
          const auto obtain = [&] { managers[i] = Obtain(); };
          where == Obtained::kHere ? obtain() : workers[i].Do(obtain);
          managers[i]->RegisterRFEventHandler(&logs[i]);
          ASSERT_TRUE(TuneOne(managers[i]));
          if (where == Obtained::kOnEndedThreads) {
            workers[i].Join();
          }
        }
        CRFManager::ReleaseInstance();
      }
      std::this_thread::sleep_for(kTwoTunes);
      EXPECT_TRUE(logs[0].events().empty() && logs[1].events().empty());
      EXPECT_TRUE(managers[used]->SetSubtitleWindowSubsurface(1));
      EXPECT_FALSE(managers[1 - used]->SetSubtitleWindowSubsurface(1));
      EXPECT_TRUE(logs[used].WaitFor(1)) << "the event that was held back";
      CRFManager::ReleaseInstance();
      EXPECT_FALSE(managers[used]->SetSubtitleWindowSubsurface(1));
      EXPECT_TRUE(logs[1 - used].events().empty());
      EXPECT_TRUE(ThreadsComeTo(threads));
    }
  }
}

TEST(Release, SilencesTheListener) {
  Tuner other;
  EventLog log;
  std::thread([&] {
    CRFManager* manager = Obtain();
    manager->RegisterRFEventHandler(&log);
    EXPECT_TRUE(TuneOne(manager));
  }).join();
  Worker().Do([] { CRFManager::ReleaseInstance(); });  // neither obtained here nor there
  std::this_thread::sleep_for(kTwoTunes);
  EXPECT_TRUE(log.events().empty());
  EXPECT_TRUE(other.TuneAndWait(5, 1, 1, 4097));
}

TEST(Listener, IsNotBeingCalledAfterItsReplacementOrRelease) {
  Tuner other;  // so that it is not the end of the tuner's thread that is waited for
  for (const bool replace : {true, false}) {
    EventLog log;
    EventLog replacement;
    std::promise<void> called;
    std::atomic<bool> returned{false};
    log.on_event = [&] {
      called.set_value();
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      returned = true;
    };
    std::thread([&] {
      CRFManager* manager = Obtain();
      manager->RegisterRFEventHandler(&log);
      EXPECT_TRUE(TuneOne(manager));
      called.get_future().wait();
      if (replace) {
        EXPECT_TRUE(manager->RegisterRFEventHandler(&replacement));
        EXPECT_TRUE(returned);
      }
      CRFManager::ReleaseInstance();
      EXPECT_TRUE(returned);
    }).join();
  }
}

TEST(Release, FromInsideAnEventDoesNotWait) {
  const std::ptrdiff_t threads = SettledThreads();
  for (const bool obtain_again : {false, true}) {
    EventLog log;
    log.on_event = [&] {
      CRFManager::ReleaseInstance();
      if (obtain_again) {
        EXPECT_NE(Obtain(), nullptr);
      }
    };
    CRFManager* manager = Obtain();
    manager->RegisterRFEventHandler(&log);
    ASSERT_TRUE(TuneOne(manager));
    ASSERT_TRUE(log.WaitFor(1));
    EXPECT_FALSE(TuneOne(manager));
    Tuner next;
    EXPECT_TRUE(next.TuneAndWait(5, 1, 1, 4097));
    if (obtain_again) {
      Worker().Do([] { CRFManager::ReleaseInstance(); });
      EXPECT_TRUE(TuneOne(next.operator->()));  // shows which one was meant
    }
  }
  EXPECT_TRUE(ThreadsComeTo(threads));
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
  CRFManager* stale = Obtain();
  CRFManager::ReleaseInstance();
  CRFManager::ReleaseInstance();
  Tuner unknown_application("");
  EventLog log;
  EXPECT_NE(stale, unknown_application.operator->());
  EXPECT_FALSE(stale->RegisterRFEventHandler(&log));
  EXPECT_FALSE(TuneOne(stale));
  EXPECT_TRUE(TuneOne(unknown_application.operator->()));
}

TEST(Threads, OneForAllInstancesAndNoneAfterTheLast) {
  const std::ptrdiff_t threads = SettledThreads();
  {
    const std::array<Tuner, 5> tuners;
    EXPECT_EQ(CountThreads(), threads + 1);
  }
  EXPECT_TRUE(ThreadsComeTo(threads));
}

// Two threads obtain, tune and release at once, so that the tuner's thread ends and starts anew.
TEST(Threads, ManyRounds) {
  const std::ptrdiff_t threads = SettledThreads();
  const auto rounds = [] {
    for (int round = 0; round < 1000; ++round) {
      Tuner tuner;
      ASSERT_TRUE(TuneOne(tuner.operator->()));
    }
  };
  std::thread other(rounds);
  rounds();
  other.join();
  EXPECT_TRUE(ThreadsComeTo(threads));
}

}  // namespace
