// The life of the plug-in: what it calls from loading to unloading, in order, and that it leaves
// nothing behind.

#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <tuple>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

std::string Asking(const std::string& privilege) {
  return R"(bridge check_ace_privilege "http://)" LUMIVEX_TEST_DEVELOPER_HOST "/privilege/" +
         privilege + "\" | ";
}

const Lines kConstruction =
    Script(Asking(kPlayer) + Asking(kTuner) +
               "h m_hasLumivexPlayerPrivilege : 1 / m_hasLumivexRFMangerPrivilege : 1 | "
               "h LumivexPlayer Version : 1.50 / LumivexRFManager Version: 1.50 | "
               "bridge get_window_id undefined | h App window Resource ID -> 7 | "
               "h Create m_pLumivexPlayerEventListener | "
               "l:CZunoPlayerEventListener [CZunoPlayerEventListener] constructor | "
               "a:CZunoPlayerAdapter Constructor starts | dlopen /usr/lib/libzuno-player.so 1 | "
               "a:GetPlayerInstance Loading /usr/lib/libzuno-player.so lib successed.\n | "
               "player Create() | a:GetPlayerInstance Create ZunoPlayer instance succeeded. | "
               "player 3(1) | player 24(0) | player 23(1) | player 53() | player 52() | "
               "a:CZunoPlayerAdapter Constructor finishes. | "
               "a:SetDisplay SetDisplay(7), 0, 0, 1920, 1080, starts. | "
               "player 75(0, wayland_rect: 0 0 1920 1080 (16), display_handler: 7 (4)) | "
               "a:SetDisplay finishes. | h End of constructor | "
               "K:CLumivexPluginInstance [PluginLogging] begin additional_thread_->Start() | "
               "K:CLumivexPluginInstance [PluginLogging] begin RegisterMessageHandler | "
               "K:CLumivexPluginInstance [PluginLogging]  RegisterMessageHandler success",
           "CLumivexMessageHandler");
const Lines kDestructorStarts =
    Script("h:~CLumivexMessageHandler Lumivex Pepper destructor starts.");
const Lines kDestruction = Script(
    "a:~CZunoPlayerAdapter Destructor starts. | a:Stop Stop() starts. | player 11() | "
    "a:Stop finishes. | player 1() | dlclose | "
    "a:~CZunoPlayerAdapter Unloading ZunoPlayer lib succeeded. | "
    "a:~CZunoPlayerAdapter Destructor finishes. | "
    "h:~CLumivexMessageHandler Lumivex Pepper destructor end .");

class Lifecycle : public PluginTest {
 protected:
  Lines JournalOfClosing() {
    journal_.Take();
    page_.reset();
    return journal_.Take();
  }
};

TEST_F(Lifecycle, RunsInOrderFromConstructionToDestruction) {
  Load();
  EXPECT_THAT(journal_.Take(), IsEmpty());
  // The attributes of the element change nothing.
  page_ = browser_->CreatePage({{"src", "x"}, {"privilege", ""}, {"id", "\xff"}});
  ASSERT_NE(page_, nullptr);
  EXPECT_THAT(journal_.Take(), ElementsAreArray(kConstruction));
  EXPECT_THAT(JournalOfClosing(), ElementsAreArray(kDestructorStarts + kDestruction));
}

TEST_F(Lifecycle, ReleasesTheTunerBeforeThePlayer) {
  Lines dropped;
  Browser::Options options;
  options.on_dropped = [&dropped](const Json& event) { dropped.push_back(event.dump()); };
  Load(std::move(options));
  page_ = NewPage();
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 1})"));
  // Both may report once more while they are released; by then the page is gone.
  stage_.on_call = [this](const std::string& call) {
    if (call == "tuner ReleaseInstance") {
      stage_.Event(0, 0, "");
    } else if (call == "player 1") {
      EXPECT_EQ(stage_.Message(186), 1);
    }
  };
  const Report tuned = ExpectTunerEvent(0, 0, "");
  const Report failed = ExpectMessage(186, nullptr, &now_);
  Lines destruction = kDestruction;
  destruction.insert(std::find(destruction.begin(), destruction.end(), "player 1()") + 1,
                     failed.journal.begin(), failed.journal.end());
  EXPECT_THAT(JournalOfClosing(),
              ElementsAreArray(kDestructorStarts + Lines{"tuner ReleaseInstance()"} +
                               tuned.journal + destruction));
  EXPECT_THAT(dropped, ElementsAre(*tuned.event, *failed.event));
}

TEST_F(Lifecycle, NamesAndSeparatesItsThreads) {
  Load();
  prctl(PR_SET_NAME, "before");
  journal_.Take();
  page_ = NewPage();
  // The caller's name changes behind the handler's construction and before the worker starts.
  for (const Journal::Entry& entry : journal_.TakeEntries()) {
    EXPECT_EQ(entry.thread_name, entry.text[0] == 'K' ? "kpp.lumivex" : "before") << entry.text;
    EXPECT_EQ(entry.thread, gettid()) << entry.text;
  }
  Send(Request(kPlayer, "Start"));
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
  const std::vector<Journal::Entry> entries = journal_.TakeEntries();
  ASSERT_FALSE(entries.empty());
  for (const Journal::Entry& entry : entries) {
    EXPECT_NE(entry.thread, gettid()) << entry.text;
    EXPECT_EQ(entry.thread, entries.front().thread) << entry.text;
  }
}

