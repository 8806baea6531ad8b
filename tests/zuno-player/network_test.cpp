// Sources on a server, adaptive media, and everything that goes wrong with a source.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "http_server.h"
#include "player_harness.h"
#include "slurp.h"
#include "wait_until.h"

namespace {

// Every run of percentages begins below 100, ends with its only 100, and repeats none in a row.
void ExpectWholePeriods(const Recorder& recorder) {
  unsigned int previous = 100;
  for (const auto& note : recorder.Notes(kBuffering)) {
    EXPECT_TRUE(note.has_record);
    EXPECT_LE(note.percent, 100U);
    EXPECT_NE(previous, note.percent);
    previous = note.percent;
  }
  EXPECT_EQ(100U, previous);
}

TEST(Network, HoldsWhenItRunsDry) {
  HttpServer::Options slow;
  slow.bytes_per_second = 6000;  // of 8000 that it needs
  const HttpServer server(ScratchFolder(), slow);
  WriteFile("slow.wav", Wave(60));
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(server.Url("slow.wav")));
  const auto buffers = [&rig](bool still) {
    return WaitUntil(Patience(8000), [&] {
      return (rig.recorder.Notes(kBuffering).back().percent < 100) == still;
    });
  };
  ASSERT_TRUE(rig.WaitForPosition(100));
  for (const bool paused : {false, true}) {
    SCOPED_TRACE(paused);
    ASSERT_TRUE(buffers(true));
    EXPECT_EQ(paused, paused && rig.player->Pause());
    const int position = rig.Position();
    ASSERT_TRUE(buffers(false));
    SleepFor(paused ? 500 : 0);
    EXPECT_NEAR(position, rig.Position(), Slack(100));
    EXPECT_EQ(paused, paused && rig.player->Resume());
    ASSERT_TRUE(rig.WaitForPosition(position + 300));
  }
  ASSERT_TRUE(buffers(true));
  ASSERT_TRUE(rig.player->Stop());
  SleepFor(200);
  ExpectWholePeriods(rig.recorder);
  EXPECT_TRUE(rig.recorder.Errors().empty());
}

TEST(Network, SeeksWhereTheSourceCan) {
  HttpServer::Options options;
  const HttpServer server(ZUNO_TEST_MEDIA);
  const HttpServer scratch_server(ScratchFolder());
  options.ranges = false;
  const HttpServer rangeless_server(ZUNO_TEST_MEDIA, options);
  const std::string clip = Slurp(Media("clip.webm"));
  const std::string half = WriteFile("half.webm", clip.substr(0, clip.size() / 2));
  std::string stream;
  for (const char* segment : {"0", "1", "2", "3", "4", "5"}) {
    stream += Slurp(Media(std::string("hls/high/00") + segment + ".ts"));
  }
  WriteFile("film.ts", stream);
  struct Row {
    const char* what;
    std::string source;
    bool far;   // seeks to 11000
    bool near;  // seeks to 3000
  };
  const Row rows[] = {{"server", server.Url("clip.webm"), true, true},
                      {"server without ranges", rangeless_server.Url("clip.webm"), false, false},
                      {"broadcast stream", scratch_server.Url("film.ts"), true, true},
                      {"breaks off", half, false, true},
                      {"breaks off on the server", scratch_server.Url("half.webm"), false, true}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Rig rig;
    ASSERT_TRUE(rig.PlayFile(row.source));
    for (const auto& [target, arrives] :
         {std::pair(11000, row.far), {3000, row.near}, {-1, false}}) {
      const int position = rig.Position();
      EXPECT_EQ(arrives, rig.player->Seek(target)) << target;
      EXPECT_NEAR(arrives ? target : position, rig.Position(), Slack(300));
      EXPECT_TRUE(rig.WaitForPosition(rig.Position() + 300));
    }
    EXPECT_TRUE(rig.recorder.Notes(kEndOfStream).empty());
    EXPECT_TRUE(rig.recorder.Errors().empty());
  }
}

