// Messages and events between a page and a plug-in that the test itself plays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "host/browser.h"
#include "ppapi/c/pp_errors.h"
#include "tables.h"

namespace lumivex::host {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Outcome = Page::Outcome;

constexpr milliseconds kLong{20000};

// A plug-in's handler with a thread of its own, which notes what it gets.
class Handler {
 public:
  explicit Handler(PP_Instance instance)
      : instance_(instance), loop_(tables_.loop.Create(instance)) {
    std::promise<void> attached;
    thread_ = std::thread([this, &attached] {
      tables_.loop.AttachToCurrentThread(loop_);
      attached.set_value();
      tables_.loop.Run(loop_);
    });
    attached.get_future().wait();
  }
  ~Handler() {
    tables_.loop.PostQuit(loop_, PP_TRUE);
    thread_.join();
    tables_.core.ReleaseResource(loop_);
  }
  Handler(const Handler&) = delete;
  Handler& operator=(const Handler&) = delete;

  int32_t Register() {
    return tables_.messaging.RegisterMessageHandler(instance_, this, &kTable, loop_);
  }

  std::function<PP_Var(const PP_Var& message)> answer = [](const PP_Var&) { return NullVar(); };
  std::atomic<bool> destroyed{false};
  std::vector<Json> got;  // of the handler's thread, and of the test when that is at rest
  VarTable* vars = nullptr;

 private:
  static Handler& Of(void* user) { return *static_cast<Handler*>(user); }
  void Note(const PP_Var& message) {
    EXPECT_EQ(tables_.loop.GetCurrent(), loop_);
    EXPECT_FALSE(destroyed);
    got.push_back(vars->ToJson(message).value_or("not passable"));
  }

  static constexpr PPP_MessageHandler kTable = {
      [](PP_Instance, void* user, const PP_Var* message) { Of(user).Note(*message); },
      [](PP_Instance, void* user, const PP_Var* message, PP_Var* response) {
        Of(user).Note(*message);
        *response = Of(user).answer(*message);
      },
      [](PP_Instance, void* user) { Of(user).destroyed = true; }};

  Tables tables_;
  const PP_Instance instance_;
  const PP_Resource loop_;
  std::thread thread_;
};

class PageTest : public testing::Test {
 protected:
  PageTest() { Plugin::Current() = {}; }

  // A page whose plug-in ends its handler when the element goes.
  void Open() {
    Plugin::Current().did_destroy = [this](PP_Instance) { handler_.reset(); };
    ASSERT_TRUE(browser_.LoadModule(Plugin::Entry(), nullptr));
    page_ = browser_.CreatePage();
    handler_ = std::make_unique<Handler>(page_->instance());
    handler_->vars = &browser_.vars();
  }
  void OpenAndRegister() {
    Open();
    ASSERT_EQ(handler_->Register(), PP_OK);
  }
  void PostEvent(PP_Instance instance, const Json& event) {
    const OwnedVar var(&browser_.vars(), browser_.vars().FromJson(event).value_or(NullVar()));
    tables_.messaging.PostMessage(instance, var.get());
  }
  std::vector<Json> TakeEvents() {
    std::vector<Json> events;
    while (std::optional<Json> event = page_->NextEvent()) {
      events.push_back(std::move(*event));
    }
    return events;
  }
  void ExpectCleanEnd() {
    page_.reset();
    browser_.Unload();
    EXPECT_THAT(browser_.Defects(), IsEmpty());
  }

