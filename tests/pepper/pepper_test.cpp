// The Pepper wrappers where the plug-in's own tests do not reach: who holds how many references,
// and everything that can go wrong between a browser and a plug-in.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/browser.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var_dictionary.h"
#include "ppapi/quorvel/pp_base_message_handler.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"
#include "process.h"

namespace lumivex::test {
namespace {

using host::Browser;
using host::Json;
using host::Page;
using testing::ElementsAre;

// What the plug-in of these tests does.
struct Plugin {
  bool creates_module = true;
  bool module_starts = true;
  enum { kInstance, kNoInstance, kThrows } creates = kInstance;
  bool instance_starts = true;

  int modules = 0;    // alive
  int instances = 0;  // alive
  pp::Instance* instance = nullptr;
  std::vector<std::string> seen;  // by the instance
};
Plugin plugin;

class TestInstance : public pp::Instance {
 public:
  explicit TestInstance(PP_Instance instance) : pp::Instance(instance) {
    ++plugin.instances;
    plugin.instance = this;
  }
  TestInstance(const TestInstance&) = delete;
  TestInstance& operator=(const TestInstance&) = delete;
  ~TestInstance() override { --plugin.instances; }

  bool Init(uint32_t argc, const char* argn[], const char* argv[]) override {
    for (uint32_t i = 0; i < argc; ++i) {
      plugin.seen.push_back(std::string(argn[i]) + "=" + argv[i]);
    }
    return plugin.instance_starts;
  }
  void DidChangeFocus(bool has_focus) override {
    plugin.seen.emplace_back(has_focus ? "focus" : "no focus");
  }
  void HandleMessage(const pp::Var& message) override {
    plugin.seen.push_back("message " + message.AsString());
  }
};

class TestModule : public pp::Module {
 public:
  TestModule() { ++plugin.modules; }
  ~TestModule() override { --plugin.modules; }

  bool Init() override { return plugin.module_starts; }
  pp::Instance* CreateInstance(PP_Instance instance) override {
    if (plugin.creates == Plugin::kThrows) {
      throw std::bad_alloc();
    }
    return plugin.creates == Plugin::kInstance ? new TestInstance(instance) : nullptr;
  }
};

const PPP_Instance* InstanceTable() {
  return static_cast<const PPP_Instance*>(PPP_GetInterface(PPP_INSTANCE_INTERFACE));
}

// Nothing may be left in the end, and nothing may have been used wrongly.
class Pepper : public testing::Test {
 protected:
  void SetUp() override {
    plugin = {};
    StartFirstThread();
  }
  void TearDown() override {
    page_.reset();
    if (browser_ != nullptr) {
      EXPECT_TRUE(browser_->Unload());
      EXPECT_THAT(browser_->Defects(), testing::IsEmpty());
    }
    EXPECT_EQ(plugin.modules, 0);
    EXPECT_EQ(plugin.instances, 0);
  }

  void Load(const std::vector<std::string>& withheld = {}) {
    browser_ = std::make_unique<Browser>();
    for (const std::string& name : withheld) {
      browser_->WithholdInterface(name);
    }
    std::string error;
    ASSERT_TRUE(browser_->LoadModule(
        {&PPP_InitializeModule, &PPP_GetInterface, &PPP_ShutdownModule}, &error))
        << error;
  }
  void Open() {
    Load();
    page_ = browser_->CreatePage({{"id", "x"}, {"src", ""}});
    ASSERT_NE(page_, nullptr);
  }

