// Timed text: every cue once, at its time, and nothing after it.
#include <gtest/gtest.h>

#include <atomic>
#include <ctime>

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
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(4000)));
    // Faster: the next cue is 3 s of the medium away.
    ASSERT_TRUE(rig.player->SetPlaySpeed(3.0F));
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 5, Patience(2000)));
    // Paused before a cue, it waits.
    ASSERT_TRUE(rig.player->Pause());
    ASSERT_TRUE(rig.player->SetPlaySpeed(1.0F));
    ASSERT_TRUE(rig.player->Seek(12800));
    SleepFor(600);
    EXPECT_EQ(6U, rig.recorder.Texts().size());
    ASSERT_TRUE(rig.player->Resume());
    ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 7, Patience(2000)));
    EXPECT_EQ((std::vector<std::string>{kCues[0], "", kCues[1], "", kCues[2], "", kCues[3]}),
              rig.recorder.Texts());
    rig.player.reset();
    // Never before its time, and soon after; the jump ends the third.
    const int times[] = {1000, 2500, 3000, 5000, 6000, 12800, 13000};
    for (std::size_t i = 0; i < 7; ++i) {
      EXPECT_GE(positions[i], times[i]);
      EXPECT_LE(positions[i], times[i] + (i == 3 || i == 4 ? 3 : 1) * Slack(200));
    }
  }
}

// Where cues meet and overlap, and where nothing goes on; behind the first minute.
TEST(TimedText, EndsWithItsCue) {
  Rig rig;
  const std::string file = WriteFile("ends.srt",
                                     "0:1:0,2 --> 0:1:1,6\nA\n0:1:0,4 --> 0:1:0,8\nB\n"
                                     "0:1:0,8 --> 0:1:1,2\nC\n0:1:1,6 --> 0:1:1,76\nD\n"
                                     "0:1:4 --> 1:0:0\nE\n");
  std::atomic<int> position{0};
  rig.recorder.inside = [&](int id) { position = id == kTimedText ? rig.Position() : 0; };
  ASSERT_TRUE(rig.player->StartSubtitle(file.c_str(), 0));
  ASSERT_TRUE(rig.PlayFile(WriteFile("minute.wav", Wave(65)), 60000));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 6, Patience(2000)));
  EXPECT_NEAR(61760, position, Slack(200));  // just behind a report
  ASSERT_TRUE(rig.player->Seek(64500));
  ASSERT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(1000)));
  ASSERT_TRUE(rig.player->Seek(64000));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 9, Patience(500)));
  ASSERT_TRUE(rig.player->Stop());
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 10, Patience(500)));
  rig.player.reset();
  EXPECT_EQ((std::vector<std::string>{"A", "B", "C", "A", "D", "", "E", "", "E", ""}),
            rig.recorder.Texts());
}

TEST(TimedText, FollowsSeeks) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(rig.player->StartSubtitle(("file://" + Media("cues.srt")).c_str(), 0));
  const std::pair<int, std::string> rows[] = {
      {8000, kCues[2]}, {12200, ""},
      {1500, kCues[0]}, {2500, ""},  // a cue's end is no longer part of it
      {6000, kCues[2]},              // its start is
      {8000, kCues[2]},
  };
  for (const bool paused : {false, true}) {
    EXPECT_EQ(paused, paused && rig.player->Pause());
    for (const auto& [target, text] : rows) {
      SCOPED_TRACE(std::to_string(target) + (paused ? " paused" : " playing"));
      if (!paused && text.empty()) {
        continue;  // soon the next cue's time has come
      }
      rig.recorder.Clear();
      ASSERT_TRUE(rig.player->Seek(target));
      rig.recorder.WaitFor(kTimedText, 1, Patience(500));
      SleepFor(100);
      EXPECT_EQ(std::vector<std::string>{text}, rig.recorder.Texts());
    }
  }
  // In a quick row each sends its own.
  rig.recorder.Clear();
  for (const int target : {1100, 3100, 5100, 7100}) {
    ASSERT_TRUE(rig.player->Seek(target));
  }
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 4, Patience(500)));
  EXPECT_EQ((std::vector<std::string>{kCues[0], kCues[1], "", kCues[2]}), rig.recorder.Texts());
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
  ASSERT_TRUE(rig.player->Seek(7000));
  ASSERT_TRUE(rig.player->StartSubtitle(server.Url("cues.vtt").c_str(), 0));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(1000)));
  EXPECT_EQ(kCues[2], rig.recorder.Texts().back());
  rig.recorder.Clear();
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm"), 900));
  ASSERT_TRUE(rig.WaitForPosition(1600));
  EXPECT_EQ(std::vector<std::string>{""}, rig.recorder.Texts());
}

