// The player that GetLumivexPlayer returns, between a host and a library that know nothing but the
// order of its operations and of its listener's.

#include "ZunoPlayerAdapter.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

// Calls the operation at a position of the object's table.
template <class Result, class... Arguments>
Result Call(ILumivexPlayer* player, std::size_t position, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  const Operation operation = (*reinterpret_cast<Operation* const*>(player))[position];
  return operation(player, arguments...);
}

// An object whose first word points at a table of functions. Calls appear in the journal as
// "listener position(...)".
class RawListener {
 public:
  void* const* table = kTable;  // has to come first

  IPlaybackEventListener* get() { return reinterpret_cast<IPlaybackEventListener*>(this); }

  bool answer = true;

 private:
  template <int kPosition, class... Arguments>
  static bool Numbers(void* self, Arguments... arguments) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + std::to_string(arguments)), ...);
    Journal::Get().Add("listener " + std::to_string(kPosition) + "(" + text + ")");
    return static_cast<const RawListener*>(self)->answer;
  }
  static bool OnDRMInfo(void* self, int type, const std::string& data) {
    Journal::Get().Add("listener 4(" + std::to_string(type) + ", " + Quote(data) + ")");
    return static_cast<const RawListener*>(self)->answer;
  }
  static bool OnTimedText(void* self, const std::string& text) {
    Journal::Get().Add("listener 5(" + Quote(text) + ")");
    return static_cast<const RawListener*>(self)->answer;
  }

  inline static void* const kTable[] = {nullptr,  // only its owner deletes it
                                        nullptr,
                                        reinterpret_cast<void*>(&Numbers<2, int, int>),
                                        reinterpret_cast<void*>(&Numbers<3, int, int, int>),
                                        reinterpret_cast<void*>(&OnDRMInfo),
                                        reinterpret_cast<void*>(&OnTimedText)};
};

class Adapter : public PluginTest {
 protected:
  RawListener listener_;
};

TEST_F(Adapter, KeepsTheOrderOfItsOperations) {
  const std::string url = "u";
  const std::string data = std::string("a\0b", 3);
  ILumivexPlayer* const player = GetLumivexPlayer(listener_.get());
  std::vector<unsigned int> bitrates = {1, 2};
  std::string language;
  int major = 77;
  int minor = 78;
  journal_.Take();
  EXPECT_TRUE(Call<bool>(player, 2, 5, 1U, 2U, 3U, 4U));
  EXPECT_TRUE((Call<bool, const std::string&, unsigned int>(player, 3, url, 9U)));
  for (const std::size_t control : {4, 5, 6, 7}) {
    EXPECT_TRUE(Call<bool>(player, control));
  }
  EXPECT_TRUE(Call<bool>(player, 8, -3));
  EXPECT_TRUE(Call<bool>(player, 10, 1.5F));
  EXPECT_EQ(Call<float>(player, 9), 1.5F);
  EXPECT_TRUE(Call<bool>(player, 11, 1U, 2U, 3U, 4U, 0));
  EXPECT_EQ(Call<int>(player, 12), 4711);
  EXPECT_EQ(Call<int>(player, 13), 4711);
  EXPECT_TRUE(Call<bool>(player, 14, &bitrates));
  EXPECT_THAT(bitrates, ElementsAre(1, 2, 64, 128, 256));
  EXPECT_EQ(Call<int>(player, 15), 1280);
  EXPECT_EQ(Call<int>(player, 16), 720);
  EXPECT_EQ(Call<int>(player, 17, 1), 4711);
  EXPECT_EQ(Call<int>(player, 18, 2), 4711);
  EXPECT_TRUE(Call<bool>(player, 19, 3, 8));
  EXPECT_TRUE(Call<bool>(player, 20, 4, 6, &language));
  EXPECT_EQ(language, "eng");
  EXPECT_TRUE((Call<bool, const std::string&>(player, 21, url)));
  EXPECT_TRUE((Call<bool, int, const std::string&>(player, 22, 2, data)));
  Lines calls = journal_.Take();
  calls.erase(std::remove_if(calls.begin(), calls.end(),
                             [](const std::string& line) { return line[0] != 'p'; }),
              calls.end());
  EXPECT_THAT(calls,
              ElementsAreArray(Script(
                  "player 75(0, wayland_rect: 1 2 3 4 (16), display_handler: 5 (4)) | "
                  "player 6(\"u\", 9) | player 10(0) | player 11() | player 17() | player 18() | "
                  "player 20(-3) | player 25(1.500000) | "
                  "player 75(0, display_area: 1 2 3 4 (16)) | player 27(*0) | player 28(*0) | "
                  "player 30(*0 bitrates) | player 15(*-1, *-1) | player 15(*-1, *-1) | "
                  "player 32(3, *0) | player 33(1, *0) | player 77(5, 8) | "
                  "player 36(4, 6, *\"\", *\"\") | player 46(\"u\", 0) | "
                  R"(player 14("PROPERTY_LICENSE_SERVER", "a\x00b", 0))")));
  Call<void>(player, 23, &major, &minor);
  EXPECT_THAT(journal_.Take(),
              ElementsAreArray(Script("a GetVersion() starts. | A Not maching function. ZunoPlayer "
                                      "doesn't support version. | a finishes.",
                                      "GetVersion")));
  EXPECT_EQ(major, 77);
  EXPECT_EQ(minor, 78);
  Call<void>(player, 1);
  EXPECT_EQ(journal_.Take().back(), "a:~CZunoPlayerAdapter Destructor finishes.");
}

