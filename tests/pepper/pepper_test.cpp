#include "pepper_test.h"

#include <unistd.h>

#include <cstring>
#include <new>
#include <utility>

#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppp.h"

namespace lumivex::test {

namespace {

class TestInstance : public pp::Instance {
 public:
  explicit TestInstance(PP_Instance instance) : pp::Instance(instance) {
    ++Plugin::Get().instances;
    Plugin::Get().instance = this;
  }
  TestInstance(const TestInstance&) = delete;
  TestInstance& operator=(const TestInstance&) = delete;
  ~TestInstance() override { --Plugin::Get().instances; }

  bool Init(uint32_t argc, const char* argn[], const char* argv[]) override {
    for (uint32_t i = 0; i < argc; ++i) {
      Plugin::Get().seen.push_back(std::string(argn[i]) + "=" + argv[i]);
    }
    return Plugin::Get().instance_starts;
  }
  void DidChangeFocus(bool has_focus) override {
    Plugin::Get().seen.emplace_back(has_focus ? "focus" : "no focus");
  }
  void HandleMessage(const pp::Var& message) override {
    Plugin::Get().seen.push_back("message " + message.AsString());
  }
};

class TestModule : public pp::Module {
 public:
  TestModule() { ++Plugin::Get().modules; }
  ~TestModule() override { --Plugin::Get().modules; }

  bool Init() override { return Plugin::Get().module_starts; }
  pp::Instance* CreateInstance(PP_Instance instance) override {
    if (Plugin::Get().creates == Plugin::kThrows) {
      throw std::bad_alloc();
    }
    return Plugin::Get().creates == Plugin::kInstance ? new TestInstance(instance) : nullptr;
  }
};

const PPB_Var* BrowserVars() {
  return static_cast<const PPB_Var*>(host::Browser::GetInterface(PPB_VAR_INTERFACE));
}

void AddRef(PP_Var var) {
  ++References::Get().calls;
  ++References::Get().counts[var.value.as_id];
  BrowserVars()->AddRef(var);
}

void Release(PP_Var var) {
  ++References::Get().calls;
  --References::Get().counts[var.value.as_id];
  BrowserVars()->Release(var);
}

PP_Var VarFromUtf8(const char* text, uint32_t length) {
  const PP_Var var = BrowserVars()->VarFromUtf8(text, length);
  if (var.type == PP_VARTYPE_STRING) {
    ++References::Get().counts[var.value.as_id];
  }
  return var;
}

const char* VarToUtf8(PP_Var var, uint32_t* length) {
  return BrowserVars()->VarToUtf8(var, length);
}

constexpr PPB_Var kVars = {&AddRef, &Release, &VarFromUtf8, &VarToUtf8};

// Attaching takes its time, so that nobody gets by without waiting for it.
int32_t AttachToCurrentThread(PP_Resource loop) {
  usleep(20000);
  const int32_t result =
      static_cast<const PPB_MessageLoop*>(host::Browser::GetInterface(PPB_MESSAGELOOP_INTERFACE))
          ->AttachToCurrentThread(loop);
  Plugin::Get().attached = true;
  return result;
}

const void* GetInterface(const char* name) {
  static PPB_MessageLoop loops;
  const void* const table = host::Browser::GetInterface(name);
  if (table != nullptr && std::strcmp(name, PPB_VAR_INTERFACE) == 0) {
    return &kVars;
  }
  if (table != nullptr && std::strcmp(name, PPB_MESSAGELOOP_INTERFACE) == 0) {
    loops = *static_cast<const PPB_MessageLoop*>(table);
    loops.AttachToCurrentThread = &AttachToCurrentThread;
    return &loops;
  }
  return table;
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return PPP_InitializeModule(module, &GetInterface);
}

}  // namespace

Plugin& Plugin::Get() {
  static Plugin plugin;
  return plugin;
}

void Plugin::Reset() {
  Plugin& plugin = Get();
  plugin.creates_module = plugin.module_starts = plugin.instance_starts = true;
  plugin.creates = kInstance;
  plugin.attached = false;
  plugin.seen.clear();
}

References& References::Get() {
  static References references;
  return references;
}

void PepperTest::SetUp() {
  Plugin::Reset();
  References::Get() = References();
}

void PepperTest::TearDown() {
  page_.reset();
  if (browser_ != nullptr) {
    EXPECT_TRUE(browser_->Unload());
    EXPECT_THAT(browser_->Defects(), testing::IsEmpty());
  }
  EXPECT_EQ(Plugin::Get().modules, 0);
  EXPECT_EQ(Plugin::Get().instances, 0);
}

void PepperTest::Load(const std::vector<std::string>& withheld) {
  browser_ = std::make_unique<host::Browser>();
  for (const std::string& name : withheld) {
    browser_->WithholdInterface(name);
  }
  std::string error;
  ASSERT_TRUE(browser_->LoadModule({&Initialize, &PPP_GetInterface, &PPP_ShutdownModule}, &error))
      << error;
}

void PepperTest::Open() {
  Load();
  std::string error;
  page_ = browser_->CreatePage({}, &error);
  ASSERT_NE(page_, nullptr) << error;
}

}  // namespace lumivex::test

pp::Module* pp::CreateModule() {
  return lumivex::test::Plugin::Get().creates_module ? new lumivex::test::TestModule : nullptr;
}
