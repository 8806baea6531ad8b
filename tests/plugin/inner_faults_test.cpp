// Every call that the plug-in makes on the platform fails in turn: the message under way has its
// fixed answer, the journal differs from a run without the fault in nothing but what is stated, the
// next message is answered rightly, and with the page everything goes. A call that has no row here
// fails the test.

#include <algorithm>
#include <tuple>

#include "commands.h"
#include "load_linked.h"
#include "loader_faults.h"
#include "process.h"

namespace lumivex::test {
namespace {

constexpr char kAskWindow[] = "get_window_id undefined";
constexpr char kPrivateServices[] = "interface PPB_ExtensionSystem_Quorvel;0.1";
const std::string kTrue = Ok("true");
const std::string kFalse = Ok("false");
const std::string kVersion = Ok("\"1.50\"");
constexpr char kStart[] = R"({"command": "Start"})";
constexpr char kSetType[] = R"({"command": "SetChannelType", "channelType": 1})";
const std::string kNoHandler = "no answer: 1";
const std::string kTimedOut = "no answer: 3";

// Nothing comes back from these that could tell of a failure.
const Lines kAnswerless = Script(
    "player 3 | player 23 | player 24 | PPB_Core.AddRefResource | PPB_Core.ReleaseResource | "
    "PPB_Var.AddRef | PPB_Var.Release");

// An answer of the private services.
struct Answer {
  int32_t status;
  PP_Var (*make)(host::VarTable* vars);
  std::string window = "-1";  // that it is, as the window's number
};

enum Since { kFromLoading, kFromMessage };

struct Fault {
  std::string call;  // that fails
  Since since;
  std::string reply;            // to the message under way
  std::string difference;       // what leaves the journal (-) and what comes into it (+): Script
  std::string again = kTrue;    // the reply to the same request when the fault is over
  std::string next = kVersion;  // the reply to another while it lasts
  std::string request = kStart;
  std::string defects = "";  // what the browser finds wrong then, as a regular expression
  int resources = 0;         // that cannot be given back
  int vars = 0;              // the same
  bool silent = false;       // succeeds, without its outputs
  const Answer* answer = nullptr;
  int nth = 0;  // call of that name that fails, of the browser's; all when 0
};

// From one list to another, lines that go and lines that come, in their order.
Lines Difference(const Lines& from, const Lines& to) {
  std::vector<std::vector<std::size_t>> common(from.size() + 1,
                                               std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = from.size(); i-- > 0;) {
    for (std::size_t j = to.size(); j-- > 0;) {
      common[i][j] = from[i] == to[j] ? common[i + 1][j + 1] + 1
                                      : std::max(common[i + 1][j], common[i][j + 1]);
    }
  }
  Lines lines;
  for (std::size_t i = 0, j = 0; i < from.size() || j < to.size();) {
    if (i < from.size() && j < to.size() && from[i] == to[j]) {
      ++i, ++j;
    } else if (j == to.size() || (i < from.size() && common[i + 1][j] >= common[i][j + 1])) {
      lines.push_back("-" + from[i++]);
    } else {
      lines.push_back("+" + to[j++]);
    }
  }
  return lines;
}

class EveryFault : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    StartFirstThread();
  }

  struct Course {
    std::string reply;
    std::string next;
    Lines journal;
  };

  void Strike(const Fault& fault) {
    const std::size_t space = fault.call.find(' ');
    const std::string kind = fault.call.substr(0, space);
    const std::string name = fault.call.substr(space + 1);
    if (fault.call == "player Create") {
      player_.creates = false;
    } else if (kind == "player") {
      (fault.silent ? player_.silent : player_.failing) = {std::stoi(name)};
    } else if (kind == "tuner") {
      tuner_.failing = {name};
    } else if (kind == "interface") {
      browser_->WithholdInterface(name);
    } else if (kind == "bridge") {
      services_->answer = [this, name, answer = *fault.answer](
                              PP_Instance, const std::string& asked, PP_Var* result) {
        *result = asked == name         ? answer.make(&browser_->vars())
                  : asked == kAskWindow ? host::IntVar(7)
                                        : host::BoolVar(true);
        return asked == name ? answer.status : 0;
      };
    }
    if (fault.call == "player 1") {
      player_.on_delete = [this] { EXPECT_EQ(player_.Message(186), 1); };
    } else if (fault.call == "tuner ReleaseInstance") {
      tuner_.on_release = [this] { tuner_.Event(0, 0, ""); };
    }
    journal_.log_fails = kind == "log";
    LoaderFaults::Get().failing = kind;
    BrowserCalls::Get().Fail(kind, fault.nth);
  }

