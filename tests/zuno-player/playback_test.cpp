// Playing, pausing, seeking and speed, measured against the clock on real media.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

#include "http_server.h"
#include "player_harness.h"

namespace {

// How far playing gets in about so much time, and the time that really went by, in milliseconds.
struct Progress {
  int position;
  double time;
};

Progress ProgressIn(const Rig& rig, int msec) {
  const auto begin = TestClock::now();
  const int first = rig.Position();
  SleepFor(msec);
  const int last = rig.Position();
  return {last - first, static_cast<double>(MillisecondsSince(begin))};
}

TEST(Playback, OpensEverySpellingOfASource) {
  const HttpServer server(ZUNO_TEST_MEDIA);
  const std::string clip = Media("clip.webm");
  const std::string sources[] = {
      clip,
      std::filesystem::relative(clip).string(),
      "file://" + clip,
      "file:" + clip,
      "FILE://localhost" + clip,
      server.Url("clip.webm"),
  };
  Rig rig;
  for (const std::string& source : sources) {
    SCOPED_TRACE(source);
    rig.recorder.Clear();
    ASSERT_TRUE(rig.player->InitPlayer(source.c_str(), 0));
    int width = 0;
    int height = 0;
    EXPECT_TRUE(rig.player->GetResolution(&width, &height));
    EXPECT_EQ(640, width);
    EXPECT_EQ(360, height);
    EXPECT_NEAR(20000, rig.Duration(), 100);
    EXPECT_EQ(0, rig.Position());
    EXPECT_TRUE(rig.recorder.WaitFor(kResolution, 1, Patience(1000)));
    EXPECT_EQ(1U, rig.recorder.Notes(kResolution).size());
    EXPECT_TRUE(rig.recorder.Errors().empty());
  }
}

TEST(Playback, KeepsTimeAndReportsItEvery250Ms) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  SleepFor(500);
  rig.recorder.Clear();
  Progress progress = ProgressIn(rig, 3000);
  const auto reports = rig.recorder.Reports();
  EXPECT_NEAR(progress.time, progress.position, Slack(300));
  EXPECT_NEAR(progress.time / 250, static_cast<double>(reports.size()), Slack(2));
  ASSERT_GE(reports.size(), 2U);
  for (std::size_t i = 1; i < reports.size(); ++i) {
    EXPECT_GT(reports[i].position, reports[i - 1].position);
    EXPECT_NEAR(250, static_cast<double>(reports[i].position - reports[i - 1].position),
                Slack(150));
  }

  ASSERT_TRUE(rig.player->Pause());
  SleepFor(Slack(50));  // a report that was under way
  rig.recorder.Clear();
  EXPECT_NEAR(0, ProgressIn(rig, 1000).position, 1);
  EXPECT_TRUE(rig.recorder.Reports().empty());
  ASSERT_TRUE(rig.player->Resume());
  progress = ProgressIn(rig, 1000);
  EXPECT_NEAR(progress.time, progress.position, Slack(250));
  EXPECT_FALSE(rig.recorder.Reports().empty());

  ASSERT_TRUE(rig.player->Stop());
  SleepFor(Slack(50));
  rig.recorder.Clear();
  EXPECT_EQ(-1, rig.Position());
  SleepFor(600);
  EXPECT_TRUE(rig.recorder.Reports().empty());
}

TEST(Playback, SeeksExactly) {
  Rig rig;
  ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 0));
  for (const int target : {5000, 12345, 40, 0, 19990}) {
    ASSERT_TRUE(rig.player->Seek(target)) << target;
    EXPECT_NEAR(target, rig.Position(), 1);
  }
  ASSERT_TRUE(rig.player->Seek(3000));
  ASSERT_TRUE(rig.player->Play(0));
  for (const int target : {15000, 2000, 9876}) {
    ASSERT_TRUE(rig.player->Seek(target)) << target;
    EXPECT_NEAR(target, rig.Position(), Slack(300));
    const Progress progress = ProgressIn(rig, 500);
    EXPECT_NEAR(progress.time, progress.position, Slack(200));
  }
  ASSERT_TRUE(rig.player->Pause());
  ASSERT_TRUE(rig.player->Seek(7000));
  SleepFor(300);
  EXPECT_NEAR(7000, rig.Position(), 1);
  for (const int target : {-1, std::numeric_limits<int>::min(), 20500}) {
    EXPECT_FALSE(rig.player->Seek(target)) << target;
    EXPECT_NEAR(7000, rig.Position(), 1);
  }
}

TEST(Playback, StartsAtTheOffset) {
  Rig rig;
  ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 12500));
  EXPECT_NEAR(12500, rig.Position(), 1);
  ASSERT_TRUE(rig.player->Play(0));
  const auto begin = TestClock::now();
  SleepFor(1000);
  const int position = rig.Position();
  EXPECT_NEAR(12500 + MillisecondsSince(begin), position, Slack(250));
  for (const unsigned int beyond : {21000U, 4294967295U}) {
    EXPECT_FALSE(rig.player->InitPlayer(Media("clip.webm").c_str(), beyond)) << beyond;
    EXPECT_FALSE(rig.player->Play(0));
  }
}

