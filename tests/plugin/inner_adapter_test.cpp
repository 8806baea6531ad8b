// The player that GetLumivexPlayer gives, seen by a host that knows only the order of its
// operations, and what becomes of it when the player library cannot be had.

#include <cmath>

#include "ZunoPlayerAdapter.h"
#include "inner_support.h"
#include "loader_faults.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr char kConstructor[] = "CZunoPlayerAdapter";
constexpr char kDestructor[] = "~CZunoPlayerAdapter";
constexpr char kOpening[] = "dlopen /usr/lib/libzuno-player.so 1";

const Lines kLoaded = {
    A("GetPlayerInstance", "Loading /usr/lib/libzuno-player.so lib successed.\n"), "dlsym Create"};

// Calls the operation at a position of the object's table.
template <class Result, class... Arguments>
Result Call(ILumivexPlayer* player, std::size_t position, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  const Operation operation = (*reinterpret_cast<Operation* const*>(player))[position];
  return operation(player, arguments...);
}

class Adapter : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    faults_ = LoaderFaults();
  }

  LoaderFaults& faults_ = LoaderFaults::Get();
  RawListener listener_;
};

TEST_F(Adapter, LoadingAndUnloadingWithEveryFault) {
  const Lines no_player = {AE(kConstructor, "GetPlayerInstance() retunred NULL.")};
  const Lines create_null = {
      AE("GetPlayerInstance",
         "IZunoPlayer::Create() returned null. ZunoPlayer instance creation failed.\n")};
  const Lines unloaded = {"dlclose", A(kDestructor, "Unloading ZunoPlayer lib succeeded.")};
  const Lines created = {
      "player Create", A("GetPlayerInstance", "Create ZunoPlayer instance succeeded."),
      "player 3(1)",   "player 24(0)",
      "player 23(1)",  "player 53()"};
  const Lines stopped = {A("Stop", "Stop() starts."), "player 11()", A("Stop", "finishes."),
                         "player 1()"};
  const struct {
    const char* what;
    LoaderFaults faults;
    bool creates;
    std::set<int> failing;
    Lines constructor;
    Lines destructor;
  } kCases[] = {
      {"no fault",
       {},
       true,
       {},
       kLoaded + created + Lines{"player 52()", A(kConstructor, "Constructor finishes.")},
       stopped + unloaded},
      {"callbacks refused",
       {},
       true,
       {52, 53},
       kLoaded + created +
           Lines{AE(kConstructor, "SetMessageCallback() returned false."), "player 52()",
                 AE(kConstructor, "SetCurrentPositionCallback() returned false."),
                 A(kConstructor, "Constructor finishes.")},
       stopped + unloaded},
      {"missing",
       {true, "cannot open it", true, 0},
       true,
       {},
       Lines{"dlerror", AE("GetPlayerInstance",
                           "Loading /usr/lib/libzuno-player.so lib failed. (cannot open it)\n")} +
           no_player,
       {}},
      {"missing without a reason",
       {true, nullptr, true, 0},
       true,
       {},
       Lines{"dlerror"} + no_player,
       {}},
      {"no entry", {false, "", false, 0}, true, {}, kLoaded + create_null + no_player, unloaded},
      {"Create answers null",
       {},
       false,
       {},
       kLoaded + Lines{"player Create"} + create_null + no_player,
       unloaded},
      {"cannot be closed",
       {false, "", true, -1},
       true,
       {},
       kLoaded + created + Lines{"player 52()", A(kConstructor, "Constructor finishes.")},
       stopped + Lines{"dlclose", AE(kDestructor, "dlclose() failed.")}},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.what);
    PlayerRecorder::Reset();
    faults_ = row.faults;
    player_.creates = row.creates;
    player_.failing = row.failing;
    ILumivexPlayer* const player = GetLumivexPlayer(listener_.get());
    ASSERT_NE(player, nullptr);
    EXPECT_THAT(
        journal_.Take(),
        ElementsAreArray(Lines{A(kConstructor, "Constructor starts"), kOpening} + row.constructor));
    delete player;
    EXPECT_THAT(journal_.Take(),
                ElementsAreArray(Lines{A(kDestructor, "Destructor starts.")} + row.destructor +
                                 Lines{A(kDestructor, "Destructor finishes.")}));
  }
}