  void Heal() {
    player_.creates = true;
    player_.failing.clear();
    player_.silent.clear();
    tuner_.failing.clear();
    services_->answer = nullptr;
    journal_.log_fails = false;
    LoaderFaults::Get().failing.clear();
    BrowserCalls::Get().Fail("");
  }

  // A page from its loading to its end, with the fault or without it; the fault lasts to the end,
  // or is over when the first message has been answered.
  Course Perform(const Fault& fault, bool struck, bool lasting) {
    PlayerRecorder::Reset();
    TunerRecorder::Reset();
    LoaderFaults::Get() = LoaderFaults();
    Heal();
    journal_.Take();
    BrowserCalls::Get().Take();
    const std::ptrdiff_t threads = CountThreads();
    const std::ptrdiff_t files = CountFiles();

    Course course;
    Browser::Options options;
    options.extension_system = services_;
    browser_ = std::make_unique<Browser>(std::move(options));
    if (struck && fault.since == kFromLoading) {
      Strike(fault);
    }
    std::string error;
    EXPECT_TRUE(LoadPlugin(browser_.get(), &error)) << error;
    page_ = NewPage();
    patience_ = fault.reply == kTimedOut ? std::chrono::milliseconds(20) : Page::kPatience;
    Json message = Json::parse(kSetType);
    message["moduleName"] = kTuner;
    if (fault.since == kFromMessage && ModuleOf(fault.request) == kTuner) {
      Send(message);
    }
    if (struck && fault.since == kFromMessage) {
      Strike(fault);
    }
    message = Json::parse(fault.request);
    message["moduleName"] = ModuleOf(fault.request);
    course.reply = Send(message);
    if (player_.message_callback != nullptr) {
      EXPECT_EQ(player_.Message(32), 1);
    }
    if (!lasting) {
      Heal();
    }
    course.next = Send(lasting ? Request("", "GetPlayerVersion") : message);
    page_.reset();

    EXPECT_TRUE(browser_->Unload());
    if (struck && !fault.defects.empty()) {
      EXPECT_THAT(browser_->Defects(), testing::Each(testing::ContainsRegex(fault.defects)));
      EXPECT_TRUE(!browser_->Defects().empty() || fault.nth != 0);
    } else {
      EXPECT_THAT(browser_->Defects(), IsEmpty());
    }
    EXPECT_EQ(browser_->LiveVars(), struck ? fault.vars : 0);
    EXPECT_EQ(browser_->LiveResources(), struck ? fault.resources : 0);
    browser_.reset();
    EXPECT_EQ(player_.alive, 0);
    EXPECT_EQ(tuner_.held, 0);
    EXPECT_EQ(LoaderFaults::Get().open, struck && lasting && fault.call == "dlclose" ? 1 : 0);
    EXPECT_TRUE(ThreadsComeTo(threads)) << CountThreads() << " for " << threads;
    EXPECT_EQ(CountFiles(), files);

    course.journal = journal_.Take();
    std::set<std::string> calls = BrowserCalls::Get().Take();
    for (const std::string& line : course.journal) {
      calls.insert(CallOf(line));
    }
    EXPECT_TRUE(!struck || calls.count(fault.call) == 1) << "nobody calls " << fault.call;
    seen_.merge(calls);
    return course;
  }