TEST(Network, PlaysAnAdaptiveMedium) {
  const HttpServer server(ZUNO_TEST_MEDIA);
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(server.Url("hls/master.m3u8")));
  EXPECT_NEAR(12000, rig.Duration(), 200);
  ASSERT_TRUE(rig.WaitForPosition(1000));
  // Each jump buffers anew, and none may add the time that was played before it.
  for (const int target : {8000, 2000, 6000, 0, 4000, 8000}) {
    const auto begin = TestClock::now();
    ASSERT_TRUE(rig.player->Seek(target));
    EXPECT_TRUE(rig.WaitForPosition(target + 600)) << target;
    const int position = rig.Position();
    EXPECT_LE(position, target + MillisecondsSince(begin) + Slack(200)) << target;
  }
  ASSERT_TRUE(rig.recorder.WaitFor(kEndOfStream, 1, Patience(6000)));
  ExpectWholePeriods(rig.recorder);
  EXPECT_FALSE(rig.recorder.Notes(kBuffering).empty());
  // A broadcast stream's count begins before its first picture.
  ASSERT_TRUE(rig.player->InitPlayer(Media("hls/low/000.ts").c_str(), 0));
  EXPECT_EQ(0, rig.Position());
  // The sizes told are those of variants, each told once it applies.
  EXPECT_FALSE(rig.recorder.Notes(kResolution).empty());
  EXPECT_TRUE(rig.recorder.Errors().empty());
}

TEST(Network, BitratesComeInThePlaylistsOrder) {
  const HttpServer server(ZUNO_TEST_MEDIA);
  const std::vector<unsigned int> ladder = {450000, 250000, 850000};
  Rig rig;
  std::vector<unsigned int> bitrates;
  EXPECT_FALSE(rig.player->GetAvailableBitrates(&bitrates));  // nothing is open
  for (const std::string& source : {server.Url("hls/master.m3u8"), Media("hls/master.m3u8")}) {
    SCOPED_TRACE(source);
    ASSERT_TRUE(rig.player->InitPlayer(source.c_str(), 0));
    bitrates = {1, 2, 3, 4};
    EXPECT_TRUE(rig.player->GetAvailableBitrates(&bitrates));
    EXPECT_EQ(ladder, bitrates);
  }
  // Names inside other names and inside quotes count as little as audio and trick-play lists do.
  const std::string tricky = WriteFile(
      "tricky.m3u8",
      "#EXTM3U\n"
      "#EXT-X-I-FRAME-STREAM-INF:BANDWIDTH=99,URI=\"x.m3u8\"\n"
      "#EXT-X-STREAM-INF:AVERAGE-BANDWIDTH=1,CODECS=\"a,BANDWIDTH=2\", BANDWIDTH=700000\n" +
          Media("hls/high/index.m3u8") + "\n#EXT-X-STREAM-INF:CODECS=\"avc1\"\n" +
          Media("hls/high/index.m3u8") + "\n");
  const std::string base = "><BaseURL>" + server.Url("clip.webm") + "</BaseURL></Representation>";
  const std::string dash =
      WriteFile("ladder.mpd",
                "<MPD xmlns='urn:mpeg:dash:schema:mpd:2011' type='static' minBufferTime='PT1S'"
                " mediaPresentationDuration='PT20S'><Period>"
                "<AdaptationSet mimeType='video/webm'><Representation id='1' bandwidth='400000'" +
                    base + "<Representation id='2' bandwidth='300000'" + base +
                    "</AdaptationSet><AdaptationSet><Representation id='3' mimeType='audio/webm'"
                    " bandwidth='64000'" +
                    base + "</AdaptationSet></Period></MPD>");
  for (const auto& [source, expected] :
       {std::pair(tricky, std::vector{700000U}), {dash, {400000U, 300000U}}}) {
    ASSERT_TRUE(rig.player->InitPlayer(source.c_str(), 0));
    EXPECT_TRUE(rig.player->GetAvailableBitrates(&bitrates));
    EXPECT_EQ(expected, bitrates);
  }

  for (const std::string& source :
       {Media("clip.webm"), server.Url("clip.webm"), Media("hls/low/index.m3u8")}) {
    SCOPED_TRACE(source);
    ASSERT_TRUE(rig.player->InitPlayer(source.c_str(), 0));
    EXPECT_FALSE(rig.player->GetAvailableBitrates(&bitrates));
    EXPECT_TRUE(bitrates.empty());
  }
  EXPECT_FALSE(rig.player->GetAvailableBitrates(nullptr));
}