TEST_F(Adapter, TheOrderOfTheOperationsIsFixed) {
  const std::string url = "u";
  const std::string data = std::string("a\0b", 3);
  for (const bool has_player : {true, false}) {
    PlayerRecorder::Reset();
    faults_.missing = !has_player;
    ILumivexPlayer* const player = GetLumivexPlayer(listener_.get());
    std::vector<unsigned int> bitrates = {1, 2};
    std::string language;
    int major = 77;
    int minor = 78;
    journal_.Take();
    // The first lines are the adapter's own; what counts is which operation of the library follows.
    const auto called = [&](const char* expected) {
      const Lines journal = journal_.Take();
      Lines calls;
      for (const std::string& line : journal) {
        if (line.compare(0, 7, "player ") == 0) {
          calls.push_back(line);
        }
      }
      EXPECT_THAT(
          calls, ElementsAreArray(has_player ? Lines{std::string("player ") + expected} : Lines{}));
    };
    const int number = has_player ? 4711 : -1;
    EXPECT_EQ(Call<bool>(player, 2, 5, 1U, 2U, 3U, 4U), has_player);
    called("75(0, wayland_rect: 1 2 3 4 (16), display_handler: 5 (4))");
    EXPECT_EQ((Call<bool, const std::string&, unsigned int>(player, 3, url, 9U)), has_player);
    called(R"(6("u", 9))");
    EXPECT_EQ(Call<bool>(player, 4), has_player);
    called("10(0)");
    EXPECT_EQ(Call<bool>(player, 5), has_player);
    called("11()");
    EXPECT_EQ(Call<bool>(player, 6), has_player);
    called("17()");
    EXPECT_EQ(Call<bool>(player, 7), has_player);
    called("18()");
    EXPECT_EQ(Call<bool>(player, 8, -3), has_player);
    called("20(-3)");
    EXPECT_EQ(Call<bool>(player, 10, 1.5F), has_player);
    called("25(1.500000)");
    EXPECT_EQ(Call<float>(player, 9), has_player ? 1.5F : 0.0F);
    journal_.Take();
    EXPECT_EQ(Call<bool>(player, 11, 1U, 2U, 3U, 4U, 0), has_player);
    called("75(0, display_area: 1 2 3 4 (16))");
    EXPECT_EQ(Call<int>(player, 12), number);
    called("27(*0)");
    EXPECT_EQ(Call<int>(player, 13), number);
    called("28(*0)");
    EXPECT_EQ(Call<bool>(player, 14, &bitrates), has_player);
    called("30(*0 bitrates)");
    EXPECT_THAT(bitrates,
                ElementsAreArray(has_player ? std::vector<unsigned int>{1, 2, 64, 128, 256}
                                            : std::vector<unsigned int>{1, 2}));
    EXPECT_EQ(Call<int>(player, 15), has_player ? 1280 : -1);
    called("15(*-1, *-1)");
    EXPECT_EQ(Call<int>(player, 16), has_player ? 720 : -1);
    called("15(*-1, *-1)");
    EXPECT_EQ(Call<int>(player, 17, 1), number);
    called("32(3, *0)");
    EXPECT_EQ(Call<int>(player, 18, 2), number);
    called("33(1, *0)");
    EXPECT_EQ(Call<bool>(player, 19, 3, 8), has_player);
    called("77(5, 8)");
    EXPECT_EQ(Call<bool>(player, 20, 4, 6, &language), has_player);
    called(R"(36(4, 6, *"", *""))");
    EXPECT_EQ(language, has_player ? "eng" : "");
    EXPECT_EQ((Call<bool, const std::string&>(player, 21, url)), has_player);
    called(R"(46("u", 0))");
    EXPECT_EQ((Call<bool, int, const std::string&>(player, 22, 2, data)), has_player);
    called(R"(14("PROPERTY_LICENSE_SERVER", "a\x00b", 0))");
    Call<void>(player, 23, &major, &minor);
    EXPECT_THAT(
        journal_.Take(),
        ElementsAreArray(
            Lines{A("GetVersion", "GetVersion() starts.")} +
            (has_player ? Lines{AE("GetVersion",
                                   "Not maching function. ZunoPlayer doesn't support version."),
                                A("GetVersion", "finishes.")}
                        : Lines{AE("GetVersion",
                                   "ZunoPlayer instance is not created yet. Returns false.")})));
    EXPECT_EQ(major, 77);
    EXPECT_EQ(minor, 78);
    Call<void>(player, 1);
    EXPECT_EQ(journal_.Take().back(), A(kDestructor, "Destructor finishes."));
  }
}

