// Page messages: any values, blocking and posted, while player, tuner and private services answer
// what the input says. The input's first line is their answers; messages follow, and one after a !
// is posted.

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "answering_tuner.h"
#include "check.h"
#include "host/browser.h"
#include "message_reader.h"
#include "platform.h"
#include "promises.h"

namespace lumivex::fuzz {

namespace {

using host::Json;
using host::OwnedVar;
using host::Page;
using host::VarTable;
using test::AnsweringServices;
using test::AnsweringTuner;
using test::Check;
using test::Expected;
using test::MessageReader;
using test::Privileges;

constexpr int kMostMessages = 48;

void SendBlocking(VarTable* vars, Page* page, const Privileges& privileges, PP_Var message) {
  const Expected expected = test::Envelope(vars, privileges, message);
  test::Say().TakeGaveBadText();
  const Page::VarAnswer answer = page->SendBlockingVar(message);
  Check(answer.outcome == Page::Outcome::kAnswered, "a blocking message is answered");
  test::CheckAnswer(vars, message, expected, answer.value.get(),
                    {AnsweringTuner::Held() > 0, test::Say().TakeGaveBadText()});
}

// Takes what came to the page: posted replies in the order of sending, and events among them.
void CheckEvents(Page* page, std::deque<Expected>* posted) {
  while (const std::optional<Json> event = page->NextEvent()) {
    const std::string text = event->dump();
    if (event->contains("event")) {
      Check(!event->contains("code") && (*event)["event"].is_string(), "an event is none", text);
      continue;
    }
    Check(!posted->empty(), "there is one reply for each posted message", text);
    test::CheckPostedReply(*event, posted->front());
    posted->pop_front();
  }
  Check(posted->empty(), "every posted message is answered");
}

void Run(std::string_view input) {
  const std::size_t line = std::min(input.find('\n'), input.size());
  Platform& platform = Platform::Get();
  platform.answers.Set(input.substr(0, line));
  platform.events_from_calls = true;
  AnsweringTuner::reports_from_calls = true;

  const auto services = std::make_shared<AnsweringServices>();
  host::Browser::Options options;
  options.extension_system = services;
  host::Browser browser(options);
  LoadPlugin(&browser);
  VarTable* const vars = &browser.vars();
  const std::unique_ptr<Page> page = browser.CreatePage();
  Check(page != nullptr, "the plug-in takes the page");
  const int64_t live = browser.LiveVars();

  MessageReader reader(vars, input.substr(line));
  std::deque<Expected> posted;
  for (int i = 0; i < kMostMessages && !reader.AtEnd(); ++i) {
    const bool post = reader.TakeIf('!');
    const OwnedVar message = reader.Value();
    if (post) {
      posted.push_back(test::Envelope(vars, services->privileges, message.get()));
      Check(page->PostVar(message.get()), "a message can be posted");
    } else {
      SendBlocking(vars, page.get(), services->privileges, message.get());
    }
  }
  Check(page->Settle(), "the handler comes to an end");
  CheckEvents(page.get(), &posted);
  Check(browser.LiveVars() == live, "no var is kept", std::to_string(browser.LiveVars() - live));
  page->Close();
  UnloadPlugin(&browser);
}

}  // namespace

}  // namespace lumivex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  lumivex::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
