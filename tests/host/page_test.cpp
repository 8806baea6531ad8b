// Loading a plug-in, by file or as a part of the test; its elements, their messages and events.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
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

constexpr milliseconds kLong{60000};

// A plug-in's message handler with its own thread, which records what it receives.
class Handler {
 public:
  Handler(PP_Instance instance, VarTable* vars)
      : instance_(instance), vars_(vars), loop_(tables_.loop.Create(instance)) {
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

  // Waits until everything posted to the loop has run.
  void Drain() {
    std::promise<void> drained;
    tables_.loop.PostWork(loop_, Work([&drained] { drained.set_value(); }), 0);
    drained.get_future().wait();
  }

  std::function<PP_Var(const PP_Var& message)> answer = [](const PP_Var&) { return NullVar(); };
  std::atomic<bool> destroyed{false};
  std::vector<Json> got;  // used by the handler's thread, and by the test while that rests

 private:
  static Handler& Of(void* user) { return *static_cast<Handler*>(user); }
  void Note(const PP_Var& message) {
    EXPECT_EQ(tables_.loop.GetCurrent(), loop_);
    EXPECT_FALSE(destroyed);
    got.push_back(vars_->ToJson(message).value_or("not passable"));
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
  VarTable* const vars_;
  const PP_Resource loop_;
  std::thread thread_;
};

class PageTest : public testing::Test {
 protected:
  PageTest() { Plugin::Current() = {}; }

  // A page whose plug-in destroys its handler together with the element.
  void Open() {
    Plugin::Current().did_destroy = [this](PP_Instance) { handler_.reset(); };
    ASSERT_TRUE(browser_.LoadModule(Plugin::Entry(), nullptr));
    page_ = browser_.CreatePage();
    handler_ = NewHandler(page_->instance());
  }
  std::unique_ptr<Handler> NewHandler(PP_Instance instance) {
    return std::make_unique<Handler>(instance, &browser_.vars());
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
    EXPECT_LT(std::chrono::steady_clock::now() - start_, kLong / 3) << "a waiter was not woken";
    page_.reset();
    browser_.Unload();
    EXPECT_THAT(browser_.Defects(), IsEmpty());
  }

  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::atomic<int> dropped_{0};  // events of pages that are gone
  Browser browser_{[this] {
    Browser::Options options;
    options.on_dropped = [this](const Json&) { ++dropped_; };
    return options;
  }()};
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
    EXPECT_TRUE(i % 5 == 4 ? page_->SendBlocking(i).value == i : page_->Post(i)) << i;
  }
  EXPECT_TRUE(page_->Settle());
  ASSERT_EQ(handler_->got.size(), 50U);
  EXPECT_TRUE(std::is_sorted(handler_->got.begin(), handler_->got.end()));

  // SendBlockingVar keeps the types.
  const Page::VarAnswer answer = page_->SendBlockingVar(DoubleVar(2.0));
  EXPECT_EQ(answer.outcome, Outcome::kAnswered);
  EXPECT_EQ(answer.value.get().type, PP_VARTYPE_DOUBLE);

  const std::size_t heap = mallinfo2().uordblks;
  for (int i = 0; i < 1000; ++i) {
    page_->SendBlocking(i);
  }
  handler_->got.clear();
  handler_->got.shrink_to_fit();
  EXPECT_LT(mallinfo2().uordblks, heap + 20000) << "finished calls pile up";
  ExpectCleanEnd();
}

TEST_F(PageTest, UnansweredSendersGetTheReason) {
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
  handler_->answer = [this](const PP_Var&) {
    const PP_Var dead = browser_.vars().CreateArray();
    browser_.vars().Release(dead);
    return dead;
  };
  EXPECT_EQ(page_->SendBlocking(3).outcome, Outcome::kNotPassable);
  EXPECT_THAT(handler_->got, ElementsAre(2, 3));

  PostEvent(page_->instance(), "in time");
  page_->Close();
  EXPECT_THAT(TakeEvents(), ElementsAre("in time"));
  EXPECT_EQ(page_->SendBlocking(4).outcome, Outcome::kPageGone);
  EXPECT_FALSE(page_->Post(4));
  EXPECT_EQ(browser_.LiveVars(), 0);
}

TEST_F(PageTest, MessagesBehindAQuitAreRefused) {
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
  // Messages sent after the loop is told to quit are queued behind the quit, and dropped.
  while (tables_.loop.PostWork(2, {[](void*, int32_t) {}, nullptr, 0}, 0) == PP_OK &&
         ending.wait_for(milliseconds(20)) != std::future_status::timeout) {
  }
  auto settled = std::async(std::launch::async, [this] { return page_->Settle(kLong); });
  auto second = std::async(std::launch::async, [this] { return page_->SendBlocking("second"); });
  do {
    std::this_thread::sleep_for(milliseconds(20));
  } while (browser_.LiveVars() < 2);
  proceed.set_value();
  EXPECT_EQ(first.get().value, 1);
  EXPECT_EQ(second.get().outcome, Outcome::kNoHandler);
  EXPECT_TRUE(settled.get());
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
  std::size_t handled = 0;
  Plugin::Current().did_destroy = [&](PP_Instance) {
    // Runs while the handler is still busy; joining its thread is up to the plug-in.
    tables_.messaging.UnregisterMessageHandler(page_->instance());
    handler_->Drain();
    EXPECT_TRUE(handler_->destroyed);
    handled = handler_->got.size();
    handler_.reset();
  };
  auto listening = std::async(std::launch::async, [this] {
    page_->NextEvent(kLong);
    return page_->NextEvent(kLong);
  });
  std::this_thread::sleep_for(milliseconds(20));
  page_->Close();
  EXPECT_EQ(listening.get(), std::nullopt);
  EXPECT_EQ(handled, 1U);
  EXPECT_EQ(working.get().outcome, Outcome::kPageGone);
  EXPECT_EQ(waiting.get().outcome, Outcome::kPageGone);
  PostEvent(page_->instance(), "to a page that is gone");
  EXPECT_EQ(dropped_, 2);
  EXPECT_FALSE(page_->NextEvent(kLong)) << "no waiting on a page that is gone";
  ExpectCleanEnd();
}

TEST_F(PageTest, HandlersAreReplacedAndRetired) {
  OpenAndRegister();
  page_->Post("to the first");
  std::unique_ptr<Handler> second = NewHandler(page_->instance());
  EXPECT_EQ(second->Register(), PP_OK);
  page_->Post("to the second");
  tables_.messaging.UnregisterMessageHandler(page_->instance());
  EXPECT_FALSE(page_->HasHandler());
  EXPECT_FALSE(page_->Post("to nobody"));
  handler_->Drain();
  second->Drain();
  EXPECT_TRUE(handler_->destroyed && second->destroyed);
  EXPECT_THAT(handler_->got, ElementsAre("to the first"));
  EXPECT_THAT(second->got, ElementsAre("to the second"));
  tables_.messaging.UnregisterMessageHandler(page_->instance());  // again is harmless
  second.reset();
  ExpectCleanEnd();
}

TEST_F(PageTest, RefusedElementIsClosed) {
  Plugin::Current().did_create = [this](PP_Instance instance) {
    handler_ = NewHandler(instance);
    EXPECT_EQ(handler_->Register(), PP_OK);
    return false;
  };
  Plugin::Current().did_destroy = [](PP_Instance) { FAIL() << "there is no instance"; };
  ASSERT_TRUE(browser_.LoadModule(Plugin::Entry(), nullptr));
  EXPECT_EQ(browser_.CreatePage(), nullptr);
  PostEvent(1, "too late");
  EXPECT_EQ(dropped_, 1);
  tables_.messaging.UnregisterMessageHandler(1);
  handler_->Drain();
  EXPECT_FALSE(handler_->destroyed);
  handler_.reset();
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
  EXPECT_TRUE(page_->Post({{"n", 1}, {"not UTF-8", "\xff"}, {"\xff", 2}}));
  EXPECT_THAT(got, IsEmpty());
  browser_.RunPending();
  page_->Post("the page is gone before its turn");
  page_->Close();
  browser_.RunPending();
  EXPECT_THAT(got, ElementsAre(Json{{"n", 1}, {"not UTF-8", nullptr}}));
  ExpectCleanEnd();
}

TEST_F(PageTest, EventsAreCopiesAndGoToTheirElement) {
  OpenAndRegister();
  Plugin::Current().did_destroy = [](PP_Instance) {};
  std::vector<Json> seen;
  std::unique_ptr<Page> other =
      browser_.CreatePage({}, nullptr, [&seen](const Json& event) { seen.push_back(event); });
  const PP_Var event = *browser_.vars().FromJson(Json::parse("[[1]]"));
  const PP_Var inner = tables_.array.Get(event, 0);
  tables_.messaging.PostMessage(page_->instance(), event);
  tables_.messaging.PostMessage(other->instance(), event);
  tables_.array.Set(inner, 0, IntVar(2));
  tables_.messaging.PostMessage(page_->instance(), event);
  browser_.vars().Release(inner);
  browser_.vars().Release(event);
  other->Close();
  EXPECT_THAT(seen, ElementsAre(Json::parse("[[1]]")));
  EXPECT_FALSE(other->NextEvent());
  EXPECT_THAT(TakeEvents(), ElementsAre(Json::parse("[[1]]"), Json::parse("[[2]]")));
  EXPECT_EQ(page_->SendBlocking("the other element's end is its own").outcome, Outcome::kAnswered);

  auto waiting = std::async(std::launch::async, [this] { return page_->NextEvent(kLong); });
  std::this_thread::sleep_for(milliseconds(20));
  PostEvent(page_->instance(), "awaited");
  EXPECT_EQ(waiting.get(), Json("awaited"));
  EXPECT_FALSE(page_->NextEvent(milliseconds(1)));
  page_->Close();
  EXPECT_FALSE(page_->HasHandler());
  handler_.reset();
  ExpectCleanEnd();
}

TEST(LoadTest, LoadsAndUnloadsAgainAndAgain) {
  for (int round = 0; round < 3; ++round) {
    std::vector<Json> dropped;
    Browser::Options options;
    options.on_dropped = [&dropped](const Json& event) { dropped.push_back(event); };
    Browser browser(options);
    std::string error;
    ASSERT_TRUE(browser.Load(ECHO_PLUGIN, &error)) << error;
    EXPECT_FALSE(browser.Load(ECHO_PLUGIN, &error));
    EXPECT_THAT(error, HasSubstr("already"));
    std::unique_ptr<Page> page = browser.CreatePage({{"mode", "early"}});
    EXPECT_EQ(page->NextEvent(), Json("early"));
    EXPECT_EQ(page->SendBlocking({{"some", "thing"}}).value, Json({{"some", "thing"}}));
    EXPECT_EQ(browser.InterfaceRequests("PPB_Var;1.2"), 1);
    page->SendBlocking({{"do", "window"}});
    ASSERT_EQ(browser.GenericSyncCalls().size(), 1U);
    EXPECT_EQ(browser.GenericSyncCalls().front().instance, page->instance());
    EXPECT_EQ(browser.GenericSyncCalls().front().operation, "get_window_id");
    EXPECT_EQ(browser.GenericSyncCalls().front().result, 0);
    EXPECT_TRUE(browser.Unload(&error)) << error;  // closes the page
    EXPECT_FALSE(page->IsOpen());
    EXPECT_THAT(dropped, ElementsAre("shut down"));
    EXPECT_THAT(browser.Defects(), IsEmpty());
    EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";
  }
}

TEST(LoadTest, TheEndOfTheBrowserUnloads) {
  ASSERT_TRUE(Browser().Load(ECHO_PLUGIN, nullptr));
  EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";
}

TEST(LoadTest, FailuresSayWhy) {
  Browser browser;
  std::string error;
  EXPECT_EQ(browser.CreatePage({}, &error), nullptr);
  EXPECT_THAT(error, HasSubstr("no plug-in"));
  EXPECT_FALSE(browser.Load("/nowhere/plugin.so", &error));
  EXPECT_THAT(error, HasSubstr("/nowhere/plugin.so"));
  EXPECT_FALSE(browser.Load("libm.so.6", &error));
  EXPECT_THAT(error, HasSubstr("PPP_InitializeModule"));
  browser.WithholdInterface("PPB_Messaging;1.2");
  EXPECT_FALSE(browser.Load(ECHO_PLUGIN, &error));
  EXPECT_THAT(error, HasSubstr("returned -2"));
  EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";

  static int shutdowns = 0;
  ModuleEntry entry = Plugin::Entry();
  entry.shutdown = [] { ++shutdowns; };
  entry.get_interface = [](const char*) -> const void* { return nullptr; };
  EXPECT_FALSE(browser.LoadModule(entry, &error));
  EXPECT_THAT(error, HasSubstr("PPP_Instance;1.1"));
  EXPECT_EQ(shutdowns, 1);
  EXPECT_EQ(Browser::GetInterface("PPB_NoSuch;1.0"), nullptr);
  EXPECT_EQ(Browser::GetInterface(nullptr), nullptr);
}

TEST(LoadTest, RefusedElementIsNoPage) {
  Browser browser;
  ASSERT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
  for (const char* mode : {"refuse", "throw"}) {
    std::string error;
    EXPECT_EQ(browser.CreatePage({{"other", "early"}, {"mode", mode}}, &error), nullptr);
    EXPECT_THAT(error, HasSubstr("refused"));
    EXPECT_EQ(browser.LiveResources(), 0);
  }
  browser.Unload();
  EXPECT_THAT(browser.Defects(), IsEmpty());
}

TEST(LoadDeathTest, OneBrowserOnItsOwnThread) {
  EXPECT_DEATH(
      {
        Browser first;
        Browser second;
      },
      "another browser exists");
  EXPECT_DEATH(
      {
        Browser browser;
        std::thread([&browser] { browser.CreatePage(); }).join();
      },
      "not called on the browser");
}

}  // namespace
}  // namespace lumivex::host
