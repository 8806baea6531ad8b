// Whatever a page sends, whatever the platform answers and reports: calls, log lines, replies and
// events are those of the contract. The first line of the input decides the answers; an empty one
// grants everything. Each other line is a step, whose bytes, here in small letters, choose from
// tables:
//   @cmkvkv...  sends row c of the contract, with module m of its own or another, values v for keys
//   k &ipvt       reports message i of the player, with percentage p, value v and text t ^n reports
//   position n #en         reports event e of the tuner, with the number n .           closes the
//   element, whatever is pending; the next step opens another one
// Any other line is sent as JSON, or as the text that it is. A leading ! posts the message. The
// platform reports on a thread of its own, and sometimes from inside a call.

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "check.h"
#include "contract.h"
#include "page.h"
#include "ppapi/c/ppp.h"
#include "stage.h"

namespace lumivex::test {

namespace {

using host::Json;
using host::Page;

constexpr int kMaxSteps = 24;
constexpr int kNumbers[] = {1,   0,    2,     3,       4,  7,       5,       55, 1280,
                            720, 1080, 65535, INT_MAX, -1, INT_MIN, 1 << 24, 99, 100};
const std::string kTexts[] = {"eng",
                              "",
                              "h\xc3\xa9%s%n",
                              std::string("a\0b", 3),
                              std::string(5000, 'x'),
                              "\xff",
                              "\xed\xa0\x80",
                              "cut\xc3"};
const Json kValues = [] {
  Json values = Json::parse(R"([0, 1, 2, 3, 4, -1, 0.5, -0.9, 2147483647, -3e9, 3e9, 1e300,
      4294967295, 16777217, 1080, true, false, null, "", "2", "%s%n", "a\u0000b", [1], {}])");
  values.insert(values.end(), {HUGE_VAL, std::nan(""), "\xff"});
  return values;
}();
constexpr const char* kModules[] = {kPlayer, kTuner, "another", ""};
constexpr int kMessages[] = {186, 134, 182, 183, 184, 187, 68,  37,  0,   64,  65,  66,
                             67,  98,  32,  35,  96,  97,  131, 132, 177, 181, 185, 999};

const std::vector<std::string>& Keys() {
  static const std::vector<std::string> keys = [] {
    std::vector<std::string> all;
    for (const Command& command : Commands()) {
      for (const auto& [key, value] : command.message.items()) {
        all.push_back(key);
      }
    }
    return all;
  }();
  return keys;
}

// What is left of a line; zeros behind its end.
struct Reader {
  std::string_view text;

  char Take() {
    const char byte = text.empty() ? '\0' : text.front();
    text.remove_prefix(text.empty() ? 0 : 1);
    return byte;
  }
  bool TakeIf(char wanted) { return !text.empty() && text.front() == wanted && Take() == wanted; }
  template <class Table>
  auto& Pick(const Table& table) {
    return table[static_cast<unsigned char>(Take()) % std::size(table)];
  }
  Json Message() {
    if (!TakeIf('@')) {
      const Json json = Json::parse(text, nullptr, false);
      return json.is_discarded() ? Json(text) : json;
    }
    Json request = Pick(Commands()).message;
    const auto module = static_cast<unsigned char>(Take());
    if (module % 8 < std::size(kModules)) {
      request["moduleName"] = kModules[module % 8];
    }
    while (!text.empty()) {
      const std::string& key = Pick(Keys());
      request[key] = Pick(kValues);
    }
    return request;
  }
};

std::string Text(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += "\n  " + line;
  }
  return text;
}

class Session {
 public:
  explicit Session(std::string_view answers) : answers_(answers) {
    services_->answer = [this](PP_Instance, const std::string& call, PP_Var* result) {
      return AnswerService(call.substr(0, call.find(' ')) == "get_window_id", call, result);
    };
    host::Browser::Options options;
    options.extension_system = services_;
    browser_ = std::make_unique<host::Browser>(options);
    std::string error;
    Check(browser_->LoadModule({&PPP_InitializeModule, &PPP_GetInterface, &PPP_ShutdownModule},
                               &error),
          "the plug-in loads", error);
  }

  ~Session() {
    Close();
    browser_->Unload();
    const std::vector<std::string> defects = browser_->Defects();
    Check(defects.empty(), "no misuse of the browser", defects.empty() ? "" : defects.front());
    Check(browser_->LiveVars() == 0 && browser_->LiveResources() == 0, "nothing is leaked");
  }