  void Try(const Fault& fault) {
    SCOPED_TRACE(fault.call + ", " + fault.request);
    for (const bool lasting : {false, true}) {
      const Course course = Perform(fault, true, lasting);
      EXPECT_EQ(course.reply, fault.reply);
      EXPECT_EQ(course.next, lasting ? fault.next : fault.again);
      if (lasting == (fault.since == kFromLoading)) {
        EXPECT_THAT(Difference(Perform(fault, false, lasting).journal, course.journal),
                    ElementsAreArray(Script(fault.difference)));
      }
    }
  }

  std::set<std::string> seen_;  // calls on the platform
};

// What an event of the player sets off.
const std::string kPosted =
    R"(post {"event": "PLAYBACK_INFO_EVENT", "type": 0, "param1": 0, "param2": 0})";
const std::string kReported =
    "-a:OnMessage [OnMessage] id: [32] | "
    "-l:OnInfo [CZunoPlayerEventListener][OnInfo] type: [0], param1: [0], param2: [0] | "
    "-h:OnInfo [OnInfo] PLAYBACK_INFO_EVENT >> eventType: 0, param1: 0, param2: 0 | -" +
    kPosted;

// Without the player, by what comes instead of its creation.
std::string NoPlayer(const std::string& instead) {
  return "-a:GetPlayerInstance Create ZunoPlayer instance succeeded. | -player 3(1) | "
         "-player 24(0) | -player 23(1) | -player 53() | -player 52() | "
         "-a:CZunoPlayerAdapter Constructor finishes. | " +
         instead +
         " | +A:CZunoPlayerAdapter GetPlayerInstance() retunred NULL. | "
         "-player 75(0, wayland_rect: 0 0 1920 1080 (16), display_handler: 7 (4)) | "
         "-a:SetDisplay finishes. | "
         "+A:SetDisplay ZunoPlayer instance is not created yet. Returns false. | "
         "+H:CLumivexMessageHandler SetDisplay() returned false. | -player 10(0) | "
         "-a:Start finishes. | " +
         kReported +
         " | +A:Start ZunoPlayer instance is not created yet. Returns false. | "
         "+H:Start Start() returned false. | "
         "-a:Stop Stop() starts. | -player 11() | -a:Stop finishes. | -player 1()";
}
std::string NoLibrary(const std::string& reason) {
  return "-a:GetPlayerInstance Loading /usr/lib/libzuno-player.so lib successed.\n | "
         "-dlsym Create | -player Create | " +
         NoPlayer("+dlerror" + reason) +
         " | -dlclose | -a:~CZunoPlayerAdapter Unloading ZunoPlayer lib succeeded.";
}
constexpr char kNotCreated[] =
    "+A:GetPlayerInstance IZunoPlayer::Create() returned null. ZunoPlayer instance creation "
    "failed.\n";

// Without the handler: what no message sets off.
const std::string kUnheard =
    "-h:HandleBlockingMessageImpl =================> moduleName: lumivexplayer | "
    "-h:HandleBlockingMessageImpl =================> command: Start | "
    "-a:Start Start() starts. | -player 10(0) | -a:Start finishes.";
const std::string kUnheardNext =
    " | -h:HandleBlockingMessageImpl =================> moduleName:  | "
    "-h:HandleBlockingMessageImpl =================> command: GetPlayerVersion";
const std::string kUnregistered =
    "-K  RegisterMessageHandler success | " + kUnheard + " | +K  RegisterMessageHandler Fail";

// Without the tuner.
const std::string kUntuned =
    "-t:CLumivexEventListener [CLumivexEventListener] constructor | "
    "-tuner RegisterRFEventHandler(true) | -tuner SetSubtitleWindowSubsurface(7) | "
    "-tuner ShowSubtitleWindow() | -h:InitRFManager RFManager is initialized | "
    "-h:SetChannelType [SetChannelType] channelType : 1 | -tuner SetChType(1) | ";

