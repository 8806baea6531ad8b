// The tests of the inside run the objects linked into the program. What the plug-in posts appears
// in the journal, as "post {...}" with the types of the vars.

#include <unistd.h>

#include <cstring>

#include "plugin_test.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::test {

namespace {

Browser* current;
const PPB_Messaging* browsers;  // own table

void PostMessage(PP_Instance instance, PP_Var message) {
  Journal::Get().Add("post " + Describe(&current->vars(), message));
  browsers->PostMessage(instance, message);
}

// On another than the main thread it would count as misuse, and goes no further than the journal.
int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource loop) {
  if (gettid() == getpid()) {
    return browsers->RegisterMessageHandler(instance, user_data, handler, loop);
  }
  Journal::Get().Add("register on loop " + std::to_string(loop));
  return 0;
}

// A call that fails may leave a result all the same.
const void* PrivateTable(const void* real) {
  using Table = PPB_ExtensionSystem_Quorvel_0_1;
  static Table table;
  static decltype(table.GenericSyncCall) call;
  table = *static_cast<const Table*>(real);
  call = table.GenericSyncCall;
  table.GenericSyncCall = [](PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
    const int32_t status = call(instance, operation, data, result);
    *result = status == 0 ? *result : host::BoolVar(true);
    return status;
  };
  return &table;
}

// The browser's own tables, but for messaging and the private services.
const void* GetInterface(const char* name) {
  static PPB_Messaging table;
  const void* const real = Browser::GetInterface(name);
  if (real == nullptr) {
    return nullptr;
  }
  if (std::strcmp(name, PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1) == 0) {
    return PrivateTable(real);
  }
  if (std::strcmp(name, PPB_MESSAGING_INTERFACE) != 0) {
    return real;
  }
  browsers = static_cast<const PPB_Messaging*>(real);
  table = *browsers;
  table.PostMessage = &PostMessage;
  table.RegisterMessageHandler = &RegisterMessageHandler;
  return &table;
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return PPP_InitializeModule(module, &GetInterface);
}

}  // namespace

bool LoadPlugin(Browser* browser, std::string* error) {
  current = browser;
  return browser->LoadModule({&Initialize, &PPP_GetInterface, &PPP_ShutdownModule}, error);
}

}  // namespace lumivex::test