TEST_F(Adapter, ReturnsNothingWithoutAPlayerOrAnOutput) {
  std::vector<unsigned int> bitrates = {5};
  {
    CZunoPlayerAdapter adapter(listener_.get());
    journal_.Take();
    EXPECT_FALSE(adapter.GetAvailableBitrates(nullptr));
    EXPECT_THAT(journal_.Take(), ElementsAre("A:GetAvailableBitrates pAvailableBitrates is NULL."));
    stage_.failing = {"player 30"};
    EXPECT_FALSE(adapter.GetAvailableBitrates(&bitrates));
  }
  stage_.failing = {"dlopen"};
  CZunoPlayerAdapter adapter(listener_.get());
  EXPECT_FALSE(adapter.GetAvailableBitrates(&bitrates));
  EXPECT_THAT(bitrates, ElementsAre(5));
  journal_.Take();
  adapter.GetVersion(nullptr, nullptr);
  EXPECT_THAT(journal_.Take(),
              ElementsAreArray(Script("a GetVersion() starts. | A ZunoPlayer instance is not "
                                      "created yet. Returns false.",
                                      "GetVersion")));
}

TEST_F(Adapter, IgnoresTheLibraryWithoutAListenerOrItsOwnAddress) {
  const CZunoPlayerAdapter deaf(nullptr);
  EXPECT_THAT(journal_.Take(), testing::Contains("A:CZunoPlayerAdapter IPlaybackEventListener "
                                                 "instance is NULL."));
  EXPECT_EQ(stage_.Message(186), -1);
  stage_.Position(700);
  EXPECT_THAT(journal_.Take(),
              ElementsAreArray(Script("a:OnMessage [OnMessage] id: [186] | "
                                      "A:GetEventListener m_pEventListener instance is NULL. | "
                                      "A:OnMessage GetEventListener() returned NULL. | "
                                      "A:GetEventListener m_pEventListener instance is NULL. | "
                                      "A:OnCurrentPosition GetEventListener() returned NULL.")));

  CZunoPlayerAdapter adapter(listener_.get());
  const Stage::Player& player = stage_.made[1];
  EXPECT_EQ(player.message_user, &adapter);
  EXPECT_EQ(player.position_user, &adapter);
  EXPECT_NE(player.message_user, static_cast<void*>(static_cast<ILumivexPlayer*>(&adapter)));
  journal_.Take();
  EXPECT_EQ(player.message(186, nullptr, nullptr), -1);
  player.position(700, nullptr);
  EXPECT_THAT(journal_.Take(),
              ElementsAreArray(Script("a:OnMessage [OnMessage] id: [186] | "
                                      "A:OnMessage Parameter for adapter instance is NULL. | "
                                      "A:OnCurrentPosition Parameter for adapter instance is "
                                      "NULL.")));
}

TEST_F(Adapter, ReturnsTheListenersAnswerToTheLibrary) {
  const CZunoPlayerAdapter adapter(listener_.get());
  MessageRecord record("a\0c", 0, 3);
  const std::pair<int, const char*> kMessages[] = {
      {186, "listener 2(1, 0)"},    {32, "listener 3(0, 0, 0)"},
      {177, "listener 3(9, 3, 0)"}, {185, "listener 3(8, 1280, 720)"},
      {132, R"(listener 5("a"))"},  {181, R"(listener 4(0, "a\x00c"))"}};
  for (const auto& [id, call] : kMessages) {
    for (const bool answer : {true, false}) {
      listener_.answer = answer;
      EXPECT_EQ(stage_.Message(id, record.get()), answer ? 1 : 0) << id;
      EXPECT_EQ(journal_.Take().back(), call);
    }
  }
}

}  // namespace
}  // namespace lumivex::test
