// The tables that a plug-in gets from the browser. A plug-in's mistake is recorded and answered,
// and never crashes.

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"
#include "runtime.h"

namespace lumivex::host {

namespace {

// A thread that outlives the browser gets an empty runtime, which is never deleted.
Runtime& Host() {
  static Runtime& none = *new Runtime({});
  Runtime* const current = Runtime::Current();
  return current == nullptr ? none : *current;
}

PP_Bool ToBool(bool value) {
  return value ? PP_TRUE : PP_FALSE;
}

std::function<void()> ToTask(PP_CompletionCallback callback, int32_t result) {
  return [callback, result] { callback.func(callback.user_data, result); };
}

// ---- PPB_Core

void AddRefResource(PP_Resource resource) {
  Host().loops.AddRef(resource);
}

void ReleaseResource(PP_Resource resource) {
  Host().loops.Release(resource);
}

double GetTime() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double GetTimeTicks() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void CallOnMainThread(int32_t delay_ms, PP_CompletionCallback callback, int32_t result) {
  if (callback.func == nullptr) {
    Host().defects.Record("CallOnMainThread: the callback's function is null");
    return;
  }
  Host().loops.main_loop()->Post(ToTask(callback, result), std::chrono::milliseconds(delay_ms));
}

PP_Bool IsMainThread() {
  return ToBool(Host().loops.OnMainThread());
}

constexpr PPB_Core kCore = {&AddRefResource, &ReleaseResource,  &GetTime,
                            &GetTimeTicks,   &CallOnMainThread, &IsMainThread};

// ---- PPB_Var

void VarAddRef(PP_Var var) {
  Host().vars.AddRef(var);
}

void VarRelease(PP_Var var) {
  Host().vars.Release(var);
}

PP_Var VarFromUtf8(const char* data, uint32_t length) {
  if (data == nullptr && length > 0) {
    Host().defects.Record("VarFromUtf8: the text is null but its length is not 0");
    return NullVar();
  }
  return Host().vars.FromUtf8(data == nullptr ? std::string_view()
                                              : std::string_view(data, length));
}

const char* VarToUtf8(PP_Var var, uint32_t* length) {
  return Host().vars.ToUtf8(var, length);
}

constexpr PPB_Var kVar = {&VarAddRef, &VarRelease, &VarFromUtf8, &VarToUtf8};

// ---- PPB_VarDictionary

PP_Var DictionaryCreate() {
  return Host().vars.CreateDictionary();
}

PP_Var DictionaryGet(PP_Var dictionary, PP_Var key) {
  return Host().vars.DictionaryGet(dictionary, key);
}

PP_Bool DictionarySet(PP_Var dictionary, PP_Var key, PP_Var value) {
  return ToBool(Host().vars.DictionarySet(dictionary, key, value));
}

void DictionaryDelete(PP_Var dictionary, PP_Var key) {
  Host().vars.DictionaryDelete(dictionary, key);
}

PP_Bool DictionaryHasKey(PP_Var dictionary, PP_Var key) {
  return ToBool(Host().vars.DictionaryHasKey(dictionary, key));
}

PP_Var DictionaryGetKeys(PP_Var dictionary) {
  return Host().vars.DictionaryKeys(dictionary);
}

constexpr PPB_VarDictionary kVarDictionary = {&DictionaryCreate, &DictionaryGet,
                                              &DictionarySet,    &DictionaryDelete,
                                              &DictionaryHasKey, &DictionaryGetKeys};

// ---- PPB_VarArray

PP_Var ArrayCreate() {
  return Host().vars.CreateArray();
}

PP_Var ArrayGet(PP_Var array, uint32_t index) {
  return Host().vars.ArrayGet(array, index);
}

PP_Bool ArraySet(PP_Var array, uint32_t index, PP_Var value) {
  return ToBool(Host().vars.ArraySet(array, index, value));
}

uint32_t ArrayGetLength(PP_Var array) {
  return Host().vars.ArrayLength(array);
}

PP_Bool ArraySetLength(PP_Var array, uint32_t length) {
  return ToBool(Host().vars.ArraySetLength(array, length));
}

constexpr PPB_VarArray kVarArray = {&ArrayCreate, &ArrayGet, &ArraySet, &ArrayGetLength,
                                    &ArraySetLength};

// ---- PPB_MessageLoop

PP_Resource LoopCreate(PP_Instance instance) {
  return Host().FindPage(instance) == nullptr ? 0 : Host().loops.Create();
}

PP_Resource LoopGetForMainThread() {
  return Host().loops.MainResource();
}

PP_Resource LoopGetCurrent() {
  return Host().loops.Current();
}

int32_t LoopAttachToCurrentThread(PP_Resource loop) {
  return Host().loops.Attach(loop);
}

int32_t LoopRun(PP_Resource loop) {
  return Host().loops.Run(loop);
}

int32_t LoopPostWork(PP_Resource resource, PP_CompletionCallback callback, int64_t delay_ms) {
  const std::shared_ptr<Loop> loop = Host().loops.Find(resource);
  if (loop == nullptr) {
    return PP_ERROR_BADRESOURCE;
  }
  if (callback.func == nullptr) {
    return PP_ERROR_BADARGUMENT;
  }
  return loop->Post(ToTask(callback, PP_OK), std::chrono::milliseconds(delay_ms)) ? PP_OK
                                                                                  : PP_ERROR_FAILED;
}

int32_t LoopPostQuit(PP_Resource resource, PP_Bool should_destroy) {
  const std::shared_ptr<Loop> loop = Host().loops.Find(resource);
  if (loop == nullptr) {
    return PP_ERROR_BADRESOURCE;
  }
  if (loop == Host().loops.main_loop()) {  // the browser's own to end
    return PP_ERROR_WRONG_THREAD;
  }
  return loop->PostQuit(should_destroy == PP_TRUE) ? PP_OK : PP_ERROR_FAILED;
}

constexpr PPB_MessageLoop kMessageLoop = {
    &LoopCreate, &LoopGetForMainThread, &LoopGetCurrent, &LoopAttachToCurrentThread,
    &LoopRun,    &LoopPostWork,         &LoopPostQuit};

// ---- PPB_Messaging

// The page of an instance that the plug-in named. Null, with a defect, if there never was one.
PageState* PageOf(const char* function, PP_Instance instance) {
  PageState* const page = Host().FindPage(instance);
  if (page == nullptr) {
    Host().defects.Record(std::string(function) + ": unknown instance " + std::to_string(instance));
  }
  return page;
}

void PostMessage(PP_Instance instance, PP_Var message) {
  PageState* const page = PageOf("PostMessage", instance);
  if (page == nullptr) {
    return;
  }
  if (std::optional<Json> event = Host().vars.ToJson(message)) {
    page->AddEvent(std::move(*event));
  }
}

// Destroy runs on the loop's thread, after the messages already sent to the handler.
void Retire(PP_Instance instance, const std::shared_ptr<Registration>& registration) {
  if (registration != nullptr) {
    registration->loop->Post([instance, registration] {
      registration->handler->Destroy(instance, registration->user_data);
    });
  }
}

int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource resource) {
  PageState* const page = PageOf("RegisterMessageHandler", instance);
  if (page == nullptr) {
    return PP_ERROR_BADARGUMENT;
  }
  Host().ExpectMainThread("RegisterMessageHandler");
  if (const std::optional<int32_t> result = Host().ForcedRegisterResult()) {
    return *result;
  }
  if (handler == nullptr || handler->HandleMessage == nullptr ||
      handler->HandleBlockingMessage == nullptr || handler->Destroy == nullptr) {
    return PP_ERROR_BADARGUMENT;
  }
  const std::shared_ptr<Loop> loop = Host().loops.Find(resource);
  if (loop == nullptr) {
    return PP_ERROR_BADRESOURCE;
  }
  if (loop == Host().loops.main_loop()) {
    return PP_ERROR_WRONG_THREAD;
  }
  Retire(instance,
         page->SetHandler(std::make_shared<Registration>(Registration{handler, user_data, loop})));
  return PP_OK;
}

void UnregisterMessageHandler(PP_Instance instance) {
  PageState* const page = PageOf("UnregisterMessageHandler", instance);
  if (page == nullptr) {
    return;
  }
  Host().ExpectMainThread("UnregisterMessageHandler");
  Retire(instance, page->SetHandler(nullptr));
}

constexpr PPB_Messaging kMessaging = {&PostMessage, &RegisterMessageHandler,
                                      &UnregisterMessageHandler};

// ---- PPB_ExtensionSystem_Quorvel

PP_Var GetEmbedderName(PP_Instance instance) {
  return PageOf("GetEmbedderName", instance) == nullptr
             ? UndefinedVar()
             : Host().extension_system->GetEmbedderName(Host().vars, instance);
}

PP_Var GetCurrentExtensionInfo(PP_Instance instance) {
  return PageOf("GetCurrentExtensionInfo", instance) == nullptr
             ? UndefinedVar()
             : Host().extension_system->GetCurrentExtensionInfo(Host().vars, instance);
}

int32_t GenericSyncCall(PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
  if (PageOf("GenericSyncCall", instance) == nullptr) {
    return PP_ERROR_BADARGUMENT;
  }
  if (operation.type != PP_VARTYPE_STRING || result == nullptr) {
    Host().defects.Record(result == nullptr ? "GenericSyncCall: the result pointer is null"
                                            : "GenericSyncCall: the operation is not a string");
    return PP_ERROR_BADARGUMENT;
  }
  VarTable& vars = Host().vars;
  PP_Var answer = UndefinedVar();
  const int32_t status =
      Host().extension_system->GenericSyncCall(vars, instance, operation, data, &answer);
  if (status == PP_OK) {
    *result = answer;
  }
  SyncCall call{instance, "", vars.ToJson(data).value_or(nullptr), status};
  uint32_t length = 0;
  if (const char* const name = vars.ToUtf8(operation, &length)) {
    call.operation.assign(name, length);
  }
  Host().AddSyncCall(std::move(call));
  return status;
}

constexpr PPB_ExtensionSystem_Quorvel_0_1 kExtensionSystem = {
    &GetEmbedderName, &GetCurrentExtensionInfo, &GenericSyncCall};

struct NamedTable {
  const char* name;
  const void* table;
};

constexpr NamedTable kTables[] = {
    {PPB_CORE_INTERFACE, &kCore},
    {PPB_VAR_INTERFACE, &kVar},
    {PPB_VAR_DICTIONARY_INTERFACE, &kVarDictionary},
    {PPB_VAR_ARRAY_INTERFACE, &kVarArray},
    {PPB_MESSAGELOOP_INTERFACE, &kMessageLoop},
    {PPB_MESSAGING_INTERFACE, &kMessaging},
    {PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1, &kExtensionSystem},
};

}  // namespace

const void* FindTable(const std::string& name) {
  for (const NamedTable& entry : kTables) {
    if (name == entry.name) {
      return entry.table;
    }
  }
  return nullptr;
}

}  // namespace lumivex::host
