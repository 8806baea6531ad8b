#ifndef DESKTOP_SRC_WRAPPER_RECORDER_H_
#define DESKTOP_SRC_WRAPPER_RECORDER_H_

#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_messaging.h"

namespace lumivex::desktop {

// A table for the plug-in that passes all on to the engine's and writes what the page's first
// element gets as a script for lumivex-host, with the replies as expectations; what other elements
// get is written as remarks. Null when the window wants no recording.
const PPB_Messaging* MakeRecorder(PPB_GetInterface get_browser_interface);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_RECORDER_H_
