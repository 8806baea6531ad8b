#ifndef TESTS_SUPPORT_TABLES_H_
#define TESTS_SUPPORT_TABLES_H_

// The browser's tables as a plug-in gets them, and a plug-in that is part of the test: the test
// itself calls what a plug-in would call.

#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "host/browser.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::host {

template <class Table>
const Table& TableOf(const char* name) {
  return *static_cast<const Table*>(Browser::GetInterface(name));
}

struct Tables {
  const PPB_Core& core = TableOf<PPB_Core>(PPB_CORE_INTERFACE);
  const PPB_Var& var = TableOf<PPB_Var>(PPB_VAR_INTERFACE);
  const PPB_VarDictionary& dictionary = TableOf<PPB_VarDictionary>(PPB_VAR_DICTIONARY_INTERFACE);
  const PPB_VarArray& array = TableOf<PPB_VarArray>(PPB_VAR_ARRAY_INTERFACE);
  const PPB_MessageLoop& loop = TableOf<PPB_MessageLoop>(PPB_MESSAGELOOP_INTERFACE);
  const PPB_Messaging& messaging = TableOf<PPB_Messaging>(PPB_MESSAGING_INTERFACE);
};

// Work for a message loop, which must run exactly once.
inline PP_CompletionCallback Work(std::function<void()> work) {
  return {[](void* user, int32_t) {
            const std::unique_ptr<std::function<void()>> owned(
                static_cast<std::function<void()>*>(user));
            (*owned)();
          },
          new std::function<void()>(std::move(work)), 0};
}

// What the test's plug-in does when called; each test resets it.
struct Plugin {
  std::function<bool(PP_Instance)> did_create = [](PP_Instance) { return true; };
  std::function<void(PP_Instance)> did_destroy = [](PP_Instance) {};
  std::function<void(PP_Instance, PP_Var)> handle_message;  // unset: no PPP_Messaging

  static Plugin& Current() {
    static Plugin plugin;
    return plugin;
  }

  static ModuleEntry Entry() {
    static constexpr PPP_Instance kInstance = {
        [](PP_Instance instance, uint32_t, const char**, const char**) {
          return Current().did_create(instance) ? PP_TRUE : PP_FALSE;
        },
        [](PP_Instance instance) { Current().did_destroy(instance); },
        [](PP_Instance, PP_Resource) {}, [](PP_Instance, PP_Bool) {},
        [](PP_Instance, PP_Resource) { return PP_FALSE; }};
    static constexpr PPP_Messaging kMessaging = {
        [](PP_Instance instance, PP_Var message) { Current().handle_message(instance, message); }};
    return {[](PP_Module, PPB_GetInterface) -> int32_t { return 0; },
            [](const char* name) -> const void* {
              if (std::strcmp(name, PPP_INSTANCE_INTERFACE) == 0) {
                return &kInstance;
              }
              return Current().handle_message != nullptr ? &kMessaging : nullptr;
            },
            nullptr};
  }
};

}  // namespace lumivex::host

#endif  // TESTS_SUPPORT_TABLES_H_
