// The life of the plug-in: what it asks and calls from its loading to its unloading, in order, and
// that nothing of it stays behind.

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

const Lines kConstruction = Script(
    Asking(kPlayer) + Asking(kTuner) +
        "h m_hasLumivexPlayerPrivilege : 1 / m_hasLumivexRFMangerPrivilege : 1 | "
        "h LumivexPlayer Version : 1.50 / LumivexRFManager Version: 1.50 | "
        "bridge get_window_id undefined | h App window Resource ID -> 7 | "
        "h Create m_pLumivexPlayerEventListener | "
        "l:CZunoPlayerEventListener [CZunoPlayerEventListener] constructor | "
        "a:CZunoPlayerAdapter Constructor starts | player library loaded | "
        "a:GetPlayerInstance Loading /usr/lib/libzuno-player.so lib successed.\n | "
        "player Create | a:GetPlayerInstance Create ZunoPlayer instance succeeded. | "
        "player 3(1) | player 24(0) | player 23(1) | player 53() | player 52() | "
        "a:CZunoPlayerAdapter Constructor finishes. | "
        "a:SetDisplay SetDisplay(7), 0, 0, 1920, 1080, starts. | "
        "player 75(0, wayland_rect: 0 0 1920 1080 (16), display_handler: 7 (4)) | "
        "a:SetDisplay finishes. | h End of constructor | K begin additional_thread_->Start() | "
        "K begin RegisterMessageHandler | K  RegisterMessageHandler success",
    "CLumivexMessageHandler");
const Lines kDestructorStarts =
    Script("h:~CLumivexMessageHandler Lumivex Pepper destructor starts.");
const Lines kDestruction = Script(
    "a:~CZunoPlayerAdapter Destructor starts. | a:Stop Stop() starts. | player 11() | "
    "a:Stop finishes. | player 1() | player library unloaded | "
    "a:~CZunoPlayerAdapter Unloading ZunoPlayer lib succeeded. | "
    "a:~CZunoPlayerAdapter Destructor finishes. | "
    "h:~CLumivexMessageHandler Lumivex Pepper destructor end .");

// Keeps calling until it is told to stop.
class Pouring {
 public:
  explicit Pouring(std::function<void()> call)
      : thread_([this, call = std::move(call)] {
          while (!stop_) {
            call();
          }
        }) {}
  ~Pouring() { Stop(); }

  void Stop() {
    stop_ = true;
    if (thread_.joinable()) {
      thread_.join();
    }
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

class Lifecycle : public PluginTest {
 protected:
  Lines JournalOfClosing() {
    journal_.Take();
    page_.reset();
    return journal_.Take();
  }
};

TEST_F(Lifecycle, InOrderFromConstructionToDestruction) {
  Load();
  EXPECT_THAT(journal_.Take(), IsEmpty());
  // The attributes of the element change nothing.
  page_ = browser_->CreatePage({{"src", "x"}, {"privilege", ""}, {"id", "\xff"}});
  ASSERT_NE(page_, nullptr);
  EXPECT_THAT(journal_.Take(), ElementsAreArray(kConstruction));
  EXPECT_THAT(JournalOfClosing(), ElementsAreArray(kDestructorStarts + kDestruction));
}

TEST_F(Lifecycle, TheTunerIsReleasedBeforeThePlayer) {
  Open();
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 1})"));
  // The service may still report while it is being released.
  tuner_.on_release = [this] { tuner_.Event(3, 0, ""); };
  EXPECT_THAT(
      JournalOfClosing(),
      ElementsAreArray(
          kDestructorStarts +
          Lines{"tuner ReleaseInstance()",
                T("OnEvent",
                  "[CLumivexEventListener][OnEvent] contentType: [3], param1: [0], param2: []")} +
          kDestruction));
}

