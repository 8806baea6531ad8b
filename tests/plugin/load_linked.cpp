#include "load_linked.h"

#include <map>
#include <type_traits>
#include <utility>

#include "plugin_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::test {

namespace {

Browser* current;

template <class Table>
const Table* browsers;  // the browser's own table

// A function of a table with its name before it. One that fails does nothing and answers failure.
template <auto kFunction>
struct Wrapped;
template <class Table, class Result, class... Arguments, Result (*Table::*kFunction)(Arguments...)>
struct Wrapped<kFunction> {
  using Failure = std::conditional_t<std::is_void_v<Result>, int, Result>;
  inline static const char* name;
  inline static Failure failure;

  static Result Call(Arguments... arguments) {
    if (BrowserCalls::Get().Note(name)) {
      return static_cast<Result>(failure);
    }
    return (browsers<Table>->*kFunction)(arguments...);
  }
  static void Into(Table* table, const char* named, Failure fails = {}) {
    name = named;
    failure = fails;
    table->*kFunction = &Call;
  }
};

void PostMessage(PP_Instance instance, PP_Var message) {
  if (!BrowserCalls::Get().Note("PPB_Messaging.PostMessage")) {
    Journal::Get().Add("post " + Describe(&current->vars(), message));
    browsers<PPB_Messaging>->PostMessage(instance, message);
  }
}

int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource loop) {
  if (BrowserCalls::Get().Note("PPB_Messaging.RegisterMessageHandler")) {
    return PP_ERROR_FAILED;
  }
  Registrations& seen = Registrations::Get();
  seen.instance = instance;
  seen.handler = user_data;
  seen.loop = loop;
  return seen.swallow
             ? 0
             : browsers<PPB_Messaging>->RegisterMessageHandler(instance, user_data, handler, loop);
}

// What the plug-in has no use for stays out of its tables: a call would end the test.

void Fill(PPB_Core* table) {
  Wrapped<&PPB_Core::AddRefResource>::Into(table, "PPB_Core.AddRefResource");
  Wrapped<&PPB_Core::ReleaseResource>::Into(table, "PPB_Core.ReleaseResource");
}

void Fill(PPB_MessageLoop* table) {
  using Loop = PPB_MessageLoop;
  Wrapped<&Loop::Create>::Into(table, "PPB_MessageLoop.Create");
  Wrapped<&Loop::GetCurrent>::Into(table, "PPB_MessageLoop.GetCurrent");
  Wrapped<&Loop::AttachToCurrentThread>::Into(table, "PPB_MessageLoop.AttachToCurrentThread",
                                              PP_ERROR_FAILED);
  Wrapped<&Loop::Run>::Into(table, "PPB_MessageLoop.Run", PP_ERROR_FAILED);
  Wrapped<&Loop::PostWork>::Into(table, "PPB_MessageLoop.PostWork", PP_ERROR_FAILED);
  Wrapped<&Loop::PostQuit>::Into(table, "PPB_MessageLoop.PostQuit", PP_ERROR_FAILED);
}

void Fill(PPB_Messaging* table) {
  table->PostMessage = &PostMessage;
  table->RegisterMessageHandler = &RegisterMessageHandler;
}

void Fill(PPB_Var* table) {
  Wrapped<&PPB_Var::AddRef>::Into(table, "PPB_Var.AddRef");
  Wrapped<&PPB_Var::Release>::Into(table, "PPB_Var.Release");
  Wrapped<&PPB_Var::VarFromUtf8>::Into(table, "PPB_Var.VarFromUtf8", host::NullVar());
  Wrapped<&PPB_Var::VarToUtf8>::Into(table, "PPB_Var.VarToUtf8");
}

void Fill(PPB_VarDictionary* table) {
  using Dictionary = PPB_VarDictionary;
  Wrapped<&Dictionary::Create>::Into(table, "PPB_VarDictionary.Create");
  Wrapped<&Dictionary::Get>::Into(table, "PPB_VarDictionary.Get");
  Wrapped<&Dictionary::Set>::Into(table, "PPB_VarDictionary.Set", PP_FALSE);
  Wrapped<&Dictionary::HasKey>::Into(table, "PPB_VarDictionary.HasKey", PP_FALSE);
}

void Fill(PPB_VarArray*) {}

// A call that fails may leave a result all the same.
void Fill(PPB_ExtensionSystem_Quorvel_0_1* table) {
  using System = PPB_ExtensionSystem_Quorvel_0_1;
  *table = *browsers<System>;
  table->GenericSyncCall = [](PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
    const int32_t status = browsers<System>->GenericSyncCall(instance, operation, data, result);
    *result = status == 0 ? *result : host::BoolVar(true);
    return status;
  };
}

template <class Table>
const void* Watched(const void* real) {
  static Table table = {};
  browsers<Table> = static_cast<const Table*>(real);
  Fill(&table);
  return &table;
}

const void* GetInterface(const char* name) {
  using Watch = const void* (*)(const void* real);
  static const std::map<std::string, Watch> kWatches = {
      {PPB_CORE_INTERFACE, &Watched<PPB_Core>},
      {PPB_MESSAGELOOP_INTERFACE, &Watched<PPB_MessageLoop>},
      {PPB_MESSAGING_INTERFACE, &Watched<PPB_Messaging>},
      {PPB_VAR_INTERFACE, &Watched<PPB_Var>},
      {PPB_VAR_ARRAY_INTERFACE, &Watched<PPB_VarArray>},
      {PPB_VAR_DICTIONARY_INTERFACE, &Watched<PPB_VarDictionary>},
      {PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1, &Watched<PPB_ExtensionSystem_Quorvel_0_1>},
  };
  BrowserCalls::Get().Note((std::string("interface ") + name).c_str());
  const void* const real = Browser::GetInterface(name);
  const auto watch = kWatches.find(name);
  return real == nullptr || watch == kWatches.end() ? real : watch->second(real);
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return PPP_InitializeModule(module, &GetInterface);
}

}  // namespace

BrowserCalls& BrowserCalls::Get() {
  static BrowserCalls& calls = *new BrowserCalls;  // outlives the plug-in's vars
  return calls;
}

std::set<std::string> BrowserCalls::Take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(names_, {});
}

void BrowserCalls::Fail(const std::string& name, int nth) {
  const std::lock_guard<std::mutex> lock(mutex_);
  failing_ = name;
  nth_ = nth;
  noted_ = 0;
  failed_ = name.empty() ? failed_ : 0;
}

int BrowserCalls::Failed() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failed_;
}

bool BrowserCalls::Note(const char* name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  names_.insert(name);
  const bool fails = failing_ == name && (++noted_ == nth_ || nth_ == 0);
  failed_ += fails ? 1 : 0;
  return fails;
}

Registrations& Registrations::Get() {
  static Registrations registrations;
  return registrations;
}

bool LoadPlugin(Browser* browser, std::string* error) {
  current = browser;
  return browser->LoadModule({&Initialize, &PPP_GetInterface, &PPP_ShutdownModule}, error);
}

}  // namespace lumivex::test
