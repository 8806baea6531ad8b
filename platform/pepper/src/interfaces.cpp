#include "interfaces.h"

#include "ppapi/cpp/module.h"

namespace pp {

namespace {

template <typename Table>
void Fetch(const Module& module, const char* name, const Table** table) {
  *table = static_cast<const Table*>(module.GetBrowserInterface(name));
}

}  // namespace

Interfaces browser_interfaces;

void FetchInterfaces(const Module& module) {
  Fetch(module, PPB_CORE_INTERFACE, &browser_interfaces.core);
  Fetch(module, PPB_VAR_INTERFACE, &browser_interfaces.var);
  Fetch(module, PPB_VAR_DICTIONARY_INTERFACE, &browser_interfaces.dictionary);
  Fetch(module, PPB_MESSAGING_INTERFACE, &browser_interfaces.messaging);
  Fetch(module, PPB_MESSAGELOOP_INTERFACE, &browser_interfaces.message_loop);
}

}  // namespace pp
