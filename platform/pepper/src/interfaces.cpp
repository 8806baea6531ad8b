#include "interfaces.h"

#include "ppapi/cpp/module.h"

namespace pp {

namespace {

Interfaces interfaces;

template <typename Table>
void Fetch(const Module& module, const char* name, const Table** table) {
  *table = static_cast<const Table*>(module.GetBrowserInterface(name));
}

}  // namespace

const Interfaces& Browser() {
  return interfaces;
}

void FetchInterfaces(const Module& module) {
  Fetch(module, PPB_CORE_INTERFACE, &interfaces.core);
  Fetch(module, PPB_VAR_INTERFACE, &interfaces.var);
  Fetch(module, PPB_VAR_DICTIONARY_INTERFACE, &interfaces.dictionary);
  Fetch(module, PPB_VAR_ARRAY_INTERFACE, &interfaces.array);
  Fetch(module, PPB_MESSAGING_INTERFACE, &interfaces.messaging);
  Fetch(module, PPB_MESSAGELOOP_INTERFACE, &interfaces.message_loop);
}

}  // namespace pp
