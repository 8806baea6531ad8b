#ifndef PEPPER_SRC_INTERFACES_H_
#define PEPPER_SRC_INTERFACES_H_

#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/cpp/module.h"

namespace pp {

// The browser's tables that this library calls. A table that the browser lacks is null, and what
// needs it returns its failure value.
struct Interfaces {
  const PPB_Core* core;
  const PPB_Var* var;
  const PPB_VarDictionary* dictionary;
  const PPB_Messaging* messaging;
  const PPB_MessageLoop* message_loop;
};

// Filled when the library is initialised, before any instance exists; then read-only.
extern Interfaces browser_interfaces;

inline const Interfaces& Browser() {
  return browser_interfaces;
}
void FetchInterfaces(const Module& module);

}  // namespace pp

#endif  // PEPPER_SRC_INTERFACES_H_
