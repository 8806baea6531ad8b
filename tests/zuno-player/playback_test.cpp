// Playing, pausing, seeking and speed, measured against the clock on real media.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

#include "http_server.h"
#include "player_harness.h"

namespace {

// Playing gets as far in so much time as the clock at this speed: however late this thread reads
// either, the one lies within what the other allows.
void ExpectProgress(const Rig& rig, int msec, double speed, int tolerance = 100) {
  const auto before = TestClock::now();
  const int first = rig.Position();
  const auto begin = TestClock::now();
  SleepFor(msec);
  const int least = MillisecondsSince(begin);
  const int progress = rig.Position() - first;
  EXPECT_GE(progress, speed * (least - Slack(tolerance)));
  EXPECT_LE(progress, speed * (MillisecondsSince(before) + Slack(tolerance)));
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
    EXPECT_EQ(std::pair(640, 360), rig.Resolution());
    EXPECT_NEAR(20000, rig.Duration(), 100);
    EXPECT_EQ(0, rig.Position());
    EXPECT_TRUE(rig.recorder.WaitFor(kResolution, 1, Patience(1000)));
    EXPECT_EQ(1U, rig.recorder.Notes(kResolution).size());
    EXPECT_TRUE(rig.recorder.WaitFor(kBuffering, 2, Patience(1000)));
    EXPECT_TRUE(rig.recorder.Errors().empty());
  }
}

TEST(Playback, KeepsTimeAndReportsItEvery250Ms) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(rig.WaitForPosition(300));
  rig.recorder.Clear();
  const auto begin = TestClock::now();
  ExpectProgress(rig, 3000, 1);
  const std::vector<int> reports = rig.recorder.Reports();
  EXPECT_LE(reports.size(), static_cast<std::size_t>(MillisecondsSince(begin)) / 250 + 1);
  ASSERT_GE(reports.size(), 6U);
  std::vector<int> gaps;
  for (std::size_t i = 1; i < reports.size(); ++i) {
    gaps.push_back(reports[i] - reports[i - 1]);
  }
  // One may be late, and the next one not.
  std::sort(gaps.begin(), gaps.end());
  EXPECT_GE(gaps.front(), 100);
  EXPECT_NEAR(250, gaps[gaps.size() / 2], Slack(30));

  ASSERT_TRUE(rig.player->Pause());
  SleepFor(Slack(50));  // a report that was under way
  rig.recorder.Clear();
  const int position = rig.Position();
  SleepFor(1000);
  EXPECT_NEAR(position, rig.Position(), 1);
  EXPECT_TRUE(rig.recorder.Reports().empty());
  ASSERT_TRUE(rig.player->Resume());
  ExpectProgress(rig, 1000, 1);
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
    const auto begin = TestClock::now();
    ASSERT_TRUE(rig.player->Seek(target)) << target;
    const int position = rig.Position();
    EXPECT_GE(position, target - 1);
    EXPECT_LE(position, target + MillisecondsSince(begin));
    ExpectProgress(rig, 500, 1);
  }
  ASSERT_TRUE(rig.player->Pause());
  ASSERT_TRUE(rig.player->Seek(7000));
  SleepFor(300);
  EXPECT_NEAR(7000, rig.Position(), 1);
  for (const int target : {-1, std::numeric_limits<int>::min(), rig.Duration() + 1}) {
    EXPECT_FALSE(rig.player->Seek(target)) << target;
    EXPECT_NEAR(7000, rig.Position(), 1);
  }
  SleepFor(50);
  EXPECT_NE(7000, rig.recorder.Reports().back());  // it says nothing while paused
  EXPECT_TRUE(rig.recorder.Notes(kEndOfStream).empty());
}

TEST(Playback, StartsAtTheOffset) {
  Rig rig;
  ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 12500));
  EXPECT_NEAR(12500, rig.Position(), 1);
  ASSERT_TRUE(rig.player->Play(0));
  ExpectProgress(rig, 1000, 1);
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
    ExpectProgress(rig, 1500, static_cast<double>(speed));
  }
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float speed :
       {0.0F, -1.0F, 1e-30F, 1e30F, std::nanf(""), kInfinity, -kInfinity, 1.0F / 17, 17.0F}) {
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
  ASSERT_TRUE(rig.player->Seek(6000));  // which keeps it
  ExpectProgress(rig, 1000, 2);
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 500));
  ExpectProgress(rig, 500, 1);
}