TEST(Playback, PlaysAtOtherSpeeds) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  for (const float speed : {2.0F, 0.5F, 4.0F, 1.0F}) {
    SCOPED_TRACE(speed);
    ASSERT_TRUE(rig.player->SetPlaySpeed(speed));
    const Progress progress = ProgressIn(rig, 1500);
    EXPECT_NEAR(static_cast<double>(speed) * progress.time, progress.position,
                Slack(375) * static_cast<double>(speed));
  }
  const float refused[] = {0.0F,
                           -1.0F,
                           1e-30F,
                           1e30F,
                           std::numeric_limits<float>::quiet_NaN(),
                           std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity()};
  for (const float speed : refused) {
    EXPECT_FALSE(rig.player->SetPlaySpeed(speed)) << speed;
  }
  // Set while paused, it holds the position and counts from Resume on.
  ASSERT_TRUE(rig.player->Seek(4000));
  ASSERT_TRUE(rig.player->Pause());
  const int position = rig.Position();
  ASSERT_TRUE(rig.player->SetPlaySpeed(2.0F));
  EXPECT_NEAR(position, rig.Position(), 5);
  SleepFor(300);
  EXPECT_NEAR(position, rig.Position(), 5);
  ASSERT_TRUE(rig.player->Resume());
  const Progress progress = ProgressIn(rig, 1000);
  EXPECT_NEAR(2 * progress.time, progress.position, Slack(500));
}

TEST(Playback, TellsTheEndOnceAndStartsOver) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 19000));
  ASSERT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(4000)));
  SleepFor(500);
  EXPECT_EQ(1U, rig.recorder.Notes(kEndOfStream).size());
  EXPECT_NEAR(rig.Duration(), rig.Position(), 1);
  EXPECT_FALSE(rig.player->Pause());
  ASSERT_TRUE(rig.player->Play(0));
  const auto begin = TestClock::now();
  SleepFor(800);
  const int position = rig.Position();
  EXPECT_NEAR(MillisecondsSince(begin), position, Slack(300));
  // Seeking to the very end gets there as well, from which a seek goes on playing.
  ASSERT_TRUE(rig.player->Seek(rig.Duration()));
  ASSERT_TRUE(rig.recorder.WaitFor(kEndOfStream, 2, Patience(2000)));
  ASSERT_TRUE(rig.player->Seek(10000));
  EXPECT_TRUE(rig.WaitForPosition(10500));
  EXPECT_TRUE(rig.recorder.Errors().empty());
}

TEST(Playback, SoundAloneHasNoResolution) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(WriteFile("sound.wav", Wave(3)), 1000));
  EXPECT_NEAR(3000, rig.Duration(), 1);
  int width = 0;
  int height = 0;
  EXPECT_FALSE(rig.player->GetResolution(&width, &height));
  EXPECT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(4000)));
  EXPECT_TRUE(rig.recorder.Notes(kResolution).empty());
}

// The table of states beside the engine, row by row.
TEST(Playback, AnswersByState) {
  struct Row {
    const char* state;
    std::function<bool(Rig*)> reach;
    bool play, pause, resume, seek, speed, stop, getters;
  };
  const std::string clip = Media("clip.webm");
  const auto init = [&clip](Rig* s) { return s->player->InitPlayer(clip.c_str(), 0); };
  const auto play = [&](Rig* s) { return init(s) && s->player->Play(0); };
  const Row rows[] = {
      {"empty", [](Rig*) { return true; }, false, false, false, false, false, true, false},
      {"ready", init, true, false, false, true, true, true, true},
      {"playing", play, false, true, false, true, true, true, true},
      {"paused", [&](Rig* s) { return play(s) && s->player->Pause(); }, true, false, true, true,
       true, true, true},
      {"ended",
       [&](Rig* s) {
         return s->PlayFile(clip, 19900) && s->recorder.WaitFor(kEndOfStream, 1, Patience(3000));
       },
       true, false, false, true, false, true, true},
      {"stopped", [&](Rig* s) { return play(s) && s->player->Stop(); }, true, false, false, false,
       false, true, false},
      {"failed", [](Rig* s) { return !s->player->InitPlayer("/nonexistent", 0); }, false, false,
       false, false, false, true, false},
  };
  struct Column {
    const char* operation;
    bool Row::*expected;
    std::function<bool(IZunoPlayer*)> call;
  };
  const Column columns[] = {
      {"Play", &Row::play, [](IZunoPlayer* p) { return p->Play(0); }},
      {"Pause", &Row::pause, [](IZunoPlayer* p) { return p->Pause(); }},
      {"Resume", &Row::resume, [](IZunoPlayer* p) { return p->Resume(); }},
      {"Seek", &Row::seek, [](IZunoPlayer* p) { return p->Seek(1000); }},
      {"SetPlaySpeed", &Row::speed, [](IZunoPlayer* p) { return p->SetPlaySpeed(1.5F); }},
      {"Stop", &Row::stop, [](IZunoPlayer* p) { return p->Stop(); }},
      {"GetCurrentPosition", &Row::getters,
       [](IZunoPlayer* p) {
         int msec = 0;
         return p->GetCurrentPosition(&msec);
       }},
      {"GetDuration", &Row::getters,
       [](IZunoPlayer* p) {
         int msec = 0;
         return p->GetDuration(&msec);
       }},
      {"GetResolution", &Row::getters,
       [](IZunoPlayer* p) {
         int width = 0;
         int height = 0;
         return p->GetResolution(&width, &height);
       }},
      {"GetTotalNumOfStreamID", &Row::getters,
       [](IZunoPlayer* p) {
         int count = 0;
         return p->GetTotalNumOfStreamID(1, &count);
       }},
      {"SetStreamID", &Row::getters, [](IZunoPlayer* p) { return p->SetStreamID(1, 0); }},
  };
  for (const Row& row : rows) {
    for (const Column& column : columns) {
      Rig rig;
      ASSERT_TRUE(row.reach(&rig)) << row.state;
      EXPECT_EQ(row.*column.expected, column.call(rig.player.get()))
          << column.operation << " when " << row.state;
      // Whatever was refused or done, a new source plays.
      EXPECT_TRUE(play(&rig)) << column.operation << " when " << row.state;
    }
  }
}

}  // namespace