// Without the privileges, or with another window.
std::string NoPrivilege(const std::string& module) {
  return Refused(18, "SecurityError", "You do not have the " + module + " privilege");
}
std::string Denied(bool player, bool tuner) {
  const auto line = [](bool first, bool second) {
    return std::string("h:CLumivexMessageHandler m_hasLumivexPlayerPrivilege : ") +
           (first ? "1" : "0") + " / m_hasLumivexRFMangerPrivilege : " + (second ? "1" : "0") +
           " | ";
  };
  return "-" + line(true, true) + "+" + line(!player, !tuner);
}
std::string OtherWindow(const std::string& id) {
  const auto display = [](const char* sign, const std::string& window) {
    return std::string(" | ") + sign + "a:SetDisplay SetDisplay(" + window +
           "), 0, 0, 1920, 1080, starts. | " + sign +
           "player 75(0, wayland_rect: 0 0 1920 1080 (16), display_handler: " + window + " (4))";
  };
  return "-h:CLumivexMessageHandler App window Resource ID -> 7 | "
         "+h:CLumivexMessageHandler App window Resource ID -> " +
         id + display("-", "7") + display("+", id);
}
std::string AskPrivilege(const std::string& module) {
  return R"(bridge check_ace_privilege "http://)" LUMIVEX_TEST_DEVELOPER_HOST "/privilege/" +
         module + "\"";
}
const Answer kAnswers[] = {
    {-2, [](host::VarTable*) { return host::UndefinedVar(); }},
    {1, [](host::VarTable*) { return host::BoolVar(true); }},
    {0, [](host::VarTable*) { return host::UndefinedVar(); }},
    {0, [](host::VarTable*) { return host::NullVar(); }},
    {0, [](host::VarTable*) { return host::BoolVar(false); }},
    {0, [](host::VarTable* vars) { return vars->FromUtf8("true"); }},
    {0, [](host::VarTable* vars) { return vars->CreateDictionary(); }},
    {0, [](host::VarTable*) { return host::IntVar(1); }, "1"},
    {0, [](host::VarTable*) { return host::DoubleVar(8.75); }, "8"},
};

const std::string kNoModule = Refused(26, "InvalidValuesError", "Parameter moduleName is invalid");
const std::string kUnknown = Refused(9, "NotSupportedError", "Command not recognized");