  void Step(Reader line) {
    if (line.TakeIf('.')) {
      Close();
      return;
    }
    if (page_ == nullptr) {
      Open();
    }
    if (line.TakeIf('&')) {
      const int id = line.Pick(kMessages);
      const bool has_record = !line.TakeIf('-');
      Record record{static_cast<std::uint32_t>(line.Pick(kNumbers)), line.Pick(kNumbers), {}};
      if (!line.TakeIf('-')) {
        record.data = line.Pick(kTexts);
      }
      reports_.push_back([=] { Message(id, has_record ? &record : nullptr); });
    } else if (line.TakeIf('^')) {
      const auto position = static_cast<unsigned long>(line.Pick(kNumbers));
      reports_.push_back([=] { Position(position); });
    } else if (line.TakeIf('#')) {
      const auto type = static_cast<unsigned int>(line.Pick(kNumbers));
      const int number = line.Pick(kNumbers);
      reports_.push_back([=] { Event(type, number); });
    } else {
      Flush();
      ++step_;
      line.TakeIf('!') ? Post(line.Message()) : Send(line.Message());
    }
  }

  // Everything that was sent is done, and everything came.
  void Settle() {
    if (page_ != nullptr) {
      Flush();
      Check(page_->Settle(), "the handler comes to an end");
      CheckJournal({});
      CheckEvents();
      Check(replies_.empty(), "every posted message is answered");
    }
  }

 private:
  // The same for the same call and step.
  Answer AnswerTo(const std::string& call) const {
    Answer answer = call.compare(0, 6, "player") == 0 ? Stage().player : Stage().tuner;
    if (answers_.empty()) {
      return answer;
    }
    std::size_t at = step_;
    for (const char c : call) {
      at = at * 31 + static_cast<unsigned char>(c);
    }
    const auto byte = [this, &at] {
      return static_cast<unsigned char>(answers_[at++ % answers_.size()]);
    };
    const unsigned int first = byte();
    answer.success = first % 8 != 7;
    answer.fills = first % 16 != 14;
    answer.number = kNumbers[byte() % std::size(kNumbers)];
    answer.width = kNumbers[byte() % std::size(kNumbers)];
    answer.height = kNumbers[byte() % std::size(kNumbers)];
    answer.text = kTexts[byte() % std::size(kTexts)];
    answer.bitrates.assign(byte() % 4, static_cast<unsigned int>(answer.number));
    return answer;
  }

  int32_t AnswerService(bool window, const std::string& call, PP_Var* result) {
    const Answer answer = AnswerTo(call);
    *result = !answer.fills ? host::DoubleVar(-1e300)
              : window      ? host::IntVar(answer.number)
                            : host::BoolVar(answer.success);
    if (window) {
      now_.window = !answer.success ? -1 : answer.fills ? answer.number : INT_MIN;
    } else {
      (call.find(kTuner) == std::string::npos ? now_.player_privilege : now_.tuner_privilege) =
          answer.success && answer.fills;
    }
    return answer.success ? 0 : -2;
  }

  void Open() {
    Stage::Reset();
    Stage& stage = Stage::Get();
    stage.answer = [this](const std::string& call) { return AnswerTo(call); };
    now_ = {};
    now_.answer = stage.answer;
    now_.last_percent = last_percent_;
    page_ = browser_->CreatePage();
    Check(page_ != nullptr, "the plug-in takes the page");
    now_.has_player = stage.players == 1;
    Check(now_.has_player == (AnswerTo("dlopen").success && AnswerTo("dlsym").success &&
                              AnswerTo("player Create").success),
          "a player is used that is there");
    journal_.Take();
    stage.on_call = [this](const std::string& call) {
      // Not inside events, which ask for the picture's size alone.
      if (!answers_.empty() && call != "player 15" &&
          AnswerTo("report from " + call).number == 99) {
        Message(177, nullptr);
        Record record{0, 5, {}};
        Message(177, &record);
        Event(0, 1);
      }
    };
  }

  void Close() {
    if (page_ == nullptr) {
      return;
    }
    Flush();
    is_closing_ = true;
    page_->Close();
    CheckEvents();
    page_.reset();
    is_closing_ = false;
    replies_.clear();
    said_.clear();
    reported_.clear();
    journal_.Take();
    last_percent_ = now_.last_percent;
    const Stage& stage = Stage::Get();
    Check(stage.players == 0 && stage.tuners == 0, "player and tuner are given back");
    Check(stage.libraries == 0 || !AnswerTo("dlclose").success, "the player library is closed");
  }

  // What the platform reports, before anything else happens.
  void Flush() {
    if (!reports_.empty()) {
      std::thread([this] {
        for (const std::function<void()>& report : reports_) {
          report();
        }
      }).join();
      reports_.clear();
    }
  }

  void Send(const Json& message) {
    const std::optional<PP_Var> var = browser_->vars().FromJson(message);
    Check(var.has_value(), "a message can be sent");
    const host::OwnedVar owned(&browser_->vars(), *var);
    const std::string reply = Ask(&browser_->vars(), page_.get(), owned.get());
    const Outcome expected = Expect(message, &now_);
    if (reply != expected.reply) {
      Check(false, "a reply",
            Text(message) + " gave\n  " + reply + "\ninstead of\n  " + expected.reply);
    }
    CheckJournal(expected.journal);
  }

