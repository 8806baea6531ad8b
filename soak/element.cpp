#include "element.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "check.h"
#include "message_reader.h"
#include "messages.h"
#include "platform.h"
#include "watchdog.h"

namespace lumivex::soak {

namespace {

using host::Json;
using host::OwnedVar;
using host::Page;
using test::Check;

constexpr std::chrono::minutes kPatience{1};  // the watchdog has less
constexpr int kPosition = 6;
constexpr int kMessage177 = 9;

// The members of each event besides "event".
const std::map<std::string, std::vector<const char*>>& EventMembers() {
  static const std::map<std::string, std::vector<const char*>> members = {
      {"PLAYBACK_INFO_EVENT", {"type", "param1", "param2"}},
      {"PLAYBACK_ERROR_EVENT", {"type", "extra"}},
      {"PLAYBACK_DRMINFO_EVENT", {"type", "data"}},
      {"PLAYBACK_TIMEDTEXT_EVENT", {"text"}},
      {"RF_INFO_EVENT", {"eventType"}},
  };
  return members;
}

}  // namespace

Element::Element(host::Browser* browser,
                 test::AnsweringServices* services,
                 int number,
                 Pause* pause,
                 Counts* counts)
    : vars_(&browser->vars()),
      number_(number),
      pause_(pause),
      counts_(counts),
      random_(Platform::seed, static_cast<uint64_t>(number)) {
  const Watchdog::Step step("opening of element " + std::to_string(number));
  Platform::owner = number;
  std::string error;
  page_ = browser->CreatePage({}, &error, [this](const Json& event) { OnEvent(event); });
  Check(page_ != nullptr, "the plug-in takes the element", error);
  Check(page_->HasHandler(), "an element handles messages");
  privileges_ = services->privileges;
  ++counts_->opened;
  sender_ = std::thread([this] { Send(); });
}

Element::~Element() {
  const Watchdog::Step step("closing of element " + std::to_string(number_));
  page_->Close();
  sender_.join();
}

void Element::Settle() {
  const Watchdog::Step step("settling of element " + std::to_string(number_));
  Check(page_->Settle(kPatience), "a page settles");
  const std::lock_guard<std::mutex> lock(mutex_);
  Check(posted_.empty(), "there is a reply for each posted message");
}

void Element::Send() {
  while (SendOne()) {
  }
  Check(!page_->IsOpen(), "a page that is open can send");
}

bool Element::SendOne() {
  const Pause::Step step(pause_);
  const std::string text = RandomMessage(&random_);
  const OwnedVar message = test::MessageReader(vars_, text).Value();
  ++counts_->messages;
  // One that is answered comes soon, so that the queue does not grow without end.
  return random_.OneIn(3) ? SendBlocking(message.get(), text) : Post(message.get());
}

bool Element::SendBlocking(PP_Var message, const std::string& text) {
  const Watchdog::Step step("message of element " + std::to_string(number_) + ": " + text);
  const test::Expected expected = test::Envelope(vars_, privileges_, message);
  const Page::VarAnswer answer = page_->SendBlockingVar(message, kPatience);
  if (answer.outcome == Page::Outcome::kPageGone) {
    return false;
  }
  Check(answer.outcome == Page::Outcome::kAnswered, "a blocking message is answered", text);
  const OwnedVar key(vars_, vars_->FromUtf8("code"));
  const PP_Var code = vars_->DictionaryGet(answer.value.get(), key.get());
  if (expected.command != nullptr && expected.command->tuner == 'o') {
    tuner_held_ = tuner_held_ || code.value.as_int != 11;  // it obtains the tuner, or says so
  }
  const int seen =
      test::CheckAnswer(vars_, message, expected, answer.value.get(), {tuner_held_, true});
  const auto place = std::find(Counts::kCodes.begin(), Counts::kCodes.end(), seen);
  ++counts_->replies[static_cast<std::size_t>(place - Counts::kCodes.begin())];
  return true;
}

bool Element::Post(PP_Var message) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    posted_.push_back(test::Envelope(vars_, privileges_, message));
  }
  return page_->PostVar(message);
}

void Element::OnEvent(const Json& event) {
  if (!event.contains("event")) {
    OnPostedReply(event);
    return;
  }
  ++counts_->events;
  const std::string text = event.dump();
  Check(event["event"].is_string(), "an event is known", text);
  const auto found = EventMembers().find(event["event"].get<std::string>());
  Check(found != EventMembers().end() && event.size() == found->second.size() + 1,
        "an event is known", text);
  for (const char* member : found->second) {
    const bool is_text = member == std::string("data") || member == std::string("text");
    Check(event.contains(member), "an event has its members", text);
    const Json& value = event[member];
    Check(is_text ? value.is_string() || value.is_null() : value.is_number_integer(),
          "an event's members have their types", text);
  }
  if (event.contains("param1") && (event["type"] == kPosition || event["type"] == kMessage177)) {
    Check(event["param1"] == number_, "an event is of the element's own player", text);
  }
}

void Element::OnPostedReply(const Json& reply) {
  test::Expected expected;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    Check(!posted_.empty(), "there is one reply for each posted message", reply.dump());
    expected = std::move(posted_.front());
    posted_.pop_front();
  }
  test::CheckPostedReply(reply, expected);
}

}  // namespace lumivex::soak