const Fault kFaults[] = {
    {"log", kFromLoading, kTrue, ""},

    // The player library. Commands without a player fail for good.
    {"dlopen", kFromLoading, kFalse,
     NoLibrary(" | +A:GetPlayerInstance Loading /usr/lib/libzuno-player.so lib failed. "
               "(no such file)\n"),
     kFalse},
    {"dlerror", kFromLoading, kFalse, NoLibrary(""), kFalse},
    {"dlsym", kFromLoading, kFalse, "-player Create | " + NoPlayer(kNotCreated), kFalse},
    {"player Create", kFromLoading, kFalse, NoPlayer(kNotCreated), kFalse},
    {"dlclose", kFromLoading, kTrue,
     "-a:~CZunoPlayerAdapter Unloading ZunoPlayer lib succeeded. | "
     "+A:~CZunoPlayerAdapter dlclose() failed."},
    {"player 53", kFromLoading, kTrue,
     "+A:CZunoPlayerAdapter SetMessageCallback() returned false. | " + kReported},
    {"player 52", kFromLoading, kTrue,
     "+A:CZunoPlayerAdapter SetCurrentPositionCallback() returned false."},
    {"player 75", kFromLoading, kTrue,
     "+A:SetDisplay SetDisplay() returned false. | "
     "+H:CLumivexMessageHandler SetDisplay() returned false."},
    {"player 11", kFromLoading, kTrue, "+A:Stop Stop() returned false."},
    {"player 1", kFromLoading, kTrue,  // reports once more
     "+a:OnMessage [OnMessage] id: [186] | +A:OnMessage Error event 1 occured. | "
     "+l:OnError [CZunoPlayerEventListener][OnError] type: [1], extra: [0] | "
     "+H:OnError [OnError] PLAYBACK_ERROR_EVENT >> eventType: 1, extra: 0 | "
     R"(+post {"event": "PLAYBACK_ERROR_EVENT", "type": 1, "extra": 0})"},

    // The tuner, as it is obtained and given back.
    {"tuner GetKelvoAppIDByPID", kFromLoading, kTrue,
     R"(-tuner GetInstance("org.example.page", false, null) | )"
     R"(+tuner GetInstance("", false, null))",
     kTrue, kVersion, kSetType},
    {"tuner GetInstance", kFromLoading, NoTuner(),
     kUntuned + "+H:InitRFManager Getting RFManager instance failed. | -tuner ReleaseInstance()",
     kTrue, kVersion, kSetType},
    {"tuner RegisterRFEventHandler", kFromLoading, kTrue, "", kTrue, kVersion, kSetType},
    {"tuner SetSubtitleWindowSubsurface", kFromLoading, kTrue, "", kTrue, kVersion, kSetType},
    {"tuner ShowSubtitleWindow", kFromLoading, kTrue, "", kTrue, kVersion, kSetType},
    {"tuner ReleaseInstance", kFromLoading, kTrue,  // reports once more
     "+t:OnEvent [CLumivexEventListener][OnEvent] contentType: [0], param1: [0], param2: [] | "
     "+t:OnEvent [CLumivexEventListener][OnEvent][OnRFInfo] Event TUNE_SUCCESS | "
     R"(+post {"event": "RF_INFO_EVENT", "eventType": 0})",
     kTrue, kVersion, kSetType},

    {"pthread_create", kFromLoading, kTimedOut, kUnheard + kUnheardNext, kTimedOut, kTimedOut},

    // The browser. Where it cannot give messages to the handler the page is told so.
    {"PPB_MessageLoop.Create", kFromLoading, kNoHandler, kUnregistered + kUnheardNext, kNoHandler,
     kNoHandler},
    {"PPB_MessageLoop.AttachToCurrentThread", kFromLoading, kTimedOut, kUnheard + kUnheardNext,
     kTimedOut, kTimedOut},
    {"PPB_MessageLoop.Run", kFromLoading, kTimedOut, kUnheard + kUnheardNext, kTimedOut, kTimedOut},
    {"PPB_MessageLoop.PostQuit", kFromLoading, kTrue, "", kTrue, kVersion, kStart, "", 0, 0, false,
     nullptr, 1},
    {"PPB_Messaging.RegisterMessageHandler", kFromLoading, kNoHandler, kUnregistered + kUnheardNext,
     kNoHandler, kNoHandler},
    {"PPB_Messaging.PostMessage", kFromLoading, kTrue, "-" + kPosted},
    {"PPB_Var.VarFromUtf8", kFromMessage, "{}", kUnheard + " | -" + kPosted + " | +post {}", kTrue,
     "{}", kStart, "null is no string"},
    {"PPB_Var.VarToUtf8", kFromMessage, kUnknown,
     kUnheard + " | +h:HandleBlockingMessageImpl =================> moduleName:  | "
                "+h:HandleBlockingMessageImpl =================> command:  | "
                "+H:HandleBlockingMessageImpl Can not handle the command!! ",
     kTrue, kUnknown},
    {"PPB_VarDictionary.Create", kFromMessage, "undefined", "-" + kPosted + " | +post undefined",
     kTrue, "undefined", kStart, "undefined is no dictionary"},
    {"PPB_VarDictionary.Get", kFromMessage, kNoModule, kUnheard, kTrue, kNoModule},
    {"PPB_VarDictionary.Set", kFromMessage, "{}", "-" + kPosted + " | +post {}", kTrue, "{}"},
    {"PPB_VarDictionary.HasKey", kFromMessage, BadParameter(),
     "-h:SeekTo msec: 7 | -a:SeekTo SeekTo(7) starts. | -player 20(7) | -a:SeekTo finishes.", kTrue,
     kVersion, R"({"command": "SeekTo", "msec": 7})"},

    // A whole table of the browser's: the element is made all the same.
    {"interface PPB_MessageLoop;1.0", kFromLoading, kNoHandler, kUnregistered + kUnheardNext,
     kNoHandler, kNoHandler},
    {"interface PPB_Messaging;1.2", kFromLoading, kNoHandler,
     kUnregistered + " | -" + kPosted + kUnheardNext, kNoHandler, kNoHandler},
    {"interface PPB_VarArray;1.0", kFromLoading, kTrue, ""},
    {"interface PPB_VarDictionary;1.0", kFromLoading, "undefined",
     kUnheard + " | -" + kPosted + kUnheardNext + " | +post undefined", "undefined", "undefined"},
    {"interface PPB_Core;1.0", kFromLoading, kTrue, "", kTrue, kVersion, kStart,
     "leaked: message loop", 1},
    {"interface PPB_Var;1.2", kFromLoading, "{}",
     "-" + AskPrivilege(kPlayer) + " | -" + AskPrivilege(kTuner) + " | " + Denied(true, true) +
         "-bridge get_window_id undefined | " + OtherWindow("-1") + " | " + kUnheard + " | -" +
         kPosted + kUnheardNext + " | +post {}",
     "{}", "{}", kStart, "is no string|leaked: dictionary of 0", 0, 1},
};

