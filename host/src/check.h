#ifndef HOST_SRC_CHECK_H_
#define HOST_SRC_CHECK_H_

#include "options.h"

namespace lumivex::host {

// Goes through the layers below a page, from the player library up to an element, as they lie on
// the device, and prints a line for each: what was found, and what a page will see of it.
// line.script is a clip to play, or "-" for none. Ends the process when a layer does not come back
// within 10 s. Answers the exit status: 0, or 1 when something was not as it has to be.
int Check(const CommandLine& line);

}  // namespace lumivex::host

#endif  // HOST_SRC_CHECK_H_
