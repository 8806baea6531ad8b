// The life of the plug-in: what it asks and calls from its loading to its unloading, in order, and
// that nothing of it stays behind.

#include <device_paths.h>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr char kConstructor[] = "CLumivexMessageHandler";
constexpr char kAdapter[] = "CZunoPlayerAdapter";

std::string InstanceLine(const std::string& message) {
  return LogLine(2, 6, "KPP_BASE", "LumivexMessageHandler.h", "CLumivexPluginInstance",
                 "[PluginLogging] " + message);
}

const Lines kPrivileges = {"bridge check_ace_privilege \"http://" LUMIVEX_TEST_DEVELOPER_HOST
                           "/privilege/lumivexplayer\"",
                           "bridge check_ace_privilege \"http://" LUMIVEX_TEST_DEVELOPER_HOST
                           "/privilege/lumivexrfmanager\""};

Lines Flags(const char* player, const char* tuner) {
  return {H(kConstructor, std::string("m_hasLumivexPlayerPrivilege : ") + player +
                              " / m_hasLumivexRFMangerPrivilege : " + tuner),
          H(kConstructor, "LumivexPlayer Version : 1.50 / LumivexRFManager Version: 1.50")};
}

Lines Window(const std::string& id) {
  return {H(kConstructor, "App window Resource ID -> " + id),
          H(kConstructor, "Create m_pLumivexPlayerEventListener"),
          L("CZunoPlayerEventListener", "[CZunoPlayerEventListener] constructor"),
          A(kAdapter, "Constructor starts")};
}

const Lines kLibrary = {
    "player library loaded",
    A("GetPlayerInstance", "Loading /usr/lib/libzuno-player.so lib successed.\n"),
    "player Create",
    A("GetPlayerInstance", "Create ZunoPlayer instance succeeded."),
    "player 3(1)",
    "player 24(0)",
    "player 23(1)",
    "player 53()",
};

std::string SetDisplay(const std::string& window) {
  return "player 75(0, wayland_rect: 0 0 1920 1080 (16), display_handler: " + window + " (4))";
}

Lines Display(const std::string& window) {
  return {"player 52()",
          A(kAdapter, "Constructor finishes."),
          A("SetDisplay", "SetDisplay(" + window + "), 0, 0, 1920, 1080, starts."),
          SetDisplay(window),
          A("SetDisplay", "finishes."),
          H(kConstructor, "End of constructor")};
}

const Lines kRegistration = {InstanceLine("begin additional_thread_->Start()"),
                             InstanceLine("begin RegisterMessageHandler"),
                             InstanceLine(" RegisterMessageHandler success")};

const Lines kDestruction = {
    A("~CZunoPlayerAdapter", "Destructor starts."),
    A("Stop", "Stop() starts."),
    "player 11()",
    A("Stop", "finishes."),
    "player 1()",
    "player library unloaded",
    A("~CZunoPlayerAdapter", "Unloading ZunoPlayer lib succeeded."),
    A("~CZunoPlayerAdapter", "Destructor finishes."),
    H("~CLumivexMessageHandler", "Lumivex Pepper destructor end ."),
};
const Lines kDestructorStarts = {H("~CLumivexMessageHandler", "Lumivex Pepper destructor starts.")};

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

