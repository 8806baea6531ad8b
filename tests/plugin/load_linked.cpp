// The inner tests use the objects linked into the program, and the browser's tables with two
// functions replaced.

#include <unistd.h>

#include <utility>

#include "plugin_test.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::test {

namespace {

PPB_Messaging messaging;
PPB_ExtensionSystem_Quorvel_0_1 services;
decltype(messaging.RegisterMessageHandler) real_register;
decltype(services.GenericSyncCall) real_call;

// Off the main thread, registering is misuse; it is only noted.
int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource loop) {
  if (gettid() == getpid()) {
    return real_register(instance, user_data, handler, loop);
  }
  Journal::Get().Add("register on loop " + std::to_string(loop));
  return 0;
}

// A call that fails may leave a result all the same.
int32_t GenericSyncCall(PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
  const int32_t status = real_call(instance, operation, data, result);
  *result = status == 0 ? *result : host::BoolVar(true);
  return status;
}

const void* GetInterface(const char* name) {
  const void* const real = Browser::GetInterface(name);
  const std::string wanted = real == nullptr ? "" : name;
  if (wanted == PPB_MESSAGING_INTERFACE) {
    messaging = *static_cast<const PPB_Messaging*>(real);
    real_register = std::exchange(messaging.RegisterMessageHandler, &RegisterMessageHandler);
    return &messaging;
  }
  if (wanted == PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1) {
    services = *static_cast<const PPB_ExtensionSystem_Quorvel_0_1*>(real);
    real_call = std::exchange(services.GenericSyncCall, &GenericSyncCall);
    return &services;
  }
  return real;
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return PPP_InitializeModule(module, &GetInterface);
}

}  // namespace

bool LoadPlugin(Browser* browser, std::string* error) {
  return browser->LoadModule({&Initialize, &PPP_GetInterface, &PPP_ShutdownModule}, error);
}

}  // namespace lumivex::test