TEST_F(Lifecycle, KeepsTwoInstancesApart) {
  services_->answer = [](PP_Instance instance, const std::string& call, PP_Var* result) {
    *result = call == "get_window_id undefined" ? host::IntVar(10 * instance)
                                                : host::BoolVar(instance == 2);
    return 0;
  };
  Open();
  const std::unique_ptr<Page> second = NewPage();
  EXPECT_THAT(journal_.Take(),
              testing::IsSupersetOf(Script("player2 3(1) | player2 75(0, wayland_rect: 0 0 1920 "
                                           "1080 (16), display_handler: 20 (4))")));
  EXPECT_EQ(Send(Request(kPlayer, "Start")),
            Refused(18, "SecurityError", "You do not have the lumivexplayer privilege"));
  const Json set_type = Request(kTuner, "SetChannelType", R"({"channelType": 0})");
  Json set_type_of_first = set_type;
  set_type_of_first["moduleName"] = "";
  EXPECT_EQ(Send(set_type_of_first), Ok("true"));
  const pid_t first_worker = journal_.TakeEntries().back().thread;

  EXPECT_EQ(Send(Request(kPlayer, "Start"), second.get()), Ok("true"));
  EXPECT_THAT(journal_.Take(), testing::Contains("player2 10(0)"));
  EXPECT_EQ(Send(set_type, second.get()), Ok("true"));
  const std::vector<Journal::Entry> entries = journal_.TakeEntries();
  EXPECT_EQ(entries.back().text, "tuner2 SetChType(0)");
  EXPECT_NE(entries.back().thread, first_worker);

  stage_.Message(32, nullptr, 2);
  stage_.Event(0, 0, "", 2);
  EXPECT_EQ(Events().size(), 0U);
  EXPECT_EQ(Events(second.get()).size(), 2U);

  // Each buffers on its own; the percentage that was reported last is one for both.
  const std::tuple<int, uint32_t, int> kSteps[] = {{1, 50, 1}, {1, 50, 1},  {2, 50, 1}, {2, 55, -1},
                                                   {2, 61, 1}, {1, 65, -1}, {1, 70, 1}};
  for (const auto& [player, percent, answer] : kSteps) {
    EXPECT_EQ(stage_.Message(131, MessageRecord(nullptr, percent, 0).get(), player), answer);
  }
  EXPECT_EQ(Events(second.get()).size(), 2U);

  page_.reset();
  stage_.Message(32, nullptr, 2);
  EXPECT_EQ(Send(Request(kPlayer, "Start"), second.get()), Ok("true"));
  EXPECT_EQ(Events(second.get()).size(), 1U);
}

TEST_F(Lifecycle, FinishesARunningCommandFirst) {
  Open();
  std::atomic<bool> seeking{false};
  stage_.on_call = [&seeking](const std::string& call) {
    if (call == "player 20") {
      seeking = true;
      usleep(50000);
    }
  };
  std::thread sender([this] { page_->SendBlocking(Request(kPlayer, "SeekTo", R"({"msec": 1})")); });
  while (!seeking) {
    std::this_thread::yield();
  }
  page_->Close();
  sender.join();
  const Lines journal = journal_.Take();
  const auto end = std::find(journal.begin(), journal.end(), "a:SeekTo finishes.");
  ASSERT_NE(end, journal.end());
  ASSERT_NE(end + 1, journal.end());
  EXPECT_EQ(end[1], kDestructorStarts[0]);
}

TEST_F(Lifecycle, CanBeLoadedTwice) {
  for (int round = 0; round < 2; ++round) {
    Stage::Reset();
    Open();
    EXPECT_EQ(Send(Request(kPlayer, "Start")), Ok("true"));
    EXPECT_EQ(stage_.Message(186), 1);
    Close();
    EXPECT_EQ(dlopen(LUMIVEX_TEST_PLUGIN, RTLD_LAZY | RTLD_NOLOAD), nullptr) << "still loaded";
  }
}

TEST_F(Lifecycle, ExportsAFactoryForPlayers) {
  void* const library = dlopen(LUMIVEX_TEST_PLUGIN, RTLD_LAZY);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto factory = reinterpret_cast<void* (*)(void*)>(dlsym(library, "GetLumivexPlayer"));
  ASSERT_NE(factory, nullptr);
  EXPECT_EQ(factory(nullptr), nullptr);
  EXPECT_THAT(journal_.Take(),
              ElementsAre("A:GetLumivexPlayer IPlaybackEventListener instance is NULL."));
  dlclose(library);
}

}  // namespace
}  // namespace lumivex::test