// Success of the player without its outputs: the request, the reply's value, and what the line says
// of it when the command logs it.
const std::tuple<const char*, const char*, const char*> kSilent[] = {
    {R"({"command": "GetVideoWidth"})", "-1", "returned -1."},
    {R"({"command": "GetVideoHeight"})", "-1", "returned -1."},
    {R"({"command": "GetCurrentPosition"})", "0", "returned 0."},
    {R"({"command": "GetDuration"})", "0", "returned 0."},
    {R"({"command": "GetNumOfTracks", "trackType": 2})", "0", ""},
    {R"({"command": "GetSelectedTrack", "trackType": 3})", "0", "returned 0."},
    {R"({"command": "GetTrackLanguageCode", "trackType": 4, "index": 6})", R"("")",
     "language: , string length: 0"},
    {R"({"command": "GetAvailableBitrates"})", R"("")", ""},
};

std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += (text.empty() ? "" : " | ") + line;
  }
  return text;
}

TEST_F(EveryFault, IsSurvived) {
  std::vector<Fault> faults(std::begin(kFaults), std::end(kFaults));
  for (const Command& row : Commands()) {
    const std::string value = Ok(row.value);
    for (const auto& [request, reply, shown] : kSilent) {
      if (request == row.request) {
        Lines silent;
        for (std::string line : row.Journal(true)) {
          const std::size_t at = std::min(line.find("returned "), line.find("language: "));
          if (line.find("bitrates[") == std::string::npos) {
            silent.push_back(at == std::string::npos ? line : line.substr(0, at) + shown);
          }
        }
        faults.push_back({row.call(), kFromMessage, Ok(reply),
                          Joined(Difference(row.Journal(true), silent)), value, kVersion,
                          row.request, "", 0, 0, true});
      }
    }
    faults.push_back({"log", kFromMessage, value, "", value, kVersion, row.request});
    if (!row.call().empty()) {
      faults.push_back({row.call(), kFromMessage, Ok(row.refused_value),
                        Joined(Difference(row.Journal(true), row.Journal(false))), value, kVersion,
                        row.request});
    }
  }
  for (const Answer& answer : kAnswers) {
    faults.push_back({AskPrivilege(kPlayer), kFromLoading, NoPrivilege(kPlayer),
                      Denied(true, false) + kUnheard.substr(kUnheard.find("-h", 1)),
                      NoPrivilege(kPlayer), kVersion, kStart, "", 0, 0, false, &answer});
    faults.push_back(
        {AskPrivilege(kTuner), kFromLoading, NoPrivilege(kTuner),
         Denied(false, true) +
             "-h:HandleBlockingMessageImpl =================> command: SetChannelType | "
             "-tuner GetKelvoAppIDByPID(parent, zeros, 255) | "
             R"(-tuner GetInstance("org.example.page", false, null) | )" +
             kUntuned + "-tuner ReleaseInstance()",
         NoPrivilege(kTuner), kVersion, kSetType, "", 0, 0, false, &answer});
    faults.push_back({std::string("bridge ") + kAskWindow, kFromLoading, kTrue,
                      OtherWindow(answer.window) +
                          " | -tuner SetSubtitleWindowSubsurface(7) | "
                          "+tuner SetSubtitleWindowSubsurface(" +
                          (answer.window == "-1" ? "4294967295" : answer.window) + ")",
                      kTrue, kVersion, kSetType, "", 0, 0, false, &answer});
  }
  std::set<std::string> failing(kAnswerless.begin(), kAnswerless.end());
  failing.insert(kPrivateServices);
  failing.insert("PPB_MessageLoop.PostWork");  // after PostQuit; without both no loop can be ended
  for (const Fault& fault : faults) {
    failing.insert(fault.call);
    Try(fault);
  }
  seen_.erase("");
  for (const std::string& call : seen_) {
    EXPECT_EQ(failing.count(call), 1U) << "no fault of " << call;
  }
}

