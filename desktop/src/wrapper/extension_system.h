#ifndef DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_
#define DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_

#include "ppapi/c/ppb.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace lumivex::desktop {

// The television's private table, which a plain engine does not offer. Its answers are what the
// environment says at the time of this call; get_browser_interface must know PPB_Var.
const PPB_ExtensionSystem_Quorvel_0_1* MakeExtensionSystem(PPB_GetInterface get_browser_interface);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_EXTENSION_SYSTEM_H_
