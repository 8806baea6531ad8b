// The Pepper wrappers where the plug-in's own tests do not reach: reference counts, and everything
// that can go wrong between a browser and a plug-in.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "host/browser.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var_dictionary.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"
#include "process.h"
#include "tables.h"

namespace lumivex::test {
namespace {

using host::Browser;
using host::Json;
using host::Page;

const PPP_Instance* InstanceTable() {
  return static_cast<const PPP_Instance*>(PPP_GetInterface(PPP_INSTANCE_INTERFACE));
}

// Runs the echo plug-in, which is linked into the program, and expects no leak and no misuse in the
// end.
class Pepper : public testing::Test {
 protected:
  void SetUp() override { StartFirstThread(); }
  void TearDown() override {
    page_.reset();
    if (browser_ != nullptr) {
      EXPECT_TRUE(browser_->Unload());
      EXPECT_THAT(browser_->Defects(), testing::IsEmpty());
      EXPECT_EQ(last_dropped_, Json("shut down"));
    }
    EXPECT_EQ(pp::Module::Get(), nullptr);
  }

  void Open(const std::string& mode) {
    Browser::Options options;
    options.on_dropped = [this](const Json& event) { last_dropped_ = event; };
    browser_ = std::make_unique<Browser>(options);
    std::string error;
    ASSERT_TRUE(browser_->LoadModule(
        {&PPP_InitializeModule, &PPP_GetInterface, &PPP_ShutdownModule}, &error))
        << error;
    page_ = browser_->CreatePage({{"mode", mode}, {"src", ""}});
    ASSERT_NE(page_, nullptr);
  }

  Json last_dropped_;
  std::unique_ptr<Browser> browser_;
  std::unique_ptr<Page> page_;
};

TEST_F(Pepper, VarsHoldOneReferenceEach) {
  Open("bare");
  {
    pp::Var first("x");
    {
      pp::Var copy(first);  // NOLINT(performance-unnecessary-copy-initialization)
      const pp::Var added(first.pp_var());
    }
    EXPECT_EQ(first.AsString(), "x");
    pp::Var moved(std::move(first));
    EXPECT_TRUE(first.is_undefined());  // NOLINT: a moved var is an undefined one
    pp::Var& same = moved;
    moved = same;
    moved = std::move(same);
    EXPECT_EQ(moved.AsString(), "x");

    pp::Var other("y");
    EXPECT_EQ(browser_->LiveVars(), 2);
    other = moved;
    EXPECT_EQ(browser_->LiveVars(), 1);
    other = pp::Var("z");
    EXPECT_EQ(other.AsString(), "z");
    const PP_Var detached = moved.Detach();
    EXPECT_TRUE(moved.is_undefined());
    EXPECT_EQ(browser_->LiveVars(), 2);
    { const pp::Var taken(pp::PASS_REF, detached); }
    EXPECT_EQ(browser_->LiveVars(), 1);
  }
  EXPECT_EQ(browser_->LiveVars(), 0);
}

TEST_F(Pepper, DictionariesAreShared) {
  Open("bare");
  pp::VarDictionary dictionary;
  EXPECT_TRUE(dictionary.Set(std::string("k\0y", 3), 2));
  EXPECT_FALSE(dictionary.HasKey("k"));
  EXPECT_TRUE(dictionary.Get("absent").is_undefined());
  // A VarDictionary of a dictionary shares it; of anything else it is a new one.
  pp::VarDictionary same{pp::Var(dictionary)};
  EXPECT_TRUE(same.Set("null", pp::Var(pp::Var::Null())));
  EXPECT_TRUE(pp::VarDictionary(dictionary.pp_var()).Get("null").is_null());
  for (const pp::Var& other : {pp::Var(), pp::Var(5), pp::Var("text"), pp::Var(true)}) {
    pp::VarDictionary made(other);
    EXPECT_TRUE(made.Set("key", 1));
    EXPECT_TRUE(made.HasKey("key"));
  }
}

TEST_F(Pepper, AThreadThatCannotBeMadeIsNotStarted) {
  Open("bare");
  pp::SimpleThreadAwaitLoop thread(pp::InstanceHandle(page_->instance()));
  pthread_attr_t usual;
  pthread_attr_t huge;
  pthread_getattr_default_np(&usual);
  pthread_getattr_default_np(&huge);
  pthread_attr_setstacksize(&huge, SIZE_MAX / 4 * 3 / 65536 * 65536);
  pthread_setattr_default_np(&huge);
  EXPECT_FALSE(thread.Start());
  pthread_setattr_default_np(&usual);
}

TEST_F(Pepper, AThreadRunsItsLoopUntilItIsDestroyed) {
  std::atomic<int> calls{0};
  PP_Resource current = 0;
  const auto note = [&calls, &current] {
    current = pp::MessageLoop::GetCurrent().pp_resource();
    ++calls;
  };
  Open("bare");
  const std::ptrdiff_t threads = CountThreads();
  const int64_t resources = browser_->LiveResources();
  pp::MessageLoop loop;
  {
    pp::SimpleThreadAwaitLoop thread(pp::InstanceHandle(page_->instance()));
    loop = thread.message_loop();
    EXPECT_EQ(browser_->LiveResources(), resources + 2);
    EXPECT_EQ(loop.PostWork(host::Work(note)), PP_OK);
    ASSERT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start());
    EXPECT_EQ(CountThreads(), threads + 1);
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(loop.PostWork(host::Work(note)), PP_OK);
    }
  }
  // When the destructor returns all posted work has run and the thread has ended.
  EXPECT_EQ(calls, 51);
  EXPECT_EQ(current, loop.pp_resource());
  EXPECT_EQ(loop.PostWork({[](void*, int32_t) {}, nullptr, 0}),
            PP_ERROR_FAILED);  // it is destroyed with its thread
  EXPECT_TRUE(ThreadsComeTo(threads));
  {
    pp::MessageLoop copy(loop);
    const pp::MessageLoop& same = copy;
    copy = same;
    EXPECT_EQ(browser_->LiveResources(), resources + 2);
  }
  EXPECT_EQ(browser_->LiveResources(), resources + 1);
  EXPECT_TRUE(pp::MessageLoop().is_null());
}