// The plug-in asks for their table once in a process.
TEST_F(EveryFault, OfThePrivateServicesAsAWholeIsSurvived) {
  const Course course = Perform({kPrivateServices, kFromLoading, "", ""}, true, true);
  EXPECT_EQ(course.reply, NoPrivilege(kPlayer));
  EXPECT_EQ(course.next, kVersion);
  EXPECT_THAT(course.journal, testing::Not(testing::Contains(testing::HasSubstr("bridge"))));
  EXPECT_THAT(course.journal,
              testing::IsSupersetOf(Script(Denied(true, true) + OtherWindow("-1") +
                                               " | dlopen /usr/lib/libzuno-player.so 1 | "
                                               "dlsym Create | dlclose",
                                           "", '+')));
}

// The first call of a name alone, the second and so on, until there are no more.
TEST_F(EveryFault, OfASingleCallIsSurvived) {
  const std::string members[] = {R"("code": 0)", R"("value": "eng")", R"("errorName": "")",
                                 R"("errorMessage": "")"};
  const std::string whole = Ok(R"("eng")");
  std::set<std::string> replies = {
      whole,          NoPrivilege(kPlayer),
      kNoModule,      Refused(26, "InvalidValuesError", "Parameter command is invalid"),
      BadParameter(), kUnknown};
  for (const std::string& member : members) {  // without it, or without its value
    const std::size_t at = whole.find(member);
    const std::string null = member.substr(0, member.find(' ') + 1) + "null";
    replies.insert(std::string(whole).replace(at, member.size(), null));
    const bool is_first = at == 1;
    replies.insert(std::string(whole).erase(is_first ? at : at - 2, member.size() + 2));
  }
  for (const auto& [call, defects] :
       {std::pair("PPB_Var.VarFromUtf8", "(null|operation) is no s"),
        std::pair("PPB_Var.VarToUtf8", ""), std::pair("PPB_VarDictionary.Get", ""),
        std::pair("PPB_VarDictionary.Set", "")}) {
    Fault fault = {call, kFromLoading, "", ""};
    fault.defects = defects;
    fault.request = R"({"command": "GetTrackLanguageCode", "trackType": 4, "index": 6})";
    do {
      ++fault.nth;
      SCOPED_TRACE(fault.call + " " + std::to_string(fault.nth));
      const Course course = Perform(fault, true, false);
      EXPECT_EQ(replies.count(course.reply), 1U) << course.reply;
      // A privilege that was not granted at first stays so.
      EXPECT_EQ(course.next, course.reply == NoPrivilege(kPlayer) ? course.reply : whole);
    } while (BrowserCalls::Get().Failed() > 0);
    EXPECT_GT(fault.nth, 4);
  }
}

}  // namespace
}  // namespace lumivex::test