TEST(Errors, EachBadSourceGivesOneMessageAndAGoodOnePlaysAfterwards) {
  HttpServer::Options options;
  const HttpServer server(ZUNO_TEST_MEDIA);
  options.bytes_per_second = 50;
  const HttpServer trickling_server(ZUNO_TEST_MEDIA, options);
  options.answer = false;
  const HttpServer mute_server(ZUNO_TEST_MEDIA, options);
  const std::string clip = Slurp(Media("clip.webm"));
  std::string noise(200000, '\0');
  unsigned int state = 1;
  for (char& byte : noise) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<char>(state >> 24U);
  }
  const std::string pipe = ScratchFolder() + "/pipe.webm";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  struct Row {
    const char* what;
    std::string source;
    int error;        // -1: refused without one
    int seconds = 1;  // so long it takes at most
  };
  const Row rows[] = {
      {"no text", "", -1},
      {"another host's file", "file://elsewhere/clip.webm", -1},
      {"missing file", ScratchFolder() + "/missing.webm", 186},
      {"folder", ScratchFolder(), 186},
      {"device", "/dev/zero", 186},
      {"pipe", pipe, 186},
      {"unknown scheme", "nonsense://clip", 186},
      {"refused connection", "http://127.0.0.1:" + std::to_string(UnusedPort()) + "/clip.webm",
       134},
      {"unknown host", "http://host.invalid/clip.webm", 134},
      {"missing on the server", server.Url("missing.webm"), 134},
      {"silent server", mute_server.Url("clip.webm"), 134, 6},
      {"trickling server", trickling_server.Url("clip.webm"), 134, 11},
      {"empty file", WriteFile("empty.webm", ""), 182},
      {"plain text", WriteFile("text.webm", std::string(2000, 'x')), 182},
      {"noise", WriteFile("noise.webm", noise), 182},
      {"noise after a good beginning", WriteFile("broken.webm", clip.substr(0, 300) + noise), 182},
      {"playlist of missing segments",
       WriteFile("gone.m3u8",
                 "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\nno.ts\n#EXT-X-ENDLIST\n"),
       186, 3},
  };
  Rig rig;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    rig.recorder.Clear();
    const auto begin = TestClock::now();
    EXPECT_FALSE(rig.player->InitPlayer(row.source.c_str(), 0));
    EXPECT_LT(MillisecondsSince(begin), Slack(1000 * (row.seconds + 1)));
    EXPECT_FALSE(rig.player->Play(0));
    if (row.error >= 0) {
      rig.recorder.WaitFor(row.error, 1, Patience(1000));
    }
    SleepFor(100);
    const auto errors = rig.recorder.Errors();
    ASSERT_EQ(row.error < 0 ? 0U : 1U, errors.size());
    if (row.error >= 0) {
      EXPECT_EQ(row.error, errors[0].id);
      EXPECT_FALSE(errors[0].has_record);
    }
    if (row.error == 186) {
      EXPECT_TRUE(rig.player->Stop() && !rig.player->Play(0));
      EXPECT_TRUE(rig.recorder.WaitFor(row.error, 2, Patience(1000)));
    }
    rig.recorder.Clear();
    EXPECT_TRUE(rig.PlayFile(Media("clip.webm")));
    EXPECT_TRUE(rig.recorder.Errors().empty());
  }
  EXPECT_FALSE(rig.player->InitPlayer(nullptr, 0));
}

TEST(Errors, AServerThatGivesUpInTheMiddleIsReportedOnce) {
  WriteFile("stalls.wav", Wave(20));
  for (const bool hang_up : {true, false}) {
    SCOPED_TRACE(hang_up);
    HttpServer::Options options;
    options.stall_after = 20000;
    options.hang_up = hang_up;
    const HttpServer server(ScratchFolder(), options);
    Rig rig;
    const auto begin = TestClock::now();
    EXPECT_TRUE(rig.PlayFile(server.Url("stalls.wav")) || hang_up);
    ASSERT_TRUE(rig.recorder.WaitFor(134, 1, Patience(5000)));
    EXPECT_LT(MillisecondsSince(begin), Slack(hang_up ? 1500 : 13000));
    SleepFor(300);
    EXPECT_EQ(1U, rig.recorder.Errors().size());
    EXPECT_EQ(-1, rig.Position());
    EXPECT_FALSE(rig.player->Resume());
    EXPECT_TRUE(rig.recorder.Notes(kEndOfStream).empty());
    EXPECT_TRUE(rig.PlayFile(Media("clip.webm")));
  }
}

}  // namespace