  Browser browser_;
  Tables tables_;
  std::unique_ptr<Handler> handler_;
  std::unique_ptr<Page> page_;
};

TEST_F(PageTest, MessagesAreHandledInTheOrderOfSending) {
  OpenAndRegister();
  handler_->answer = [this](const PP_Var& message) {
    browser_.vars().AddRef(message);
    return message;
  };
  for (int i = 0; i < 50; ++i) {
    if (i % 5 == 4) {
      const Page::Answer answer = page_->SendBlocking(i);
      EXPECT_EQ(answer.outcome, Outcome::kAnswered);
      EXPECT_EQ(answer.value, i);
    } else {
      EXPECT_TRUE(page_->Post(i));
    }
  }
  EXPECT_TRUE(page_->Settle());
  ASSERT_EQ(handler_->got.size(), 50U);
  EXPECT_TRUE(std::is_sorted(handler_->got.begin(), handler_->got.end()));

  // Types as they are, where a test wants to tell.
  const Page::VarAnswer answer = page_->SendBlockingVar(DoubleVar(2.0));
  EXPECT_EQ(answer.outcome, Outcome::kAnswered);
  EXPECT_EQ(answer.value.get().type, PP_VARTYPE_DOUBLE);
  ExpectCleanEnd();
}

TEST_F(PageTest, SendersOnManyThreadsEachGetTheirAnswer) {
  OpenAndRegister();
  handler_->answer = [this](const PP_Var& message) {
    browser_.vars().AddRef(message);
    PostEvent(page_->instance(), "seen");
    return message;
  };
  std::vector<std::thread> senders;
  for (int t = 0; t < 4; ++t) {
    senders.emplace_back([this, t] {
      for (int i = 0; i < 200; ++i) {
        const Json message = {{"thread", t}, {"i", i}};
        EXPECT_EQ(page_->SendBlocking(message).value, message);
      }
    });
  }
  for (std::thread& sender : senders) {
    sender.join();
  }
  EXPECT_EQ(TakeEvents().size(), 800U);
  ExpectCleanEnd();
}

TEST_F(PageTest, WhoHasNoAnswerIsToldWhy) {
  Open();
  EXPECT_EQ(page_->SendBlocking(1).outcome, Outcome::kNoHandler);
  EXPECT_FALSE(page_->Post(1)) << "the plug-in has no PPP_Messaging";
  EXPECT_TRUE(page_->Settle());

  handler_->Register();
  handler_->answer = [](const PP_Var&) {
    std::this_thread::sleep_for(milliseconds(50));
    return NullVar();
  };
  EXPECT_EQ(page_->SendBlocking(2, milliseconds(1)).outcome, Outcome::kTimedOut);
  EXPECT_FALSE(page_->Settle(milliseconds(1)));
  EXPECT_TRUE(page_->Settle());

  Json deep = Json::array();
  for (int i = 0; i < kMaxDepth; ++i) {
    deep = Json::array({std::move(deep)});
  }
  EXPECT_EQ(page_->SendBlocking(deep).outcome, Outcome::kNotPassable);
  EXPECT_FALSE(page_->Post(deep));
  handler_->answer = [this](const PP_Var&) {
    const PP_Var dead = browser_.vars().CreateArray();
    browser_.vars().Release(dead);
    return dead;
  };
  EXPECT_EQ(page_->SendBlocking(3).outcome, Outcome::kNotPassable);
  EXPECT_THAT(handler_->got, ElementsAre(2, 3));

  page_->Close();
  EXPECT_EQ(page_->SendBlocking(4).outcome, Outcome::kPageGone);
  EXPECT_FALSE(page_->Post(4));
  EXPECT_EQ(browser_.LiveVars(), 0);
}

TEST_F(PageTest, AnswersOfMessagesWhoseLoopEnds) {
  OpenAndRegister();
  std::promise<void> begun;
  std::promise<void> proceed;
  handler_->answer = [&](const PP_Var&) {
    begun.set_value();
    proceed.get_future().wait();
    return IntVar(1);
  };
  auto first = std::async(std::launch::async, [this] { return page_->SendBlocking("first"); });
  begun.get_future().wait();
  auto ending = std::async(std::launch::async, [this] { handler_.reset(); });
  // Everything sent once the loop is told to quit lies behind the quit, and is dropped with it.
  while (tables_.loop.PostWork(2, {[](void*, int32_t) {}, nullptr, 0}, 0) == PP_OK &&
         ending.wait_for(milliseconds(20)) != std::future_status::timeout) {
  }
  auto second = std::async(std::launch::async, [this] { return page_->SendBlocking("second"); });
  std::this_thread::sleep_for(milliseconds(20));
  proceed.set_value();
  EXPECT_EQ(first.get().value, 1);
  EXPECT_EQ(second.get().outcome, Outcome::kNoHandler);
  ending.get();
  EXPECT_EQ(page_->SendBlocking("third").outcome, Outcome::kNoHandler);
  ExpectCleanEnd();
}

TEST_F(PageTest, ClosingFreesWaitingSendersAndDropsTheirMessages) {
  OpenAndRegister();
  std::promise<void> begun;
  handler_->answer = [&](const PP_Var&) {
    begun.set_value();
    while (page_->IsOpen()) {  // at work until the page goes
      std::this_thread::yield();
    }
    PostEvent(page_->instance(), "too late");
    return IntVar(1);
  };
  auto working = std::async(std::launch::async, [this] { return page_->SendBlocking("working"); });
  begun.get_future().wait();
  auto waiting = std::async(std::launch::async, [this] { return page_->SendBlocking("waiting"); });
  page_->Post("posted");
  PostEvent(page_->instance(), "in time");
  int handled = 0;
  Plugin::Current().did_destroy = [&](PP_Instance) {
    // Runs while the handler is still at work; joining its thread is the plug-in's part.
    Handler* const handler = handler_.release();
    tables_.messaging.UnregisterMessageHandler(page_->instance());
    std::atomic<bool>* const destroyed = &handler->destroyed;
    while (!*destroyed) {
      std::this_thread::yield();
    }
    handled = static_cast<int>(handler->got.size());
    delete handler;
  };
  page_->Close();
  EXPECT_EQ(handled, 1);
  EXPECT_EQ(working.get().outcome, Outcome::kPageGone);
  EXPECT_EQ(waiting.get().outcome, Outcome::kPageGone);
  EXPECT_THAT(TakeEvents(), ElementsAre("in time"));
  PostEvent(page_->instance(), "to a page that is gone");
  EXPECT_EQ(page_->DroppedEvents(), 2);
  EXPECT_EQ(browser_.DroppedEvents(), 2);
  EXPECT_FALSE(page_->NextEvent(kLong)) << "no waiting on a page that is gone";
  ExpectCleanEnd();
}

TEST_F(PageTest, HandlersAreReplacedAndRetired) {
  OpenAndRegister();
  page_->Post("to the first");
  auto second = std::make_unique<Handler>(page_->instance());
  second->vars = &browser_.vars();
  EXPECT_EQ(second->Register(), PP_OK);
  page_->Post("to the second");
  tables_.messaging.UnregisterMessageHandler(page_->instance());
  EXPECT_FALSE(page_->HasHandler());
  EXPECT_FALSE(page_->Post("to nobody"));
  while (!handler_->destroyed || !second->destroyed) {
    std::this_thread::yield();
  }
  EXPECT_THAT(handler_->got, ElementsAre("to the first"));
  EXPECT_THAT(second->got, ElementsAre("to the second"));
  tables_.messaging.UnregisterMessageHandler(page_->instance());  // again is harmless
  second.reset();
  ExpectCleanEnd();
}

TEST_F(PageTest, RegistrationIsRefusedForAReason) {
  Open();
  const auto register_with = [this](const PPP_MessageHandler* handler, PP_Resource loop) {
    return tables_.messaging.RegisterMessageHandler(page_->instance(), nullptr, handler, loop);
  };
  const PPP_MessageHandler good = {[](PP_Instance, void*, const PP_Var*) {},
                                   [](PP_Instance, void*, const PP_Var*, PP_Var*) {},
                                   [](PP_Instance, void*) {}};
  PPP_MessageHandler bad = good;
  bad.HandleBlockingMessage = nullptr;
  const PP_Resource loop = tables_.loop.Create(page_->instance());
  EXPECT_EQ(register_with(&good, tables_.loop.GetForMainThread()), PP_ERROR_WRONG_THREAD);
  EXPECT_EQ(register_with(&good, 0), PP_ERROR_BADRESOURCE);
  EXPECT_EQ(register_with(&bad, loop), PP_ERROR_BADARGUMENT);
  EXPECT_EQ(register_with(nullptr, loop), PP_ERROR_BADARGUMENT);
  browser_.ForceRegisterResult(PP_ERROR_FAILED);
  EXPECT_EQ(register_with(&good, loop), PP_ERROR_FAILED);
  EXPECT_FALSE(page_->HasHandler());
  browser_.ForceRegisterResult(std::nullopt);
  EXPECT_THAT(browser_.Defects(), IsEmpty());

  std::thread([&] { EXPECT_EQ(register_with(&good, loop), PP_OK); }).join();
  EXPECT_EQ(tables_.messaging.RegisterMessageHandler(77, nullptr, &good, loop),
            PP_ERROR_BADARGUMENT);
  tables_.messaging.PostMessage(0, NullVar());
  EXPECT_THAT(browser_.Defects(), ElementsAre(HasSubstr("not called on the main thread"),
                                              "RegisterMessageHandler: unknown instance 77",
                                              "PostMessage: unknown instance 0"));
  tables_.core.ReleaseResource(loop);
}

TEST_F(PageTest, WithoutHandlerMessagesGoToTheMainThread) {
  std::vector<Json> got;
  Plugin::Current().handle_message = [&](PP_Instance, PP_Var message) {
    EXPECT_TRUE(tables_.core.IsMainThread());
    got.push_back(*browser_.vars().ToJson(message));
  };
  Open();
  EXPECT_TRUE(page_->Post({{"n", 1}}));
  EXPECT_TRUE(page_->Post(2));
  EXPECT_THAT(got, IsEmpty());
  browser_.RunPending();
  EXPECT_THAT(got, ElementsAre(Json{{"n", 1}}, 2));
  page_->Post(3);
  page_->Close();
  browser_.RunPending();
  EXPECT_EQ(got.size(), 2U) << "the page was gone before its turn";
  ExpectCleanEnd();
}

TEST_F(PageTest, EventsAreCopiedAndKeptInOrder) {
  Plugin::Current().did_create = [this](PP_Instance instance) {
    PostEvent(instance, "while it is created");
    return true;
  };
  Open();
  const PP_Var event = *browser_.vars().FromJson(Json::array({1}));
  tables_.messaging.PostMessage(page_->instance(), event);
  tables_.array.Set(event, 0, IntVar(2));
  tables_.messaging.PostMessage(page_->instance(), event);
  browser_.vars().Release(event);
  std::thread([this] {
    for (int i = 0; i < 100; ++i) {
      PostEvent(page_->instance(), i);
    }
  }).join();
  const std::vector<Json> events = TakeEvents();
  ASSERT_EQ(events.size(), 103U);
  EXPECT_EQ(events[0], "while it is created");
  EXPECT_EQ(events[1], Json::array({1}));
  EXPECT_EQ(events[2], Json::array({2}));
  EXPECT_TRUE(std::is_sorted(events.begin() + 3, events.end()));

  auto waiting = std::async(std::launch::async, [this] { return page_->NextEvent(kLong); });
  PostEvent(page_->instance(), "awaited");
  EXPECT_EQ(waiting.get(), Json("awaited"));
  EXPECT_FALSE(page_->NextEvent(milliseconds(1)));
  ExpectCleanEnd();
}

TEST_F(PageTest, CallbackTakesEventsInsteadOfTheQueue) {
  Open();
  std::vector<Json> seen;
  std::unique_ptr<Page> other =
      browser_.CreatePage({}, nullptr, [&seen](const Json& event) { seen.push_back(event); });
  PostEvent(other->instance(), "for the callback");
  PostEvent(page_->instance(), "for the queue");
  EXPECT_THAT(seen, ElementsAre("for the callback"));
  EXPECT_FALSE(other->NextEvent());
  EXPECT_THAT(TakeEvents(), ElementsAre("for the queue"));
  // Two elements are apart: closing one leaves the other its handler.
  Plugin::Current().did_destroy = [](PP_Instance) {};
  EXPECT_EQ(handler_->Register(), PP_OK);
  other->Close();
  EXPECT_EQ(page_->SendBlocking(1).outcome, Outcome::kAnswered);
  handler_.reset();
  ExpectCleanEnd();
}

TEST_F(PageTest, ClosedInTheMiddleOfABurstNothingIsLostOrLeaked) {
  for (int round = 0; round < 20; ++round) {
    std::unique_ptr<Handler> handler;
    Plugin::Current().did_destroy = [&handler](PP_Instance) { handler.reset(); };
    browser_.LoadModule(Plugin::Entry(), nullptr);
    page_ = browser_.CreatePage();
    handler = std::make_unique<Handler>(page_->instance());
    handler->vars = &browser_.vars();
    handler->Register();
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([this] {
        while (page_->IsOpen()) {
          page_->Post("message");
          const Outcome outcome = page_->SendBlocking("message").outcome;
          EXPECT_TRUE(outcome == Outcome::kAnswered || outcome == Outcome::kPageGone);
          PostEvent(page_->instance(), "event");
        }
      });
    }
    std::this_thread::sleep_for(milliseconds(2));
    page_->Close();
    for (std::thread& thread : threads) {
      thread.join();
    }
    ExpectCleanEnd();
  }
}

}  // namespace
}  // namespace lumivex::host