  std::unique_ptr<Browser> browser_;
  std::unique_ptr<Page> page_;
};

TEST_F(Pepper, VarsHoldOneReferenceEach) {
  Load();
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
  Load();
  pp::VarDictionary dictionary;
  EXPECT_TRUE(dictionary.Set(std::string("k\0y", 3), 2));
  EXPECT_FALSE(dictionary.HasKey("k"));
  EXPECT_TRUE(dictionary.Get("absent").is_undefined());
  // Of a dictionary it is another name, of anything else a new one.
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
  Open();
  pp::SimpleThreadAwaitLoop thread(pp::InstanceHandle(page_->instance()));
  pthread_attr_t usual;
  pthread_attr_t huge;
  pthread_getattr_default_np(&usual);
  pthread_getattr_default_np(&huge);
  pthread_attr_setstacksize(&huge, SIZE_MAX / 4 / 65536 * 65536);
  pthread_setattr_default_np(&huge);
  EXPECT_FALSE(thread.Start());
  pthread_setattr_default_np(&usual);
}

TEST_F(Pepper, AThreadRunsItsLoopUntilItIsDestroyed) {
  struct Seen {
    std::atomic<int> calls{0};
    PP_Resource loop = 0;
  } seen;
  const PP_CompletionCallback note = {[](void* user_data, int32_t) {
                                        auto* const with = static_cast<Seen*>(user_data);
                                        with->loop = pp::MessageLoop::GetCurrent().pp_resource();
                                        ++with->calls;
                                      },
                                      &seen, 0};
  Open();
  const std::ptrdiff_t threads = CountThreads();
  pp::MessageLoop loop;
  {
    pp::SimpleThreadAwaitLoop thread(pp::InstanceHandle(page_->instance()));
    EXPECT_EQ(CountThreads(), threads);
    loop = thread.message_loop();
    EXPECT_EQ(browser_->LiveResources(), 2);
    EXPECT_EQ(loop.PostWork(note), PP_OK);
    ASSERT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start());
    EXPECT_EQ(CountThreads(), threads + 1);
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(loop.PostWork(note), PP_OK);
    }
  }
  // What was posted is done, and the thread is gone when the destructor returns.
  EXPECT_EQ(seen.calls, 51);
  EXPECT_EQ(seen.loop, loop.pp_resource());
  EXPECT_EQ(loop.PostWork(note), PP_ERROR_FAILED);  // it is destroyed with its thread
  EXPECT_TRUE(ThreadsComeTo(threads));
  {
    pp::MessageLoop copy(loop);
    const pp::MessageLoop& same = copy;
    copy = same;
    EXPECT_EQ(browser_->LiveResources(), 2);
  }
  EXPECT_EQ(browser_->LiveResources(), 1);
  EXPECT_TRUE(pp::MessageLoop().is_null());
}

TEST_F(Pepper, InitialisationSucceedsOrLeavesNothing) {
  const Browser browser;
  EXPECT_EQ(PPP_InitializeModule(1, nullptr), PP_ERROR_FAILED);
  plugin.creates_module = false;
  EXPECT_EQ(PPP_InitializeModule(1, &Browser::GetInterface), PP_ERROR_FAILED);
  plugin.creates_module = true;
  plugin.module_starts = false;
  EXPECT_EQ(PPP_InitializeModule(1, &Browser::GetInterface), PP_ERROR_FAILED);
  EXPECT_EQ(plugin.modules, 0);
  EXPECT_EQ(pp::Module::Get(), nullptr);

  plugin.module_starts = true;
  EXPECT_EQ(PPP_InitializeModule(7, &Browser::GetInterface), PP_OK);
  pp::Module* const module = pp::Module::Get();
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module->pp_module(), 7);
  EXPECT_EQ(module->GetBrowserInterface("PPB_NoSuchThing;1.0"), nullptr);
  EXPECT_EQ(PPP_InitializeModule(8, &Browser::GetInterface), PP_ERROR_FAILED);
  EXPECT_EQ(pp::Module::Get(), module);
  PPP_ShutdownModule();
  EXPECT_EQ(plugin.modules, 0);
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

TEST_F(Pepper, AnElementIsRefusedWhenItsInstanceCannotBe) {
  Load();
  plugin.creates = Plugin::kNoInstance;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  plugin.creates = Plugin::kThrows;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  plugin.creates = Plugin::kInstance;
  plugin.instance_starts = false;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  EXPECT_EQ(plugin.instances, 0);
}

TEST_F(Pepper, CallsReachTheInstanceAndNobodyElse) {
  Open();
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
  EXPECT_THAT(plugin.seen, ElementsAre("id=x", "src=", "focus", "no focus", "message hello"));
}

