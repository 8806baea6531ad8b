#ifndef DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_
#define DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_

#include "ppapi/c/ppb.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::desktop {

// The television's private table, which a desktop engine lacks. Its answers come from the
// environment at the time of this call. Null if the engine lacks PPB_Var.
const PPB_ExtensionSystem_Quorvel_0_1* MakeExtensionSystem(PPB_GetInterface get_browser_interface);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_
