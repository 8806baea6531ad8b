// A plug-in written from the C tables alone. The element's attribute "mode" is "refuse" (creation
// fails), "deaf" (no handler is registered) or "early" (an event is posted while it is created).
//
// A blocking message is answered with itself, unless it is a dictionary with a string "do":
//   "post"       posts "value" as an event before it answers
//   "sleep"      sleeps "ms" milliseconds first
//   "privilege"  answers what the browser says of the privilege "value"
//   "window"     answers the window id, or null
//   "leak"       forgets to release a string
//   "twice"      releases a string twice
// A message without an answer is posted back as {"got": message}.

#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace {

const PPB_Core* core;
const PPB_Var* vars;
const PPB_VarDictionary* dictionaries;
const PPB_MessageLoop* loops;
const PPB_Messaging* messaging;
const PPB_ExtensionSystem_Quorvel_0_1* extension;

struct Element {
  PP_Resource loop = 0;
  std::thread thread;
};
std::map<PP_Instance, std::unique_ptr<Element>> elements;

PP_Var Text(const char* text) {
  return vars->VarFromUtf8(text, static_cast<uint32_t>(std::strlen(text)));
}

PP_Var Get(PP_Var dictionary, const char* key) {
  const PP_Var name = Text(key);
  const PP_Var value = dictionaries->Get(dictionary, name);
  vars->Release(name);
  return value;
}

std::string TextOf(PP_Var var) {
  uint32_t length = 0;
  const char* const text = var.type == PP_VARTYPE_STRING ? vars->VarToUtf8(var, &length) : nullptr;
  return text == nullptr ? "" : std::string(text, length);
}

PP_Var Ask(PP_Instance instance, const char* operation, PP_Var data) {
  PP_Var answer{};
  answer.type = PP_VARTYPE_NULL;
  const PP_Var name = Text(operation);
  if (extension != nullptr) {
    extension->GenericSyncCall(instance, name, data, &answer);
  }
  vars->Release(name);
  return answer;
}

void HandleMessage(PP_Instance instance, void*, const PP_Var* message) {
  const PP_Var event = dictionaries->Create();
  const PP_Var key = Text("got");
  dictionaries->Set(event, key, *message);
  messaging->PostMessage(instance, event);
  vars->Release(key);
  vars->Release(event);
}

void HandleBlockingMessage(PP_Instance instance, void*, const PP_Var* message, PP_Var* response) {
  *response = *message;
  vars->AddRef(*message);
  if (message->type != PP_VARTYPE_DICTIONARY) {
    return;
  }
  const PP_Var what = Get(*message, "do");
  const PP_Var value = Get(*message, "value");
  const std::string action = TextOf(what);
  if (action == "post") {
    messaging->PostMessage(instance, value);
  } else if (action == "sleep") {
    std::this_thread::sleep_for(std::chrono::milliseconds(Get(*message, "ms").value.as_int));
  } else if (action == "privilege" || action == "window") {
    vars->Release(*response);
    *response = Ask(instance, action == "window" ? "get_window_id" : "check_ace_privilege", value);
  } else if (action == "leak") {
    Text("forgotten");
  } else if (action == "twice") {
    const PP_Var text = Text("released twice");
    vars->Release(text);
    vars->Release(text);
  }
  vars->Release(value);
  vars->Release(what);
}

void Destroy(PP_Instance, void*) {}

constexpr PPP_MessageHandler kHandler = {&HandleMessage, &HandleBlockingMessage, &Destroy};

PP_Bool DidCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]) {
  std::string mode;
  for (uint32_t i = 0; i < argc; ++i) {
    mode = std::strcmp(argn[i], "mode") == 0 ? argv[i] : mode;
  }
  if (mode == "refuse") {
    return PP_FALSE;
  }
  if (mode == "early") {
    const PP_Var event = Text("early");
    messaging->PostMessage(instance, event);
    vars->Release(event);
  }
  auto element = std::make_unique<Element>();
  element->loop = loops->Create(instance);
  element->thread = std::thread([loop = element->loop] {
    loops->AttachToCurrentThread(loop);
    loops->Run(loop);
  });
  const bool registered =
      mode == "deaf" ||
      messaging->RegisterMessageHandler(instance, nullptr, &kHandler, element->loop) == PP_OK;
  elements[instance] = std::move(element);
  return registered ? PP_TRUE : PP_FALSE;
}

void DidDestroy(PP_Instance instance) {
  Element& element = *elements[instance];
  loops->PostQuit(element.loop, PP_TRUE);
  element.thread.join();
  core->ReleaseResource(element.loop);
  elements.erase(instance);
}

void DidChangeView(PP_Instance, PP_Resource) {}
void DidChangeFocus(PP_Instance, PP_Bool) {}
PP_Bool HandleDocumentLoad(PP_Instance, PP_Resource) {
  return PP_FALSE;
}

constexpr PPP_Instance kInstance = {&DidCreate, &DidDestroy, &DidChangeView, &DidChangeFocus,
                                    &HandleDocumentLoad};

}  // namespace

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface get) {
  core = static_cast<const PPB_Core*>(get(PPB_CORE_INTERFACE));
  vars = static_cast<const PPB_Var*>(get(PPB_VAR_INTERFACE));
  dictionaries = static_cast<const PPB_VarDictionary*>(get(PPB_VAR_DICTIONARY_INTERFACE));
  loops = static_cast<const PPB_MessageLoop*>(get(PPB_MESSAGELOOP_INTERFACE));
  messaging = static_cast<const PPB_Messaging*>(get(PPB_MESSAGING_INTERFACE));
  extension = static_cast<const PPB_ExtensionSystem_Quorvel_0_1*>(
      get(PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1));
  return core != nullptr && vars != nullptr && dictionaries != nullptr && loops != nullptr &&
                 messaging != nullptr
             ? PP_OK
             : PP_ERROR_NOINTERFACE;
}

void PPP_ShutdownModule(void) {}

const void* PPP_GetInterface(const char* name) {
  return std::strcmp(name, PPP_INSTANCE_INTERFACE) == 0 ? &kInstance : nullptr;
}
