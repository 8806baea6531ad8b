// Timed text: every cue once, at its time.
#include <gtest/gtest.h>

#include "http_server.h"
#include "player_harness.h"

namespace {

const std::vector<std::string> kCues = {"First cue", "Second cue,\non two lines",
                                        "A long third cue", "Fish & chips"};

TEST(TimedText, ArrivesAtItsTime) {
  for (const std::string name : {"cues.srt", "cues.vtt"}) {
    SCOPED_TRACE(name);
    Rig rig;
    ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 0));
    ASSERT_TRUE(rig.player->StartSubtitle(Media(name).c_str(), 0));
    std::vector<int> positions;
    rig.recorder.inside = [&](int id) {
      if (id == kTimedText) {
        positions.push_back(rig.Position());
      }
    };
    ASSERT_TRUE(rig.player->Play(0));
    const auto begin = TestClock::now();
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 2, Patience(4000)));
    const auto notes = rig.recorder.Notes(kTimedText);
    ASSERT_EQ(2U, notes.size());
    for (std::size_t i = 0; i < 2; ++i) {
      const int expected = i == 0 ? 1000 : 3000;
      EXPECT_EQ(kCues[i], notes[i].text);
      EXPECT_TRUE(notes[i].has_record);
      EXPECT_NEAR(expected, positions[i], Slack(200));
      const std::chrono::duration<double, std::milli> after = notes[i].time - begin;
      EXPECT_NEAR(expected, after.count(), Slack(200));
    }

    // Faster: the next cue is 3 s of the medium away.
    ASSERT_TRUE(rig.player->SetPlaySpeed(3.0F));
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(2000)));
    EXPECT_NEAR(6000, positions[2], Slack(300));

    // Paused before a cue, it waits.
    ASSERT_TRUE(rig.player->Pause());
    ASSERT_TRUE(rig.player->SetPlaySpeed(1.0F));
    ASSERT_TRUE(rig.player->Seek(12800));
    SleepFor(600);
    EXPECT_EQ(3U, rig.recorder.Texts().size());
    ASSERT_TRUE(rig.player->Resume());
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 4, Patience(2000)));
    EXPECT_NEAR(13000, positions[3], Slack(200));
    EXPECT_EQ(kCues, rig.recorder.Texts());
    rig.player.reset();
  }
}

TEST(TimedText, FollowsSeeks) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(rig.player->StartSubtitle(("file://" + Media("cues.srt")).c_str(), 0));
  struct Row {
    int target;
    std::vector<std::string> at_once;
  };
  const Row rows[] = {
      {8000, {kCues[2]}}, {12200, {}},
      {1500, {kCues[0]}}, {2500, {}},  // a cue's end is no longer part of it
      {6000, {kCues[2]}},              // its start is
      {8000, {kCues[2]}},
  };
  for (const bool paused : {false, true}) {
    if (paused) {
      ASSERT_TRUE(rig.player->Pause());
    }
    for (const Row& row : rows) {
      SCOPED_TRACE(std::to_string(row.target) + (paused ? " paused" : " playing"));
      if (!paused && row.at_once.empty()) {
        continue;  // soon the next cue's time has come
      }
      rig.recorder.Clear();
      ASSERT_TRUE(rig.player->Seek(row.target));
      rig.recorder.WaitFor(kTimedText, row.at_once.size(), Patience(500));
      SleepFor(100);
      EXPECT_EQ(row.at_once, rig.recorder.Texts());
    }
  }
}

TEST(TimedText, EverySeekOfAQuickRowSendsItsCue) {
  Rig rig;
  ASSERT_TRUE(rig.player->StartSubtitle(Media("cues.srt").c_str(), 0));
  ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 0));
  for (const int target : {1100, 3100, 5100, 7100}) {
    ASSERT_TRUE(rig.player->Seek(target));
  }
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(500)));
  EXPECT_EQ((std::vector<std::string>{kCues[0], kCues[1], kCues[2]}), rig.recorder.Texts());
}

TEST(TimedText, CanComeFirstAndBeReplaced) {
  const HttpServer server(ZUNO_TEST_MEDIA);
  Rig rig;
  ASSERT_TRUE(rig.player->StartSubtitle(Media("cues.srt").c_str(), 0));
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 800));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 1, Patience(1000)));
  EXPECT_EQ(kCues[0], rig.recorder.Texts().front());
  rig.recorder.Clear();

  const std::string other =
      WriteFile("other.srt", "1\r\n00:00:00,500 --> 00:00:19,000\r\nOther\r\n");
  ASSERT_TRUE(rig.player->StartSubtitle(other.c_str(), 0));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 1, Patience(500)));
  ASSERT_TRUE(rig.WaitForPosition(3300));  // beyond the start of a cue of the file before
  EXPECT_EQ(std::vector<std::string>{"Other"}, rig.recorder.Texts());

  // From a server; and it ends with its medium.
  ASSERT_TRUE(rig.player->StartSubtitle(server.Url("cues.vtt").c_str(), 0));
  ASSERT_TRUE(rig.player->Seek(7000));
  ASSERT_TRUE(rig.recorder.WaitForText(kCues[2]));
  rig.recorder.Clear();
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 900));
  ASSERT_TRUE(rig.WaitForPosition(1600));
  EXPECT_EQ(std::vector<std::string>{}, rig.recorder.Texts());
}

