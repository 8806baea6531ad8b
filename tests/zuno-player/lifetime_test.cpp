// Creating, ending and calling at any moment.
#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "http_server.h"
#include "player_harness.h"
#include "process.h"
#include "wait_until.h"

namespace {

using lumivex::test::CountFiles;
using lumivex::test::CountThreads;

using Moment = std::function<void(Rig*)>;

// Every moment at which a player may be deleted.
std::vector<std::pair<const char*, Moment>> Moments(const HttpServer& slow,
                                                    const HttpServer& fast) {
  const std::string clip = Media("clip.webm");
  return {
      {"created", [](Rig*) {}},
      {"opened", [clip](Rig* s) { s->player->InitPlayer(clip.c_str(), 0); }},
      {"playing at once", [clip](Rig* s) { s->PlayFile(clip); }},
      {"playing", [clip](Rig* s) { s->PlayFile(clip), SleepFor(300); }},
      {"paused", [clip](Rig* s) { s->PlayFile(clip), s->player->Pause(); }},
      {"after a seek", [clip](Rig* s) { s->PlayFile(clip), s->player->Seek(9000); }},
      {"fast", [clip](Rig* s) { s->PlayFile(clip), s->player->SetPlaySpeed(4); }},
      {"with cues",
       [clip](Rig* s) {
         s->player->StartSubtitle(Media("cues.srt").c_str(), 0);
         s->PlayFile(clip, 900);
       }},
      {"at the end",
       [clip](Rig* s) {
         s->PlayFile(clip, 19900);
         s->recorder.WaitFor(kEndOfStream, 1, Patience(2000));
       }},
      {"stopped", [clip](Rig* s) { s->PlayFile(clip), s->player->Stop(); }},
      {"failed", [](Rig* s) { s->player->InitPlayer("/nonexistent", 0); }},
      {"replaced", [clip](Rig* s) { s->PlayFile(clip), s->PlayFile(Media("tracks.mkv")); }},
      {"buffering", [&slow](Rig* s) { s->PlayFile(slow.Url("slow.wav")); }},
      {"adaptive", [&fast](Rig* s) { s->PlayFile(fast.Url("hls/master.m3u8")); }},
      {"in a burst of messages", [](Rig* s) { s->AskForChallenges(200); }},
  };
}

TEST(Lifetime, LeavesNoThreadAndNoFileBehind) {
  HttpServer::Options options;
  options.bytes_per_second = 9000;
  WriteFile("slow.wav", Wave(20));
  std::ptrdiff_t files = 0;
  // The first rounds start what GStreamer and GLib keep for the whole process. The servers' own
  // threads and connections come and go with each round.
  constexpr int kFirstRounds = 2;
  constexpr int kCountedRounds = 3;
  for (int round = 0; round < kFirstRounds + kCountedRounds; ++round) {
    {
      const HttpServer slow(ScratchFolder(), options);
      const HttpServer fast(ZUNO_TEST_MEDIA);
      for (const auto& [name, reach] : Moments(slow, fast)) {
        Rig rig;
        reach(&rig);
      }
    }
    if (round == kFirstRounds - 1) {
      SleepFor(500);
      files = CountFiles();
    }
  }
  // Threads that have been told to end take a moment. GLib keeps three for itself.
  constexpr std::ptrdiff_t kMaxThreads = 7;
  WaitUntil(Patience(3000), [&] { return CountThreads() <= kMaxThreads && CountFiles() <= files; });
  EXPECT_LE(CountThreads(), kMaxThreads);
  // GStreamer's HTTP source now and then forgets a connection whose read is cancelled. What the
  // player forgets, it forgets in every round.
  EXPECT_LT(CountFiles(), files + kCountedRounds);
}

TEST(Lifetime, NoCallbackComesAfterDeletionOrUnregistering) {
  for (const bool deleted : {true, false}) {
    SCOPED_TRACE(deleted);
    Rig rig;
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};
    rig.recorder.inside = [&](int) {
      ++begun;
      SleepFor(20);
      ++ended;
    };
    rig.AskForChallenges(50);
    ASSERT_TRUE(rig.recorder.WaitFor(kDrmData, 2, Patience(2000)));
    deleted ? rig.player.reset() : (void)rig.player->SetMessageCallback(nullptr, nullptr);
    const int count = begun;
    EXPECT_EQ(count, ended);
    SleepFor(100);
    EXPECT_EQ(count, begun);
    rig.player.reset();
  }
}