TEST_F(Lifecycle, Threads) {
  Load();
  prctl(PR_SET_NAME, "before");
  journal_.Take();
  page_ = NewPage();
  // The caller's name changes behind the handler's construction and before the worker starts.
  for (const Journal::Entry& entry : journal_.TakeEntries()) {
    const bool of_instance = entry.text.find("[PluginLogging]") != std::string::npos;
    EXPECT_EQ(entry.thread_name, of_instance ? "kpp.lumivex" : "before") << entry.text;
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

TEST_F(Lifecycle, TwoInstancesHaveEverythingOfTheirOwn) {
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

  EXPECT_EQ(Send(Request(kPlayer, "Start"), {}, second.get()), Ok("true"));
  EXPECT_THAT(journal_.Take(), testing::Contains("player2 10(0)"));
  EXPECT_EQ(Send(set_type, {}, second.get()), Ok("true"));
  const std::vector<Journal::Entry> entries = journal_.TakeEntries();
  EXPECT_EQ(entries.back().text, "tuner2 SetChType(0)");
  EXPECT_NE(entries.back().thread, first_worker);

  player_.Message(32, nullptr, 2);
  tuner_.Event(0, 0, "", 2);
  EXPECT_EQ(Events().size(), 0U);
  EXPECT_EQ(Events(second.get()).size(), 2U);

  // Each buffers on its own; the percentage that was reported last is one for both.
  const std::tuple<int, uint32_t, int> kSteps[] = {{1, 50, 1}, {1, 50, 1},  {2, 50, 1}, {2, 55, -1},
                                                   {2, 61, 1}, {1, 65, -1}, {1, 70, 1}};
  for (const auto& [player, percent, answer] : kSteps) {
    EXPECT_EQ(player_.Message(131, MessageRecord(nullptr, percent, 0).get(), player), answer);
  }
  EXPECT_EQ(Events(second.get()).size(), 2U);

  page_.reset();
  player_.Message(32, nullptr, 2);
  EXPECT_EQ(Send(Request(kPlayer, "Start"), {}, second.get()), Ok("true"));
  EXPECT_EQ(Events(second.get()).size(), 1U);
}

TEST_F(Lifecycle, ARunningCommandEndsBeforeTheHandlerDoes) {
  Open();
  std::atomic<bool> seeking{false};
  player_.on_call = [&seeking](int position) {
    if (position == 20) {
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
  const auto end = std::find(journal.begin(), journal.end(), A("SeekTo", "finishes."));
  ASSERT_NE(end, journal.end());
  ASSERT_NE(end + 1, journal.end());
  EXPECT_EQ(end[1], kDestructorStarts[0]);
}

TEST_F(Lifecycle, DestroyedWhileEventsPour) {
  for (int round = 0; round < 20; ++round) {
    PlayerRecorder::Reset();
    TunerRecorder::Reset();
    Open();
    journal_.Pause(true);
    EXPECT_EQ(Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})")), Ok("true"));
    std::atomic<int> poured{0};
    MessageRecord record("text", 55, 4);
    Pouring messages([&] {
      for (const int id : {131, 132, 177, 181, 185, 186}) {
        player_.Message(id, record.get());
      }
      ++poured;
    });
    Pouring positions([&] { player_.Position(1); });
    Pouring tunes([&] { tuner_.Event(0, 1, "x"); });
    // The services end their threads while they are being released, as real ones do.
    player_.on_delete = [&] {
      messages.Stop();
      positions.Stop();
    };
    tuner_.on_release = [&] { tunes.Stop(); };
    std::thread sender([this] {
      const Json request =
          Request(kPlayer, "SetDisplayArea",
                  R"({"x": 0, "y": 0, "width": 9, "height": 9, "scalingMode": 0})");
      while (page_->SendBlocking(request).outcome == Page::Outcome::kAnswered) {
        page_->Post(request);
      }
    });
    while (poured < 3) {
      std::this_thread::yield();
    }
    page_->Close();
    sender.join();
    EXPECT_GE(Events().size(), 3U);
    EXPECT_TRUE(player_.on_delete != nullptr);
    Close();
    journal_.Pause(false);
  }
}

TEST_F(Lifecycle, LoadedTwice) {
  for (int round = 0; round < 2; ++round) {
    PlayerRecorder::Reset();
    Open();
    EXPECT_EQ(Send(Request(kPlayer, "Start")), Ok("true"));
    EXPECT_EQ(player_.Message(186), 1);
    Close();
    void* const library = dlopen(LUMIVEX_TEST_PLUGIN, RTLD_LAZY | RTLD_NOLOAD);
    EXPECT_EQ(library, nullptr) << "the library stays loaded";
    if (library != nullptr) {
      dlclose(library);
    }
  }
}

}  // namespace
}  // namespace lumivex::test
