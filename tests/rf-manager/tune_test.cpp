#include <gtest/gtest.h>

#include "support.h"

namespace {

struct TuneCase {
  int channel_type;
  int major, minor, program, stream;
  bool accepted;
  Event event;  // of an accepted tune
};

TEST(Tune, IsAnsweredAtOnceAndReportedLater) {
  const TuneCase cases[] = {
      {0, 5, 1, 1, 4097, true, {0, 1, "Lumivex One"}},
      {0, 9, 1, 1, 4098, true, {0, 1, "Lumivex Arts"}},
      {0, 9, 2, 2, 4098, true, {1, 2, "Lumivex Night"}},
      {1, 105, 1, 11, 8193, true, {0, 11, "Cable Movies"}},
      {1, 112, 2, 22, 8194, true, {1, 22, "Cable Preview"}},
      {1, 5, 1, 1, 4097, false, {}},     // terrestrial only
      {0, 105, 1, 11, 8193, false, {}},  // cable only
      {0, 9, 1, 1, 4097, false, {}},     // the other multiplex
      {0, 6, 1, 1, 4097, false, {}},     // each number counts
      {0, 5, 2, 1, 4097, false, {}},
      {0, 5, 1, 2, 4097, false, {}},
      {0, -1, -1, -1, -1, false, {}},
  };
  Tuner tuner;
  std::vector<Event> expected;
  for (const TuneCase& c : cases) {
    SCOPED_TRACE(testing::Message() << c.channel_type << ": " << c.major << "-" << c.minor);
    ASSERT_TRUE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{c.channel_type}));
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(tuner->TuneRFChannel(c.major, c.minor, c.program, c.stream), c.accepted);
    if (c.accepted) {
      expected.push_back(c.event);
      ASSERT_TRUE(tuner.log.WaitFor(expected.size()));
      EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(200));
      unsigned int count = 0;
      EXPECT_EQ(tuner->GetNumOfMultiAudio(&count), std::get<0>(c.event) == 0);
    }
  }
  std::this_thread::sleep_for(kTwoTunes);
  EXPECT_EQ(tuner.log.events(), expected);
}

TEST(Tune, TakesThePlaceOfTheOneUnderWay) {
  Tuner tuner;
  ASSERT_TRUE(TuneOne(tuner.operator->()));
  ASSERT_TRUE(tuner->TuneRFChannel(5, 3, 3, 4097));
  EXPECT_FALSE(tuner->TuneRFChannel(1, 1, 1, 1)) << "refused, so it must not stop the other";
  EXPECT_FALSE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{2}));
  EXPECT_FALSE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{-1}));
  std::this_thread::sleep_for(kTwoTunes);
  ASSERT_TRUE(tuner.log.WaitFor(1));
  EXPECT_EQ(tuner.log.events(), std::vector<Event>({{0, 3, "Lumivex Radio"}}));

  std::string language;
  ASSERT_TRUE(tuner->SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE{1}));
  EXPECT_FALSE(tuner->TuneRFChannel(5, 1, 1, 4097));
  EXPECT_TRUE(tuner->GetMultiAudioLanguageByIndex(0, &language)) << "what is tuned stays";
  EXPECT_EQ(language, "kor");
}

TEST(Tune, ListenerSeesTheNewServiceAndMayTuneAgain) {
  Tuner tuner;
  std::vector<unsigned int> audio;
  tuner.log.on_event = [&] {
    unsigned int count = 0;
    EXPECT_TRUE(tuner->GetNumOfMultiAudio(&count));
    audio.push_back(count);
    if (audio.size() == 1) {
      EXPECT_TRUE(tuner->TuneRFChannel(9, 1, 1, 4098));
    }
  };
  ASSERT_TRUE(TuneOne(tuner.operator->()));
  ASSERT_TRUE(tuner.log.WaitFor(2));
  EXPECT_EQ(audio, std::vector<unsigned int>({2, 3}));
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

  EventLog replacement;
  ASSERT_TRUE(first->RegisterRFEventHandler(&replacement));
  ASSERT_TRUE(TuneOne(first.operator->()));
  ASSERT_TRUE(replacement.WaitFor(1));
  EXPECT_EQ(first.log.events().size(), 1U);
  first->RegisterRFEventHandler(&first.log);
}

}  // namespace