TEST(Lifetime, MayBeDeletedFromInsideItsCallback) {
  for (const int id : {kDrmData, kEndOfStream, 186}) {
    Rig rig;
    IZunoPlayer* player = rig.player.release();
    std::promise<void> returned;  // the last operation of this thread
    rig.recorder.inside = [&](int got) {
      if (got == id) {
        returned.get_future().wait();
        delete player;
      }
    };
    if (id == 186) {
      EXPECT_FALSE(player->InitPlayer("/nonexistent", 0));
    } else {
      ASSERT_TRUE(player->InitPlayer(Media("clip.webm").c_str(), 19800));
      ASSERT_TRUE(player->Play(0));
    }
    if (id == kDrmData) {
      player->SetDrmInfo("PROPERTY_REQUEST_CHALLENGE_DATA", 31, "x", 1, 0);
    }
    returned.set_value();
    ASSERT_TRUE(rig.recorder.WaitFor(id, 1, Patience(3000)));
  }
}

TEST(Lifetime, OperationsWorkInsideCallbacks) {
  Rig rig;
  const std::string clip = Media("clip.webm");
  IZunoPlayer* player = rig.player.get();
  std::atomic<int> width{0};
  std::promise<bool> restarted;
  rig.recorder.inside = [&](int id) {
    if (id == kResolution) {
      width = rig.Resolution().first;
    }
    if (id == kEndOfStream) {
      restarted.set_value(player->InitPlayer(clip.c_str(), 1000) && player->Play(0) &&
                          player->Seek(3000) && player->Pause() && player->Resume());
    }
  };
  ASSERT_TRUE(rig.PlayFile(clip, 19700));
  auto future = restarted.get_future();
  ASSERT_EQ(std::future_status::ready, future.wait_for(Patience(5000)));
  EXPECT_TRUE(future.get());
  EXPECT_EQ(640, width);
  EXPECT_TRUE(rig.WaitForPosition(3100));
  rig.player.reset();
}

TEST(Lifetime, OperationsGoOnWhileACallbackIsHeldUp) {
  Rig rig;
  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
  rig.recorder.inside = [released](int) { released.wait(); };
  rig.AskForChallenges(1);
  const auto begin = TestClock::now();
  EXPECT_TRUE(rig.PlayFile(Media("clip.webm")));
  EXPECT_TRUE(rig.player->Seek(5000));
  EXPECT_TRUE(rig.player->SetPlaySpeed(2));
  EXPECT_TRUE(rig.player->Pause());
  EXPECT_TRUE(rig.player->Stop());
  EXPECT_FALSE(rig.player->InitPlayer("/nonexistent", 0));
  EXPECT_LT(MillisecondsSince(begin), Slack(3000));
  release.set_value();
  rig.player.reset();
}

TEST(Lifetime, PlayersDoNotDisturbEachOther) {
  Rig first;
  Rig second;
  ASSERT_TRUE(first.PlayFile(Media("clip.webm"), 5000));
  const auto begin = TestClock::now();
  ASSERT_TRUE(second.PlayFile(Media("tracks.mkv")));
  ASSERT_TRUE(second.WaitForPosition(500));
  ASSERT_TRUE(second.player->Stop());
  const int least = 5000 + MillisecondsSince(begin) - Slack(100);
  EXPECT_GE(first.Position(), least);
  EXPECT_FALSE(second.player->InitPlayer("/nonexistent", 0));
  EXPECT_TRUE(first.recorder.Errors().empty());
}

}  // namespace
