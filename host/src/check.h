#ifndef HOST_SRC_CHECK_H_
#define HOST_SRC_CHECK_H_

#include "options.h"

namespace lumivex::host {

// Checks the layers below a page on the device, from the player library up to an element, and
// prints a line for each. line.script is a clip to play, or "-" for none. Ends the process if a
// layer does not return within 10 s, crashes or throws. Returns the exit status: 0, or 1 if a check
// failed.
int Check(const CommandLine& line);

}  // namespace lumivex::host

#endif  // HOST_SRC_CHECK_H_
