#ifndef DESKTOP_SRC_WRAPPER_RECORDER_H_
#define DESKTOP_SRC_WRAPPER_RECORDER_H_

#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_messaging.h"

namespace lumivex::desktop {

// A table that passes everything on to the engine's and records what the page's first element gets
// as a script for lumivex-host, with the replies as expectations, and what other elements get as
// comments. Null if the window wants no recording.
const PPB_Messaging* MakeRecorder(PPB_GetInterface get_browser_interface);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_RECORDER_H_
