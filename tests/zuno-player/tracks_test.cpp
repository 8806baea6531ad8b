// Tracks, languages and the sound that leaves the player.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "player_harness.h"
#include "slurp.h"
#include "wait_until.h"

namespace {

constexpr int kRate = 48000;
constexpr std::size_t kWindow = kRate / 10;
constexpr int kAudio = 1;
constexpr int kVideo = 3;
constexpr int kText = 4;
constexpr int kTimedTextFile = 5;

// Sends the sound of the players made meanwhile to a file.
class Capture {
 public:
  explicit Capture(const std::string& name) : path_(ScratchFolder() + "/" + name) {
    const std::string sink =
        "audioconvert ! audioresample ! audio/x-raw,format=S16LE,channels=1,rate=" +
        std::to_string(kRate) + " ! filesink sync=true buffer-mode=unbuffered location=" + path_;
    setenv("LUMIVEX_AUDIO_SINK", sink.c_str(), 1);
  }
  ~Capture() { unsetenv("LUMIVEX_AUDIO_SINK"); }

  // How many full tenths of a second there are so far.
  std::size_t Tenths() const {
    std::error_code none_yet;
    const std::uintmax_t size = std::filesystem::file_size(path_, none_yet);
    return none_yet ? 0 : size / (2 * kWindow);
  }
  bool WaitForTenths(std::size_t count) const {
    return WaitUntil(Patience(8000), [&] { return Tenths() >= count; });
  }

  // The frequency of each full tenth of a second so far, by counting the tone's zero crossings;
  // 0 for silence.
  std::vector<double> Frequencies() const {
    const std::string data = Slurp(path_);
    std::vector<double> frequencies;
    for (std::size_t begin = 0; (begin + kWindow) * 2 <= data.size(); begin += kWindow) {
      int crossings = 0;
      int peak = 0;
      int previous = 0;
      for (std::size_t i = begin; i < begin + kWindow; ++i) {
        const int low = static_cast<unsigned char>(data[i * 2]);
        const int sample = static_cast<std::int16_t>(low + data[i * 2 + 1] * 256);
        crossings += (sample >= 0) != (previous >= 0) ? 1 : 0;
        peak = std::max(peak, std::abs(sample));
        previous = sample;
      }
      frequencies.push_back(peak < 300 ? 0.0 : crossings * 5.0);
    }
    return frequencies;
  }