  void Post(const Json& message) {
    const Outcome expected = ExpectPosted(message, now_);
    replies_.push_back(expected.reply);
    said_.insert(said_.end(), expected.journal.begin(), expected.journal.end());
    Check(page_->Post(message), "a message can be posted");
  }

  // Calls and log lines of commands, behind those of the messages posted before.
  void CheckJournal(const Lines& lines) {
    said_.insert(said_.end(), lines.begin(), lines.end());
    Lines journal;
    Lines reported;
    for (Journal::Entry& entry : journal_.TakeEntries()) {
      (entry.of_event ? reported : journal).push_back(std::move(entry.text));
    }
    if (journal != said_ || reported != reported_) {
      Check(false, "calls and log lines",
            Joined(journal + reported) + "\ninstead of" + Joined(said_ + reported_));
    }
    said_.clear();
    reported_.clear();
  }

  // Events in the order of their happening, and replies in the order of posting.
  void CheckEvents() {
    while (const std::optional<Json> event = page_->NextEvent()) {
      std::deque<std::string>& expected = event->contains("event") ? events_ : replies_;
      const std::string text = event->dump();
      Check(!expected.empty() && expected.front() == text, "events and posted replies",
            text + " instead of " + (expected.empty() ? "none" : expected.front()));
      expected.pop_front();
    }
    Check(events_.empty(), "no event is lost", events_.empty() ? "" : events_.front());
  }

  void Message(int id, const Record* record) {
    if (!Stage::Get().Hears(1)) {
      return;
    }
    if (id == 131 && !has_reset_) {  // so that an input comes to the same alone and among others
      has_reset_ = true;
      for (const unsigned int percent : {0U, 50U, 0U, 100U}) {
        const Record reset{percent, 0, {}};
        Message(131, &reset);
      }
    }
    // The data stands in memory of its own, with nothing behind it that may be read.
    std::vector<char> data;
    Record sent = record == nullptr ? Record{} : *record;
    if (sent.data) {
      data.assign(sent.data->begin(), sent.data->end());
      if (id == 132) {
        data.push_back('\0');
      } else if (id == 181) {
        sent.value = std::min(sent.value, static_cast<int>(data.size()));
      }
      data.shrink_to_fit();
    } else if (id == 181) {
      sent.value = std::min(sent.value, 0);
    }
    static const char nothing = 'x';
    MessageRecord passed(!sent.data     ? nullptr
                         : data.empty() ? &nothing
                                        : data.data(),
                         sent.percent, sent.value);
    const Report expected = ExpectMessage(id, record == nullptr ? nullptr : &sent, &now_);
    const int result = Stage::Get().Message(id, record == nullptr ? nullptr : passed.get());
    Check(result == (expected.event ? 1 : -1), "a message's result",
          std::to_string(id) + " gave " + std::to_string(result));
    Await(expected);
  }

  // An event that the page has to hear of, as long as it is there.
  void Await(const Report& expected) {
    if (!is_closing_) {
      reported_.insert(reported_.end(), expected.journal.begin(), expected.journal.end());
      if (expected.event) {
        events_.push_back(*expected.event);
      }
    }
  }

  void Position(unsigned long position) {
    if (Stage::Get().Hears(1)) {
      Stage::Get().Position(position);
      Await(ExpectPosition(position));
    }
  }

  void Event(unsigned int type, int number) {
    if (Stage::Get().Listens(1)) {
      Stage::Get().Event(type, number, "x");
      Await(ExpectTunerEvent(type, number, "x"));
    }
  }

  const std::string answers_;
  std::atomic<unsigned int> step_{0};
  std::shared_ptr<PrivateServices> services_ = std::make_shared<PrivateServices>();
  Journal& journal_ = Journal::Get();
  std::unique_ptr<host::Browser> browser_;
  std::unique_ptr<Page> page_;
  Circumstances now_;
  static inline std::uint32_t last_percent_ = 0;  // one for the process, as the plug-in's own
  bool is_closing_ = false;
  bool has_reset_ = false;
  Lines said_;  // to come in the journal: by commands, and by what was reported
  Lines reported_;
  std::vector<std::function<void()>> reports_;
  std::deque<std::string> events_;   // to come
  std::deque<std::string> replies_;  // to messages posted
};

void Run(std::string_view input) {
  const auto line = [&input] {
    const std::string_view first = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(first.size() + 1, input.size()));
    return first;
  };
  Session session(line());
  for (int i = 0; i < kMaxSteps && !input.empty(); ++i) {
    session.Step({line()});
  }
  session.Settle();
}

}  // namespace

}  // namespace lumivex::test

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  lumivex::test::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