TEST(Playback, TellsTheEndOnceAndStartsOver) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 19000));
  ASSERT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(4000)));
  SleepFor(500);
  EXPECT_EQ(1U, rig.recorder.Notes(kEndOfStream).size());
  EXPECT_NEAR(rig.Duration(), rig.Position(), 1);
  EXPECT_FALSE(rig.player->Pause());
  const auto begin = TestClock::now();
  ASSERT_TRUE(rig.player->Play(0));
  ASSERT_TRUE(rig.WaitForPosition(500));
  EXPECT_LE(rig.Position(), MillisecondsSince(begin));
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
  EXPECT_EQ(std::pair(-1, -1), rig.Resolution());
  EXPECT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(4000)));
  EXPECT_TRUE(rig.recorder.Notes(kResolution).empty());
}

// By the table of docs/page-api.md; '+' accepts. What may lead to another state comes first.
TEST(Playback, AnswersByState) {
  const std::string clip = Media("clip.webm");
  const auto init = [&clip](Rig* s) { return s->player->InitPlayer(clip.c_str(), 0); };
  const auto play = [&](Rig* s) { return init(s) && s->player->Play(0); };
  const struct {
    const char* operation;
    std::function<bool(Rig*)> call;
  } columns[] = {{"Play", [](Rig* s) { return s->player->Play(0); }},
                 {"Pause", [](Rig* s) { return s->player->Pause(); }},
                 {"Resume", [](Rig* s) { return s->player->Resume(); }},
                 {"Seek", [](Rig* s) { return s->player->Seek(1000); }},
                 {"Stop", [](Rig* s) { return s->player->Stop(); }},
                 {"SetPlaySpeed", [](Rig* s) { return s->player->SetPlaySpeed(1.5F); }},
                 {"GetCurrentPosition", [](Rig* s) { return s->Position() >= 0; }},
                 {"GetDuration", [](Rig* s) { return s->Duration() >= 0; }},
                 {"GetResolution", [](Rig* s) { return s->Resolution().first >= 0; }},
                 {"GetTotalNumOfStreamID",
                  [](Rig* s) {
                    int count = 0;
                    return s->player->GetTotalNumOfStreamID(1, &count);
                  }},
                 {"SetStreamID", [](Rig* s) { return s->player->SetStreamID(1, 0); }}};
  const struct {
    const char* state;
    std::function<bool(Rig*)> reach;
    std::string answers;
  } rows[] = {
      {"none", [](Rig*) { return true; }, "----+------"},
      {"opened", init, "+--++++++++"},
      {"playing", play, "-+-++++++++"},
      {"paused", [&](Rig* s) { return play(s) && s->player->Pause(); }, "+-+++++++++"},
      {"ended",
       [&](Rig* s) {
         s->recorder.Clear();
         return s->PlayFile(clip, 19900) && s->recorder.WaitFor(kEndOfStream, 1, Patience(3000));
       },
       "+--++-+++++"},
      {"stopped", [&](Rig* s) { return play(s) && s->player->Stop(); }, "+---+------"},
      {"failed", [](Rig* s) { return !s->player->InitPlayer("/nonexistent", 0); }, "----+------"},
  };
  for (const auto& row : rows) {
    Rig rig;
    ASSERT_TRUE(row.reach(&rig));
    for (std::size_t column = 0; column < row.answers.size(); ++column) {
      SCOPED_TRACE(std::string(columns[column].operation) + " when " + row.state);
      const bool accepts = row.answers[column] == '+';
      EXPECT_EQ(accepts, columns[column].call(&rig));
      ASSERT_TRUE(!accepts || column > 4 || row.reach(&rig));
    }
    // Whatever was refused or done, a new source plays.
    EXPECT_TRUE(play(&rig));
  }
}

}  // namespace