TEST_F(Pepper, InitialisesOnceAndAnswersNothingBefore) {
  const Browser browser;
  EXPECT_EQ(PPP_InitializeModule(1, nullptr), PP_ERROR_FAILED);
  EXPECT_EQ(PPP_InitializeModule(7, &Browser::GetInterface), PP_OK);
  pp::Module* const module = pp::Module::Get();
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module->pp_module(), 7);
  EXPECT_EQ(PPP_InitializeModule(8, &Browser::GetInterface), PP_ERROR_FAILED);
  EXPECT_EQ(pp::Module::Get(), module);
  PPP_ShutdownModule();
  PPP_ShutdownModule();
  for (const char* name : {"", "PPP_Instance;1.0", "PPP_InputEvent;0.1"}) {
    EXPECT_EQ(PPP_GetInterface(name), nullptr) << name;
  }
  EXPECT_EQ(PPP_GetInterface(nullptr), nullptr);
  EXPECT_EQ(InstanceTable()->DidCreate(1, 0, nullptr, nullptr), PP_FALSE);
  InstanceTable()->DidDestroy(1);
  InstanceTable()->DidChangeFocus(1, PP_TRUE);
  EXPECT_EQ(InstanceTable()->HandleDocumentLoad(1, 0), PP_FALSE);
}

TEST_F(Pepper, CallsReachTheInstanceAndNobodyElse) {
  Open("bare");
  const PP_Instance instance = page_->instance();
  for (const PP_Instance called : {instance, instance + 1}) {
    InstanceTable()->DidChangeFocus(called, PP_TRUE);
    InstanceTable()->DidChangeFocus(called, PP_FALSE);
    InstanceTable()->DidChangeView(called, 0);
    EXPECT_EQ(InstanceTable()->HandleDocumentLoad(called, 0), PP_FALSE);
  }
  InstanceTable()->DidDestroy(instance + 1);
  EXPECT_TRUE(page_->Post("hello"));
  browser_->RunPending();
  for (const char* event : {"focus", "no focus", "got hello"}) {
    EXPECT_EQ(page_->NextEvent(), Json(event));
  }
  EXPECT_FALSE(page_->NextEvent());
}

TEST_F(Pepper, AMessageHandlerOnItsThread) {
  Open("early");
  EXPECT_EQ(page_->NextEvent(), Json("early"));
  EXPECT_EQ(page_->SendBlocking({{"do", "reply"}, {"value", {1}}}).value.dump(),
            R"({"code":0,"errorMessage":"","errorName":"","value":[1]})");
  // No exception reaches the browser.
  EXPECT_EQ(page_->SendBlocking({{"do", "throw"}}).outcome, Page::Outcome::kAnswered);
  EXPECT_TRUE(page_->Post({{"do", "throw"}}));
  EXPECT_TRUE(page_->Post({{"do", "respond"}, {"value", "x"}}));
  EXPECT_TRUE(page_->Settle());
  EXPECT_EQ(page_->NextEvent().value_or(Json()).dump(),
            R"({"code":26,"errorMessage":"text","errorName":"Error","name":"name","value":"x"})");

  pp::Instance* const instance = pp::Module::Get()->InstanceForPPInstance(page_->instance());
  instance->UnregisterMessageHandler();
  EXPECT_EQ(page_->NextEvent(Page::kPatience), Json("unregistered"));
  EXPECT_FALSE(page_->HasHandler());
}

TEST_F(Pepper, WithoutTheBrowsersTables) {
  EXPECT_EQ(PPP_InitializeModule(1, [](const char*) -> const void* { return nullptr; }),
            PP_ERROR_FAILED);  // the echo plug-in's answer
  pp::VarDictionary dictionary;
  EXPECT_FALSE(dictionary.Set("a", "b") || dictionary.HasKey("a"));
  EXPECT_TRUE(dictionary.Get("a").is_undefined());
  EXPECT_EQ(pp::Var("text").AsString(), "");
  pp::Instance instance(1);
  pp::SimpleThreadAwaitLoop thread{pp::InstanceHandle(&instance)};
  EXPECT_TRUE(thread.Start());
  EXPECT_EQ(instance.RegisterMessageHandler(nullptr, thread.message_loop()), PP_ERROR_NOINTERFACE);
  instance.PostMessage(dictionary);
  instance.UnregisterMessageHandler();
  EXPECT_TRUE(pp::MessageLoop::GetCurrent().is_null());
  EXPECT_EQ(pp::MessageLoop().Run(), PP_ERROR_NOINTERFACE);
  EXPECT_EQ(pp::MessageLoop().PostWork({}), PP_ERROR_NOINTERFACE);
}

}  // namespace
}  // namespace lumivex::test