 private:
  const std::string path_;
};

int Count(const Rig& rig, int type) {
  int count = -1;
  return rig.player->GetTotalNumOfStreamID(type, &count) ? count : -1;
}

int Current(const Rig& rig, int type) {
  int index = -1;
  return rig.player->GetCurrentStreamID(type, &index) ? index : -1;
}

std::string Language(const Rig& rig, int type, int index) {
  std::string language;
  std::string description;
  return rig.player->GetStreamLanguageCode(type, index, &language, &description)
             ? language + "|" + description
             : "refused";
}

TEST(Tracks, AreCountedAndDescribedByType) {
  Rig rig;
  ASSERT_TRUE(rig.player->InitPlayer(Media("tracks.mkv").c_str(), 0));
  // What a sparse track says of itself may come a moment later.
  WaitUntil(Patience(500), [&rig] { return Language(rig, kText, 0) != "und|"; });
  struct Row {
    int type, count, current;
    std::vector<std::string> described;
  };
  const Row rows[] = {
      {kAudio, 2, 0, {"eng|Vorbis, English", "deu|Vorbis, Deutsch"}},
      {kVideo, 1, 0, {"und|"}},
      {kText, 1, -1, {"eng|"}},
      {kTimedTextFile, 0, -1, {}},
      {9, -1, -1, {}},
      {0, -1, -1, {}},
      {2, -1, -1, {}},
      {-1, -1, -1, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.type);
    EXPECT_EQ(row.count, Count(rig, row.type));
    EXPECT_EQ(row.current, Current(rig, row.type));
    const int size = static_cast<int>(row.described.size());
    for (int index = 0; index < size; ++index) {
      const std::string& expected = row.described[static_cast<std::size_t>(index)];
      EXPECT_EQ(expected, Language(rig, row.type, index).substr(0, expected.size()));
    }
    for (const int index : {-1, size, 1000}) {
      EXPECT_EQ("refused", Language(rig, row.type, index));
      EXPECT_FALSE(rig.player->SetStreamID(row.type, index));
    }
  }
  ASSERT_TRUE(rig.player->StartSubtitle(
      WriteFile("film.fra.srt", "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n").c_str(), 0));
  EXPECT_EQ(1, Count(rig, kTimedTextFile));
  EXPECT_EQ(0, Current(rig, kTimedTextFile));
  EXPECT_TRUE(rig.player->SetStreamID(kTimedTextFile, 0));
  EXPECT_EQ("fra|film.fra.srt", Language(rig, kTimedTextFile, 0));
}

TEST(Tracks, SwitchingIsHeardWhilePlaying) {
  const Capture capture("switch.raw");
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("tracks.mkv")));
  ASSERT_TRUE(capture.WaitForTenths(15));
  ASSERT_TRUE(rig.player->SetStreamID(kAudio, 1));
  EXPECT_EQ(1, Current(rig, kAudio));
  const std::size_t late = static_cast<std::size_t>(Slack(5));
  const std::size_t switched_at = capture.Tenths();
  ASSERT_TRUE(capture.WaitForTenths(switched_at + late + 15));
  ASSERT_TRUE(rig.player->SetStreamID(kAudio, 0));
  const std::size_t back_at = capture.Tenths();
  ASSERT_TRUE(capture.WaitForTenths(back_at + late + 15));
  ASSERT_TRUE(rig.player->Stop());

  const std::vector<double> heard = capture.Frequencies();
  // The sound changes within half a second, and nothing else is heard.
  for (std::size_t i = 1; i + 1 < heard.size(); ++i) {
    const bool first = i < switched_at - 2 || i >= back_at + late;
    if (first || (i >= switched_at + late && i < back_at - 2)) {
      EXPECT_NEAR(first ? 440 : 1000, heard[i], 25)
          << "at " << i << "00 ms, switched at " << switched_at << " and " << back_at;
    }
  }
}

// What is still under way from the track before must not hold up the jump, least of all for ever.
TEST(Tracks, ASwitchIsFollowedByAJump) {
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("tracks.mkv")));
  for (int i = 1; i <= 8; ++i) {
    const bool paused = i % 4 < 2;
    SCOPED_TRACE(std::to_string(i) + (paused ? " paused" : " playing"));
    ASSERT_TRUE(rig.WaitForPosition(i * 1000 + 200));
    if (paused) {
      ASSERT_TRUE(rig.player->Pause());
    }
    ASSERT_TRUE(rig.player->SetStreamID(kAudio, i % 2));
    ASSERT_TRUE(rig.player->SetStreamID(kText, 0));
    SleepFor(i * 5);
    const auto begin = TestClock::now();
    EXPECT_TRUE(rig.player->Seek((i + 1) * 1000));
    EXPECT_LT(MillisecondsSince(begin), Slack(1000));
    if (paused) {
      ASSERT_TRUE(rig.player->Resume());
    }
  }
  EXPECT_TRUE(rig.WaitForPosition(9500));
  EXPECT_TRUE(rig.recorder.Errors().empty());
}

TEST(Tracks, SoundKeepsItsPitchAtOtherSpeeds) {
  const Capture capture("speed.raw");
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(rig.player->SetPlaySpeed(2.0F));
  ASSERT_TRUE(capture.WaitForTenths(5));
  const std::size_t begin = capture.Tenths();
  const int position = rig.Position();
  ASSERT_TRUE(capture.WaitForTenths(begin + 15));
  // Neither faster nor slower than it is to be heard: half as much as of the medium.
  EXPECT_NEAR((rig.Position() - position) / 200, static_cast<int>(capture.Tenths() - begin),
              Slack(3));
  ASSERT_TRUE(rig.player->Stop());
  const std::vector<double> heard = capture.Frequencies();
  for (std::size_t i = 5; i + 2 < heard.size(); ++i) {
    EXPECT_NEAR(440, heard[i], 45);
  }
}

