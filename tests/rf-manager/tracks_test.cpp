#include <gtest/gtest.h>

#include <climits>

#include "support.h"

namespace {

using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;
using Codes = std::vector<std::string>;

struct TrackCase {
  int channel_type;
  int major, minor, program, stream;
  Codes audio;
  Codes subtitles;
};

const TrackCase kServices[] = {
    {0, 5, 1, 1, 4097, {"eng", "spa"}, {"eng", "spa"}},
    {0, 5, 2, 2, 4097, {"eng"}, {"eng"}},
    {0, 5, 3, 3, 4097, {"kor"}, {}},
    {0, 9, 1, 1, 4098, {"fra", "eng", "deu"}, {}},
    {1, 105, 1, 11, 8193, {"eng", "fra"}, {"eng", "fra", "deu"}},
    {1, 105, 2, 12, 8193, {"kor"}, {}},
    {1, 112, 1, 21, 8194, {"spa"}, {"spa", "eng"}},
};

// The four operations of one kind of track, by index as the page gives it.
struct Tracks {
  std::function<bool(unsigned int*)> count;
  std::function<bool(int*)> selected;
  std::function<bool(int)> select;
  std::function<bool(int, std::string*)> language;
};

void ExpectTracks(const Tracks& tracks, const Codes& expected) {
  unsigned int count = 99;
  ASSERT_TRUE(tracks.count(&count));
  ASSERT_EQ(count, expected.size());
  int selected = 99;
  EXPECT_EQ(tracks.selected(&selected), !expected.empty());
  EXPECT_EQ(selected, expected.empty() ? 99 : 0);
  std::string language = "none";
  const int end = static_cast<int>(count);
  for (int i = 0; i < end; ++i) {
    EXPECT_TRUE(tracks.language(i, &language));
    EXPECT_EQ(language, expected[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(tracks.select(i));
    EXPECT_TRUE(tracks.selected(&selected));
    EXPECT_EQ(selected, i);
  }
  for (const int beyond : {end, end + 1, -1, INT_MIN}) {
    EXPECT_FALSE(tracks.select(beyond));
    EXPECT_FALSE(tracks.language(beyond, &language));
  }
  EXPECT_EQ(language, expected.empty() ? "none" : expected.back());
  EXPECT_EQ(tracks.selected(&selected), !expected.empty());
  EXPECT_EQ(selected, expected.empty() ? 99 : end - 1);
}

TEST(Tracks, OfEachService) {
  Tuner tuner;
  const auto index = [](int i) { return static_cast<unsigned int>(i); };
  const Tracks audio{
      [&](auto* out) { return tuner->GetNumOfMultiAudio(out); },
      [&](auto* out) { return tuner->GetCurrentAudioIndex(out); },
      [&](int i) { return tuner->ChangeAudioByIndex(index(i)); },
      [&](int i, auto* out) { return tuner->GetMultiAudioLanguageByIndex(index(i), out); }};
  const Tracks subtitles{
      [&](auto* out) { return tuner->GetNumOfSubtitle(out); },
      [&](auto* out) { return tuner->GetCurrentSubtitleIndex(out); },
      [&](int i) { return tuner->ChangeSubtitleByIndex(i); },
      [&](int i, auto* out) { return tuner->GetSubtitleLanguageByIndex(index(i), out); }};
  for (const TrackCase& c : kServices) {
    SCOPED_TRACE(testing::Message() << c.major << "-" << c.minor);
    ASSERT_TRUE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{c.channel_type}));
    ASSERT_TRUE(tuner.TuneAndWait(c.major, c.minor, c.program, c.stream));
    ExpectTracks(audio, c.audio);
    ExpectTracks(subtitles, c.subtitles);
  }
}

// How many of the eight track and subtitle getters and setters answer true; none may touch its
// output when it does not.
int CountAnswers(CRFManager* tuner) {
  int answers = 0;
  const auto getter = [&](auto untouched, auto get) {
    auto output = untouched;
    const bool answer = get(&output);
    answers += answer ? 1 : 0;
    if (!answer) {
      EXPECT_EQ(output, untouched);
    }
    EXPECT_FALSE(get(static_cast<decltype(&output)>(nullptr)));
  };
  getter(99U, [=](auto* out) { return tuner->GetNumOfMultiAudio(out); });
  getter(99U, [=](auto* out) { return tuner->GetNumOfSubtitle(out); });
  getter(99, [=](auto* out) { return tuner->GetCurrentAudioIndex(out); });
  getter(99, [=](auto* out) { return tuner->GetCurrentSubtitleIndex(out); });
  getter(Mode{99}, [=](auto* out) { return tuner->GetSubtitleMode(out); });
  getter(true, [=](auto* out) { return tuner->GetSubtitleStatus(out); });
  getter(std::string("old"), [=](auto* o) { return tuner->GetMultiAudioLanguageByIndex(0, o); });
  getter(std::string("old"), [=](auto* o) { return tuner->GetSubtitleLanguageByIndex(0, o); });
  for (const bool answer : {tuner->ChangeAudioByIndex(0), tuner->ChangeSubtitleByIndex(0),
                            tuner->SetSubtitleMode(Mode{0}), tuner->SetSubtitleStatus(false)}) {
    answers += answer ? 1 : 0;
  }
  return answers;
}

TEST(Tracks, AreRefusedWhileNothingIsTuned) {
  Tuner tuner;
  EXPECT_EQ(CountAnswers(tuner.operator->()), 0) << "before the first tune";
  ASSERT_TRUE(TuneOne(tuner.operator->()));
  EXPECT_EQ(CountAnswers(tuner.operator->()), 0) << "during the tune";
  ASSERT_TRUE(tuner.log.WaitFor(1));
  EXPECT_EQ(CountAnswers(tuner.operator->()), 12);
  ASSERT_TRUE(tuner->TuneRFChannel(9, 2, 2, 4098));
  EXPECT_EQ(CountAnswers(tuner.operator->()), 0) << "during the next tune";
  ASSERT_TRUE(tuner.log.WaitFor(2));
  EXPECT_EQ(CountAnswers(tuner.operator->()), 0) << "after a failed tune";
}

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

}  // namespace
