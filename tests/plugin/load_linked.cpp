#include "load_linked.h"

#include <cstring>

#include "plugin_test.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"

namespace lumivex::test {

namespace {

Browser* current;

const PPB_Messaging* Messaging() {
  return static_cast<const PPB_Messaging*>(Browser::GetInterface(PPB_MESSAGING_INTERFACE));
}

void PostMessage(PP_Instance instance, PP_Var message) {
  Journal::Get().Add("post " + Describe(&current->vars(), message));
  Messaging()->PostMessage(instance, message);
}

int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource loop) {
  Registrations& seen = Registrations::Get();
  seen.instance = instance;
  seen.handler = user_data;
  seen.loop = loop;
  return seen.swallow ? 0 : Messaging()->RegisterMessageHandler(instance, user_data, handler, loop);
}

void UnregisterMessageHandler(PP_Instance instance) {
  Messaging()->UnregisterMessageHandler(instance);
}

constexpr PPB_Messaging kMessaging = {&PostMessage, &RegisterMessageHandler,
                                      &UnregisterMessageHandler};

const void* GetInterface(const char* name) {
  return std::strcmp(name, PPB_MESSAGING_INTERFACE) == 0 ? &kMessaging
                                                         : Browser::GetInterface(name);
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return PPP_InitializeModule(module, &GetInterface);
}

}  // namespace

Registrations& Registrations::Get() {
  static Registrations registrations;
  return registrations;
}

bool LoadPlugin(Browser* browser, std::string* error) {
  current = browser;
  return browser->LoadModule({&Initialize, &PPP_GetInterface, &PPP_ShutdownModule}, error);
}

}  // namespace lumivex::test