TEST(TimedText, FilesAreReadOrRefused) {
  struct Row {
    const char* what;
    std::string contents;
    bool accepted;
    std::vector<std::string> texts;  // of the cues at 10 s
  };
  const std::string times = "00:00:09,000 --> 00:00:19,000\n";
  const Row rows[] = {
      {"empty", "", false, {}},
      {"blank lines", "\n\n\n", false, {}},
      {"prose", "Once upon a time\nthere was a file.\n", false, {}},
      {"no arrow", "1\n00:00:09,000 00:00:19,000\nText\n", false, {}},
      {"no end", "1\n00:00:09,000 -->\nText\n", false, {}},
      {"no fraction", "1\n00:00:09 --> 00:00:19\nText\n", false, {}},
      {"seconds beyond 59", "1\n00:00:61,000 --> 00:01:09,000\nText\n", false, {}},
      {"ends before it starts", "1\n00:00:19,000 --> 00:00:09,000\nText\n", false, {}},
      {"negative", "1\n-00:00:09,000 --> 00:00:19,000\nText\n", false, {}},
      {"huge number", "1\n99999999999999999999:00:00,000 --> 00:00:19,000\nText\n", false, {}},
      {"broken later on", times + "Text\n\n2\n00:00:xx,000 --> 00:00:19,000\nMore\n", false, {}},
      {"NUL byte", times + std::string("Te\0xt\n", 6), false, {}},
      {"not UTF-8", times + "Caf\xE9\n", false, {}},
      {"WebVTT without a blank after its name", "WEBVTTX\n\n" + times + "Text\n", false, {}},
      {"WebVTT with a broken time", "WEBVTT\n\n00:09.000 --> soon\nText\n", false, {}},
      {"WebVTT without cues", "WEBVTT\n\nNOTE nothing yet\n", true, {}},
      {"no number, no last line end", times + "Text", true, {"Text"}},
      {"byte order mark, CR LF",
       "\xEF\xBB\xBF"
       "1\r\n00:00:09,000 --> 00:00:19,000\r\nTe\r\nxt\r\n",
       true,
       {"Te\nxt"}},
      {"old line ends", "1\r00:00:09,000 --> 00:00:19,000\rText\r", true, {"Text"}},
      {"WebVTT header text, style, settings",
       "WEBVTT - a film\nKind: captions\n\nSTYLE\n::cue { color: red }\n\n"
       "id\n00:09.000 --> 00:19.000 line:0 position:20%\nText\n",
       true,
       {"Text"}},
      {"tags and references",
       times + "{\\an8}<font color=\"red\">A</font> &lt;b&gt; &#65;&#x42; 1 < 2 & 3 &bogus; &#0;\n",
       true,
       {"A <b> AB 1 < 2 & 3 &bogus; \xEF\xBF\xBD"}},
      {"unclosed tag", times + "a <b\n", true, {"a <b"}},
      {"out of order",
       "2\n00:00:09,500 --> 00:00:19,000\nLater\n\n1\n" + times + "Earlier\n",
       true,
       {"Earlier", "Later"}},
      {"long ended",
       "1\n00:00:01,000 --> 00:00:02,000\nGone\n\n2\n" + times + "Text\n",
       true,
       {"Text"}},
      {"nothing but tags",
       "1\n00:00:09,000 --> 00:00:19,000\n<i></i>\n\n2\n" + times + "Text\n",
       true,
       {"Text"}},
  };
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(rig.player->Pause());
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_TRUE(rig.player->Seek(0));
    ASSERT_EQ(row.accepted,
              rig.player->StartSubtitle(WriteFile("table.srt", row.contents).c_str(), 0));
    if (row.accepted) {
      rig.recorder.Clear();
      ASSERT_TRUE(rig.player->Seek(10000));
      rig.recorder.WaitFor(kTimedText, row.texts.size(), Patience(500));
      EXPECT_EQ(row.texts, rig.recorder.Texts());
    }
  }
  for (const char* path : {"", "/nonexistent.srt", "/", "/dev/zero", "file://elsewhere/cues.srt"}) {
    EXPECT_FALSE(rig.player->StartSubtitle(path, 0)) << path;
  }
  EXPECT_FALSE(rig.player->StartSubtitle(nullptr, 0));
}

}  // namespace
