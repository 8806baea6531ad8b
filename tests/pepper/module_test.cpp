// What the browser calls, with everything that can go wrong, and what the plug-in can call when the
// browser lacks the tables for it.

#include "ppapi/cpp/module.h"

#include <stdexcept>

#include "pepper_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/var_dictionary.h"
#include "ppapi/quorvel/pp_base_message_handler.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"

namespace lumivex::test {
namespace {

using host::Browser;
using host::Json;
using host::Page;
using testing::ElementsAre;

const PPP_Instance* InstanceTable() {
  return static_cast<const PPP_Instance*>(PPP_GetInterface(PPP_INSTANCE_INTERFACE));
}

using Module = PepperTest;

TEST_F(Module, InitialisationSucceedsOrLeavesNothing) {
  const Browser browser;
  EXPECT_EQ(PPP_InitializeModule(1, nullptr), PP_ERROR_FAILED);
  Plugin::Get().creates_module = false;
  EXPECT_EQ(PPP_InitializeModule(1, &Browser::GetInterface), PP_ERROR_FAILED);
  Plugin::Get().creates_module = true;
  Plugin::Get().module_starts = false;
  EXPECT_EQ(PPP_InitializeModule(1, &Browser::GetInterface), PP_ERROR_FAILED);
  EXPECT_EQ(Plugin::Get().modules, 0);
  EXPECT_EQ(pp::Module::Get(), nullptr);

  Plugin::Get().module_starts = true;
  EXPECT_EQ(PPP_InitializeModule(7, &Browser::GetInterface), PP_OK);
  pp::Module* const module = pp::Module::Get();
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module->pp_module(), 7);
  EXPECT_EQ(module->GetBrowserInterface("PPB_NoSuchThing;1.0"), nullptr);
  EXPECT_EQ(PPP_InitializeModule(8, &Browser::GetInterface), PP_ERROR_FAILED);
  EXPECT_EQ(pp::Module::Get(), module);
  PPP_ShutdownModule();
  EXPECT_EQ(pp::Module::Get(), nullptr);
  EXPECT_EQ(Plugin::Get().modules, 0);
  PPP_ShutdownModule();
}

TEST_F(Module, OffersItsTwoTables) {
  EXPECT_NE(InstanceTable(), nullptr);
  EXPECT_NE(PPP_GetInterface(PPP_MESSAGING_INTERFACE), nullptr);
  for (const char* name : {"", "PPP_Instance;1.0", "PPP_Instance", "PPP_InputEvent;0.1"}) {
    EXPECT_EQ(PPP_GetInterface(name), nullptr) << name;
  }
  EXPECT_EQ(PPP_GetInterface(nullptr), nullptr);
}

TEST_F(Module, AnElementIsRefusedWhenItsInstanceCannotBe) {
  Load();
  Plugin::Get().creates = Plugin::kNoInstance;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  Plugin::Get().creates = Plugin::kThrows;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  Plugin::Get().creates = Plugin::kInstance;
  Plugin::Get().instance_starts = false;
  EXPECT_EQ(browser_->CreatePage(), nullptr);
  EXPECT_EQ(Plugin::Get().instances, 0);
}

TEST_F(Module, CallsReachTheInstanceAndNobodyElse) {
  Load();
  page_ = browser_->CreatePage({{"id", "x"}, {"src", ""}});
  const PP_Instance instance = page_->instance();
  EXPECT_EQ(pp::Module::Get()->InstanceForPPInstance(instance), Plugin::Get().instance);
  InstanceTable()->DidChangeFocus(instance, PP_TRUE);
  InstanceTable()->DidChangeFocus(instance + 1, PP_TRUE);
  InstanceTable()->DidChangeFocus(instance, PP_FALSE);
  InstanceTable()->DidDestroy(instance + 1);
  InstanceTable()->DidChangeView(instance, 0);
  InstanceTable()->DidChangeView(instance + 1, 0);
  EXPECT_EQ(InstanceTable()->HandleDocumentLoad(instance, 0), PP_FALSE);
  EXPECT_EQ(InstanceTable()->HandleDocumentLoad(instance + 1, 0), PP_FALSE);
  EXPECT_TRUE(page_->Post("hello"));
  browser_->RunPending();
  EXPECT_THAT(Plugin::Get().seen,
              ElementsAre("id=x", "src=", "focus", "no focus", "message hello"));
  page_->Close();
  EXPECT_EQ(Plugin::Get().instances, 0);
}

TEST_F(Module, CallsAfterTheEndDoNothing) {
  EXPECT_EQ(InstanceTable()->DidCreate(1, 0, nullptr, nullptr), PP_FALSE);
  InstanceTable()->DidDestroy(1);
  InstanceTable()->DidChangeFocus(1, PP_TRUE);
  EXPECT_EQ(InstanceTable()->HandleDocumentLoad(1, 0), PP_FALSE);
  EXPECT_EQ(Plugin::Get().instances, 0);
}

// Answers every message with itself, and throws when told to.
class Echo : public PPBaseMessageHandler {
 public:
  bool unregistered = false;