TEST(TimedText, FilesAreReadOrRefused) {
  Rig rig;
  const auto load = [&rig](const std::string& text) {
    return rig.player->StartSubtitle(WriteFile("table.srt", text).c_str(), 0);
  };
  const std::string times = "00:00:09,000 --> 00:00:19,000\n";
  const std::string refused[] = {
      "", "Once upon a time\nthere was a file.\n",
      "WEBVTTX\n\n" + times + "No blank after the name\n",
      "0:0:61 --> 0:1:9\nLong\n-0:0:9 --> 0:0:19\nNegative\n0:0:19 --> 0:0:9\nBack\n"
      "99999999999999999999:0:0 --> 0:0:19\nHuge\n",
      std::string(3000, '\0') + "\xFF\xD8\x81\n"};
  for (const std::string& text : refused) {
    EXPECT_FALSE(load(text)) << text;
  }
  for (const char* path : {"", "/nonexistent.srt", "/", "/dev/zero", "file://elsewhere/cues.srt"}) {
    EXPECT_FALSE(rig.player->StartSubtitle(path, 0)) << path;
  }
  EXPECT_FALSE(rig.player->StartSubtitle(nullptr, 0));

  const std::u16string wide = u"\uFEFF1\r\n00:00:09,000 --> 00:00:19,000\r\nCaf\u00e9\r\n";
  // Files, and the texts of their cues at 10 s.
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {"WEBVTT\n\nNOTE nothing yet\n", {}},
      {"\xEF\xBB\xBF\r\n1\r00:00:09,000 --> 00:00:19,000\r\nTe\rxt\r\n", {"Te\nxt"}},
      {std::string(reinterpret_cast<const char*>(wide.data()), 2 * wide.size()), {"Caf\u00e9"}},
      {times + "Caf\xE9", {"Caf\u00e9"}},
      {"1\n\n2\n0:0:9 --> 0:0:19.5 X1:20\nOne\n\nmore\n \n3\n0:0:xx,000 --> 0:0:19,000\nBad\n" +
           times + "42\n5\n" + times + "Two\n\n6\n00:00:09,000 --> 00:00:09,000\nZero\n\x1A",
       {"One\n\nmore", "42", "Two"}},
      {"2\n00:00:09,500 --> 00:00:19,000\nLater\n\n1\n" + times + "Earlier\n" +
           "00:00:01,000 --> 00:00:02,000\nGone\n\n" + times + "<i></i>\n",
       {"Earlier", "Later"}},
      {times + "{\\an8}<font color=\"red\">A</font> &lt;b&gt; &#65;&#x42; 1 < 2 & 3 &x; &#0; <b\n",
       {"A <b> AB 1 < 2 & 3 &x; \uFFFD <b"}},
      {"WEBVTT - a film\nKind: captions\n\nSTYLE\n::cue { color: red }\n\n0:09.000 --> "
       "00:19.000\nBad\n\n00:09,000 --> 00:19.000\nBad\n\n"
       "00:09.00 --> 00:19.000\nBad\n\n00:09.000 --> 00:19.0000\nBad\n\n00:09.000 --> 00:60.000\n"
       "Bad\n\n\v00:09.000 --> 00:19.000\nBad\n\n000:00:09.000\f-->\t60:00:19.000 line:0\nText\n",
       {"Text"}},
      {"WEBVTT\n00:09.000 --> 00:19.000\nOne\nid-->\n00:09.000 --> 00:19.000align:end\nTwo\n"
       "00:19.000 --> 00:09.000\nNever\n \n00:09.000 --> 00:19.000\n  Thr\xEF\xBF\xBD" +
           std::string("\0e\n\nid\n", 6),
       {"One", "Two", "  Thr\uFFFD\uFFFDe"}},
  };
  ASSERT_TRUE(rig.player->InitPlayer(Media("clip.webm").c_str(), 0));
  ASSERT_TRUE(rig.player->Seek(10000));
  for (const auto& [contents, texts] : rows) {
    SCOPED_TRACE(contents);
    rig.recorder.Clear();
    ASSERT_TRUE(load(contents));
    rig.recorder.WaitFor(kTimedText, texts.size(), Patience(500));
    EXPECT_EQ(texts, rig.recorder.Texts());
  }
}

TEST(TimedText, IsReadInLinearTime) {
  Rig rig;
  const auto size = static_cast<std::size_t>((1 << 20) / Slack(1) / Slack(1));
  const auto cpu_time = [&rig](const std::string& part, std::size_t wanted) {
    std::string text = "00:00:09,000 --> 00:00:19,000\n";
    while (text.size() < wanted) {
      text += part;
    }
    const std::string file = WriteFile("long.srt", text);
    const std::clock_t begin = std::clock();
    EXPECT_TRUE(rig.player->StartSubtitle(file.c_str(), 0)) << part;
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  };
  for (const char* part : {"<a", "{\\", "&#", "\n", "\n1\n\n", "-->\n", "00:1,0 --> 00:2,0\na\n"}) {
    EXPECT_LT(cpu_time(part, 4 * size), 10 * cpu_time(part, size) + 0.1) << part;
  }
}

}  // namespace