TEST(Tracks, UnusableAudioOutputIsAnError) {
  setenv("LUMIVEX_AUDIO_SINK", "nosuchelement ! fakesink", 1);
  Rig rig;
  EXPECT_FALSE(rig.player->InitPlayer(Media("clip.webm").c_str(), 0));
  unsetenv("LUMIVEX_AUDIO_SINK");
  EXPECT_TRUE(rig.recorder.WaitFor(37, 1, Patience(1000)));
  EXPECT_TRUE(rig.PlayFile(Media("clip.webm")));
}

TEST(Tracks, TextOfTheMediumIsSentOnceChosen) {
  Rig rig;
  std::vector<int> positions;
  rig.recorder.inside = [&](int id) {
    if (id == kTimedText) {
      positions.push_back(rig.Position());
    }
  };
  ASSERT_TRUE(rig.PlayFile(Media("tracks.mkv")));
  ASSERT_TRUE(rig.WaitForPosition(1500));
  EXPECT_TRUE(rig.recorder.Texts().empty());  // passed without being chosen
  ASSERT_TRUE(rig.player->SetStreamID(kText, 0));
  EXPECT_EQ(0, Current(rig, kText));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(3000)));
  ASSERT_TRUE(rig.player->SetPlaySpeed(4.0F));  // which is no reason to tell anything again
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 4, Patience(1000)));
  EXPECT_EQ((std::vector<std::string>{"First cue", "", "Second cue,\non two lines", ""}),
            rig.recorder.Texts());
  // Never before its time, and soon after.
  for (const auto& [index, time] : {std::pair(1, 2500), {2, 3000}, {3, 5000}}) {
    const int position = positions[static_cast<std::size_t>(index)];
    EXPECT_GE(position, time);
    EXPECT_LE(position, time + (index == 3 ? 4 : 1) * Slack(250));
  }
  ASSERT_TRUE(rig.player->Seek(13500));
  rig.recorder.WaitFor(kTimedText, 5, Patience(1000));
  EXPECT_EQ("Fish &amp; chips", rig.recorder.Texts().back());  // no markup in this medium
  ASSERT_TRUE(rig.PlayFile(Media("tracks.mkv")));
  EXPECT_EQ(-1, Current(rig, kText));
  rig.player.reset();
}

// The medium has sound and two tracks of text, each with a cue every second.
TEST(Tracks, ASwitchOfTextIsSeenAtOnce) {
  const std::string medium = ZUNO_TEST_FOLDER "/texts.mkv";
  Rig rig;
  ASSERT_TRUE(rig.PlayFile(medium) && rig.player->SetStreamID(kText, 0));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 1, Patience(2000)));
  EXPECT_TRUE(rig.player->SetStreamID(kText, 1));
  ASSERT_TRUE(rig.recorder.WaitFor(kTimedText, 3, Patience(1000)));
  std::vector<std::string> texts = rig.recorder.Texts();
  texts.erase(std::remove(texts.begin(), texts.end(), ""), texts.end());
  ASSERT_EQ(2U, texts.size());
  // Of the same second, or of the next when that begins meanwhile.
  EXPECT_EQ("One ", texts[0].substr(0, 4));
  EXPECT_EQ("Eins ", texts[1].substr(0, 5));
  EXPECT_LE(std::stoi(texts[1].substr(5)) - std::stoi(texts[0].substr(4)), 1);
  // One that is not selected holds up nothing.
  ASSERT_TRUE(rig.PlayFile(medium) && rig.WaitForPosition(300) && rig.player->Seek(3000));
  const auto begin = TestClock::now();
  EXPECT_TRUE(rig.player->Stop());
  EXPECT_LT(MillisecondsSince(begin), Slack(1000));
}

}  // namespace