  void WasUnregistered(pp::InstanceHandle) override { unregistered = true; }

 protected:
  void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override {
    if (message.AsString() == "throw") {
      throw std::runtime_error("thrown");
    }
    responseData(pp::Instance(instance.pp_instance()), "name", 26, message, "Error", "text");
  }
  pp::Var HandleBlockingMessageImpl(pp::InstanceHandle, const pp::Var& message) override {
    if (message.AsString() == "throw") {
      throw std::runtime_error("thrown");
    }
    return createMessage(0, message, "", "");
  }
};

TEST_F(Module, AMessageHandlerOnItsThread) {
  Open();
  pp::Instance* const instance = Plugin::Get().instance;
  Echo echo;
  auto thread = std::make_unique<pp::SimpleThreadAwaitLoop>(pp::InstanceHandle(instance));
  ASSERT_TRUE(thread->Start());
  EXPECT_EQ(instance->RegisterMessageHandler(&echo, pp::MessageLoop::GetForMainThread()),
            PP_ERROR_WRONG_THREAD);
  EXPECT_EQ(instance->RegisterMessageHandler(&echo, pp::MessageLoop()), PP_ERROR_BADRESOURCE);
  EXPECT_EQ(instance->RegisterMessageHandler(&echo, thread->message_loop()), PP_OK);
  // Another name of the element is only a name.
  {
    const pp::Instance temporary(page_->instance());
    pp::Instance copy(temporary);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.pp_instance(), page_->instance());
  }
  EXPECT_TRUE(page_->HasHandler());

  EXPECT_EQ(page_->SendBlocking({{"a", 1}}).value.dump(),
            R"({"code":0,"value":{"a":1},"errorName":"","errorMessage":""})");
  // Nothing is thrown into the browser.
  EXPECT_EQ(page_->SendBlocking("throw").outcome, Page::Outcome::kAnswered);
  EXPECT_TRUE(page_->Post("throw"));
  EXPECT_TRUE(page_->Post("hello"));
  EXPECT_TRUE(page_->Settle());
  EXPECT_EQ(
      page_->NextEvent().value_or(Json()).dump(),
      R"({"code":26,"value":"hello","errorName":"Error","errorMessage":"text","name":"name"})");
  EXPECT_FALSE(page_->NextEvent());

  instance->UnregisterMessageHandler();
  thread.reset();  // lets the loop finish
  EXPECT_TRUE(echo.unregistered);
  EXPECT_FALSE(page_->HasHandler());
}

// What the plug-in itself has no use for; the rest is among its tests.
TEST_F(Module, WithoutTheBrowsersTables) {
  Load({PPB_CORE_INTERFACE, PPB_VAR_INTERFACE, PPB_VAR_DICTIONARY_INTERFACE,
        PPB_VAR_ARRAY_INTERFACE, PPB_MESSAGING_INTERFACE, PPB_MESSAGELOOP_INTERFACE});
  page_ = browser_->CreatePage();
  ASSERT_NE(page_, nullptr);
  pp::VarDictionary dictionary;
  dictionary.Delete("a");
  EXPECT_EQ(dictionary.GetKeys().GetLength(), 0U);
  pp::VarArray array;
  EXPECT_FALSE(array.Set(0, 1));
  EXPECT_FALSE(array.SetLength(1));
  EXPECT_TRUE(array.Get(0).is_undefined());
  EXPECT_TRUE(pp::MessageLoop::GetCurrent().is_null());
  EXPECT_TRUE(pp::MessageLoop::GetForMainThread().is_null());
  EXPECT_EQ(pp::MessageLoop().Run(), PP_ERROR_NOINTERFACE);
  EXPECT_EQ(pp::MessageLoop().PostWork({}), PP_ERROR_NOINTERFACE);
  EXPECT_EQ(pp::MessageLoop().PostQuit(true), PP_ERROR_NOINTERFACE);
  Plugin::Get().instance->UnregisterMessageHandler();
}

}  // namespace
}  // namespace lumivex::test