std::ptrdiff_t CountEntries(const char* directory) {
  namespace fs = std::filesystem;
  return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

// A joined thread may be listed a moment longer.
bool ThreadsComeTo(std::ptrdiff_t count) {
  for (int i = 0; i < 1000 && CountEntries("/proc/self/task") != count; ++i) {
    usleep(1000);
  }
  return CountEntries("/proc/self/task") == count;
}

class Lifecycle : public PluginTest {
 protected:
  Lines JournalOfNewPage() {
    journal_.Take();
    page_ = NewPage();
    return journal_.Take();
  }

  Lines JournalOfClosing() {
    journal_.Take();
    page_.reset();
    return journal_.Take();
  }
};

TEST_F(Lifecycle, InOrderFromConstructionToDestruction) {
  Load();
  EXPECT_THAT(journal_.Take(), IsEmpty());
  EXPECT_THAT(
      JournalOfNewPage(),
      ElementsAreArray(kPrivileges + Flags("1", "1") + Lines{"bridge get_window_id undefined"} +
                       Window("7") + kLibrary + Display("7") + kRegistration));
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

TEST_F(Lifecycle, ATunerThatWasNotObtainedIsNotReleased) {
  Open();
  tuner_.gives_instance = false;
  Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
  EXPECT_THAT(JournalOfClosing(), ElementsAreArray(kDestructorStarts + kDestruction));
}

TEST_F(Lifecycle, ThePlatformRefusesWhatItCan) {
  const auto without_window = Lines{"bridge get_window_id undefined"} + Window("-1");
  const struct {
    const char* what;
    std::function<int32_t(PP_Instance, const std::string&, PP_Var*)> answer;
    Lines flags;
    Lines window;
    std::string window_id;
  } kCases[] = {
      {"refused calls", [](PP_Instance, const std::string&, PP_Var*) { return -2; },
       Flags("0", "0"), without_window, "-1"},
      {"results without the calls' success",
       [](PP_Instance, const std::string& operation, PP_Var* result) {
         *result = operation == "get_window_id" ? host::IntVar(3) : host::BoolVar(true);
         return 1;
       },
       Flags("0", "0"), without_window, "-1"},
      {"results of other types",
       [this](PP_Instance, const std::string& operation, PP_Var* result) {
         *result = operation == "get_window_id" ? browser_->vars().FromUtf8("3") : host::IntVar(1);
         return 0;
       },
       Flags("0", "0"), without_window, "-1"},
      {"a window with a fraction",
       [](PP_Instance, const std::string& operation, PP_Var* result) {
         *result = operation == "get_window_id" ? host::DoubleVar(8.75) : host::BoolVar(true);
         return 0;
       },
       Flags("1", "1"), Lines{"bridge get_window_id undefined"} + Window("8"), "8"},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.what);
    PlayerRecorder::Reset();
    services_->answer = row.answer;
    Load();
    EXPECT_THAT(JournalOfNewPage(),
                ElementsAreArray(kPrivileges + row.flags + row.window + kLibrary +
                                 Display(row.window_id) + kRegistration));
    Close();
  }
}

TEST_F(Lifecycle, WithoutThePrivateServices) {
  Load();
  browser_->WithholdInterface("PPB_ExtensionSystem_Quorvel;0.1");
  EXPECT_THAT(JournalOfNewPage(), ElementsAreArray(Flags("0", "0") + Window("-1") + kLibrary +
                                                   Display("-1") + kRegistration));
  EXPECT_EQ(Send(Request(kPlayer, "Start")),
            Refused(18, "SecurityError", "You do not have the lumivexplayer privilege"));
  EXPECT_EQ(Send(Request("", "Start")), Ok("true"));
  // Once for the whole life of the library.
  NewPage().reset();
  EXPECT_EQ(browser_->InterfaceRequests("PPB_ExtensionSystem_Quorvel;0.1"), 1);
}

TEST_F(Lifecycle, TheLibraryRefusesWhatItCan) {
  player_.failing = {53, 52, 75, 11};
  Load();
  EXPECT_THAT(
      JournalOfNewPage(),
      ElementsAreArray(kPrivileges + Flags("1", "1") + Lines{"bridge get_window_id undefined"} +
                       Window("7") + kLibrary +
                       Lines{AE(kAdapter, "SetMessageCallback() returned false."), "player 52()",
                             AE(kAdapter, "SetCurrentPositionCallback() returned false."),
                             A(kAdapter, "Constructor finishes."),
                             A("SetDisplay", "SetDisplay(7), 0, 0, 1920, 1080, starts."),
                             SetDisplay("7"), AE("SetDisplay", "SetDisplay() returned false."),
                             A("SetDisplay", "finishes."),
                             HE(kConstructor, "SetDisplay() returned false."),
                             H(kConstructor, "End of constructor")} +
                       kRegistration));
  Lines destruction = kDestruction;
  destruction.insert(destruction.begin() + 3, AE("Stop", "Stop() returned false."));
  EXPECT_THAT(JournalOfClosing(), ElementsAreArray(kDestructorStarts + destruction));
}

TEST_F(Lifecycle, WithoutAPlayer) {
  const Lines rest =
      Lines{AE(kAdapter, "GetPlayerInstance() retunred NULL."),
            A("SetDisplay", "SetDisplay(7), 0, 0, 1920, 1080, starts."),
            AE("SetDisplay", "ZunoPlayer instance is not created yet. Returns false."),
            HE(kConstructor, "SetDisplay() returned false."),
            H(kConstructor, "End of constructor")} +
      kRegistration;
  const Lines before =
      kPrivileges + Flags("1", "1") + Lines{"bridge get_window_id undefined"} + Window("7");
  player_.creates = false;
  Load();
  EXPECT_THAT(
      JournalOfNewPage(),
      ElementsAreArray(
          before + Lines(kLibrary.begin(), kLibrary.begin() + 3) +
          Lines{AE("GetPlayerInstance",
                   "IZunoPlayer::Create() returned null. ZunoPlayer instance creation failed.\n")} +
          rest));
  // The library stayed loaded until now.
  EXPECT_THAT(JournalOfClosing(),
              ElementsAre(H("~CLumivexMessageHandler", "Lumivex Pepper destructor starts."),
                          A("~CZunoPlayerAdapter", "Destructor starts."), "player library unloaded",
                          A("~CZunoPlayerAdapter", "Unloading ZunoPlayer lib succeeded."),
                          A("~CZunoPlayerAdapter", "Destructor finishes."),
                          H("~CLumivexMessageHandler", "Lumivex Pepper destructor end .")));

  ASSERT_FALSE(std::filesystem::exists("/usr/lib/libzuno-player.so"));
  device_paths_set_root(nullptr);
  Lines journal = JournalOfNewPage();
  ASSERT_EQ(journal.size(), before.size() + 1 + rest.size());
  EXPECT_THAT(journal[before.size()],
              testing::AllOf(testing::StartsWith(AE("GetPlayerInstance",
                                                    "Loading /usr/lib/libzuno-player.so lib "
                                                    "failed. (")),
                             testing::HasSubstr("No such file"), testing::EndsWith(")\n")));
  journal.erase(journal.begin() + static_cast<std::ptrdiff_t>(before.size()));
  EXPECT_THAT(journal, ElementsAreArray(before + rest));
  EXPECT_THAT(JournalOfClosing(),
              ElementsAre(H("~CLumivexMessageHandler", "Lumivex Pepper destructor starts."),
                          A("~CZunoPlayerAdapter", "Destructor starts."),
                          A("~CZunoPlayerAdapter", "Destructor finishes."),
                          H("~CLumivexMessageHandler", "Lumivex Pepper destructor end .")));
}

TEST_F(Lifecycle, ARefusedRegistrationLeavesALivingInstance) {
  Load();
  browser_->ForceRegisterResult(-2);
  const Lines journal = JournalOfNewPage();
  ASSERT_FALSE(journal.empty());
  EXPECT_EQ(journal.back(), InstanceLine(" RegisterMessageHandler Fail"));
  EXPECT_FALSE(page_->HasHandler());
  EXPECT_TRUE(page_->Post("nobody reads this"));
  browser_->RunPending();
  EXPECT_EQ(player_.Message(32), 1);  // events reach the page all the same
  EXPECT_EQ(Events().size(), 1U);
  EXPECT_THAT(JournalOfClosing(), testing::IsSupersetOf(kDestruction));
}

TEST_F(Lifecycle, Threads) {
  for (const bool registered : {true, false}) {
    Load();
    if (!registered) {
      browser_->ForceRegisterResult(-2);
    }
    prctl(PR_SET_NAME, "before");
    journal_.Take();
    page_ = NewPage();
    // The caller's name changes behind the handler's construction and before the worker starts.
    for (const Journal::Entry& entry : journal_.TakeEntries()) {
      const bool of_instance = entry.text.find("[PluginLogging]") != std::string::npos;
      EXPECT_EQ(entry.thread_name, of_instance ? "kpp.lumivex" : "before") << entry.text;
      EXPECT_EQ(entry.thread, gettid()) << entry.text;
    }
    if (registered) {
      Send(Request(kPlayer, "Start"));
      Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
      const std::vector<Journal::Entry> entries = journal_.TakeEntries();
      ASSERT_FALSE(entries.empty());
      for (const Journal::Entry& entry : entries) {
        EXPECT_NE(entry.thread, gettid()) << entry.text;
        EXPECT_EQ(entry.thread, entries.front().thread) << entry.text;
      }
    }
    Close();
  }
}

TEST_F(Lifecycle, AttributesOfTheElementChangeNothing) {
  Load();
  journal_.Take();
  std::string error;
  page_ = browser_->CreatePage({{"src", "x"}, {"privilege", ""}, {"id", "\xff"}}, &error);
  ASSERT_NE(page_, nullptr) << error;
  EXPECT_EQ(journal_.Take().size(),
            (kPrivileges + Flags("1", "1") + Window("7") + kLibrary + Display("7") + kRegistration)
                    .size() +
                1);
  EXPECT_EQ(Send(Request(kPlayer, "GetPlayerVersion")), Ok(R"("1.50")"));
}

TEST_F(Lifecycle, TwoInstancesHaveEverythingOfTheirOwn) {
  services_->answer = [](PP_Instance instance, const std::string& operation, PP_Var* result) {
    *result =
        operation == "get_window_id" ? host::IntVar(10 * instance) : host::BoolVar(instance == 2);
    return 0;
  };
  Open();
  const std::unique_ptr<Page> second = NewPage();
  EXPECT_THAT(journal_.Take(), testing::IsSupersetOf({std::string("player2 3(1)"),
                                                      "player2" + SetDisplay("20").substr(6)}));
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

TEST_F(Lifecycle, AHundredInstancesLeaveNothingBehind) {
  Load();
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t files = 0;
  for (int round = 0; round < 100; ++round) {
    page_ = NewPage();
    ASSERT_NE(page_, nullptr);
    Send(Request(kPlayer, "GetDuration"));
    Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})"));
    player_.Message(132, MessageRecord("cue", 0, 0).get(), round + 1);
    page_.reset();
    journal_.Take();
    EXPECT_EQ(browser_->LiveVars(), 0) << round;
    EXPECT_EQ(browser_->LiveResources(), 0) << round;
    if (round == 5) {  // what is made once has been made
      usleep(20000);   // and the last thread is listed no longer
      threads = CountEntries("/proc/self/task");
      files = CountEntries("/proc/self/fd");
    }
  }
  EXPECT_TRUE(ThreadsComeTo(threads)) << CountEntries("/proc/self/task") << " for " << threads;
  EXPECT_EQ(CountEntries("/proc/self/fd"), files);
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