TEST_F(Adapter, BitratesNeedAPlaceAndAreLeftAloneOnFailure) {
  CZunoPlayerAdapter adapter(listener_.get());
  journal_.Take();
  EXPECT_FALSE(adapter.GetAvailableBitrates(nullptr));
  EXPECT_THAT(journal_.Take(),
              ElementsAre(AE("GetAvailableBitrates", "pAvailableBitrates is NULL.")));
  player_.failing = {30};
  std::vector<unsigned int> bitrates = {5};
  EXPECT_FALSE(adapter.GetAvailableBitrates(&bitrates));
  EXPECT_THAT(bitrates, ElementsAre(5));
}

TEST_F(Adapter, WithoutAListener) {
  CZunoPlayerAdapter adapter(nullptr);
  const Lines journal = journal_.Take();
  ASSERT_GE(journal.size(), 3U);
  EXPECT_EQ(journal[1], AE(kConstructor, "IPlaybackEventListener instance is NULL."));
  EXPECT_EQ(journal.back(), A(kConstructor, "Constructor finishes."));
  EXPECT_EQ(player_.Message(186), -1);
  EXPECT_THAT(journal_.Take(),
              ElementsAre(A("OnMessage", "[OnMessage] id: [186]"),
                          AE("GetEventListener", "m_pEventListener instance is NULL."),
                          AE("OnMessage", "GetEventListener() returned NULL.")));
  player_.Position(700);
  EXPECT_THAT(journal_.Take(),
              ElementsAre(AE("GetEventListener", "m_pEventListener instance is NULL."),
                          AE("OnCurrentPosition", "GetEventListener() returned NULL.")));
}

TEST_F(Adapter, CallbacksReachTheAdapterThroughItsOwnAddress) {
  CZunoPlayerAdapter adapter(listener_.get());
  EXPECT_EQ(player_.message_user, &adapter);
  EXPECT_EQ(player_.position_user, &adapter);
  EXPECT_NE(player_.message_user, static_cast<void*>(static_cast<ILumivexPlayer*>(&adapter)));
  journal_.Take();
  EXPECT_EQ(player_.message_callback(186, nullptr, nullptr), -1);
  EXPECT_THAT(journal_.Take(),
              ElementsAre(A("OnMessage", "[OnMessage] id: [186]"),
                          AE("OnMessage", "Parameter for adapter instance is NULL.")));
  player_.position_callback(700, nullptr);
  EXPECT_THAT(journal_.Take(),
              ElementsAre(AE("OnCurrentPosition", "Parameter for adapter instance is NULL.")));
}

TEST_F(Adapter, TheListenersAnswerGoesBackToTheLibrary) {
  CZunoPlayerAdapter adapter(listener_.get());
  MessageRecord record("a\0c", 0, 3);
  const std::pair<int, const char*> kMessages[] = {
      {186, "listener 2(1, 0)"},    {32, "listener 3(0, 0, 0)"},
      {177, "listener 3(9, 3, 0)"}, {185, "listener 3(8, 1280, 720)"},
      {132, R"(listener 5("a"))"},  {181, R"(listener 4(0, "a\x00c"))"}};
  for (const auto& [id, call] : kMessages) {
    for (const bool answer : {true, false}) {
      listener_.answer = answer;
      journal_.Take();
      EXPECT_EQ(player_.Message(id, record.get()), answer ? 1 : 0) << id;
      EXPECT_EQ(journal_.Take().back(), call);
    }
  }
}

}  // namespace
}  // namespace lumivex::test