// Answers every message with itself, and throws when told to.
class Echo : public PPBaseMessageHandler {
 public:
  bool unregistered = false;

  void WasUnregistered(pp::InstanceHandle) override { unregistered = true; }

 protected:
  void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override {
    ThrowIfTold(message);
    responseData(pp::Instance(instance.pp_instance()), "name", 26, message, "Error", "text");
  }
  pp::Var HandleBlockingMessageImpl(pp::InstanceHandle, const pp::Var& message) override {
    ThrowIfTold(message);
    return createMessage(0, message, "", "");
  }

 private:
  static void ThrowIfTold(const pp::Var& message) {
    if (message.AsString() == "throw") {
      throw std::runtime_error("thrown");
    }
  }
};

TEST_F(Pepper, AMessageHandlerOnItsThread) {
  Open();
  Echo echo;
  auto thread = std::make_unique<pp::SimpleThreadAwaitLoop>(pp::InstanceHandle(plugin.instance));
  ASSERT_TRUE(thread->Start());
  EXPECT_EQ(plugin.instance->RegisterMessageHandler(&echo, pp::MessageLoop()),
            PP_ERROR_BADRESOURCE);
  EXPECT_EQ(plugin.instance->RegisterMessageHandler(&echo, thread->message_loop()), PP_OK);
  EXPECT_TRUE(page_->HasHandler());

  EXPECT_EQ(page_->SendBlocking({{"a", 1}}).value.dump(),
            R"({"code":0,"errorMessage":"","errorName":"","value":{"a":1}})");
  // Nothing is thrown into the browser.
  EXPECT_EQ(page_->SendBlocking("throw").outcome, Page::Outcome::kAnswered);
  EXPECT_TRUE(page_->Post("throw"));
  EXPECT_TRUE(page_->Post("hello"));
  EXPECT_TRUE(page_->Settle());
  EXPECT_EQ(
      page_->NextEvent().value_or(Json()).dump(),
      R"({"code":26,"errorMessage":"text","errorName":"Error","name":"name","value":"hello"})");
  EXPECT_FALSE(page_->NextEvent());

  plugin.instance->UnregisterMessageHandler();
  thread.reset();  // lets the loop finish
  EXPECT_TRUE(echo.unregistered);
  EXPECT_FALSE(page_->HasHandler());
}

TEST_F(Pepper, WithoutTheBrowsersTables) {
  Load({PPB_CORE_INTERFACE, PPB_VAR_INTERFACE, PPB_VAR_DICTIONARY_INTERFACE,
        PPB_MESSAGING_INTERFACE, PPB_MESSAGELOOP_INTERFACE});
  page_ = browser_->CreatePage();
  ASSERT_NE(page_, nullptr);
  pp::VarDictionary dictionary;
  EXPECT_FALSE(dictionary.Set("a", "b") || dictionary.HasKey("a"));
  EXPECT_TRUE(dictionary.Get("a").is_undefined());
  EXPECT_EQ(pp::Var("text").AsString(), "");
  Echo echo;
  pp::SimpleThreadAwaitLoop thread{pp::InstanceHandle(plugin.instance)};
  EXPECT_TRUE(thread.Start());
  EXPECT_EQ(plugin.instance->RegisterMessageHandler(&echo, thread.message_loop()),
            PP_ERROR_NOINTERFACE);
  plugin.instance->PostMessage(dictionary);
  plugin.instance->UnregisterMessageHandler();
  EXPECT_TRUE(pp::MessageLoop::GetCurrent().is_null());
  EXPECT_EQ(pp::MessageLoop().Run(), PP_ERROR_NOINTERFACE);
  EXPECT_EQ(pp::MessageLoop().PostWork({}), PP_ERROR_NOINTERFACE);
}

}  // namespace
}  // namespace lumivex::test

pp::Module* pp::CreateModule() {
  using lumivex::test::plugin;
  return plugin.creates_module ? new lumivex::test::TestModule : nullptr;
}
