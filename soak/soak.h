#ifndef SOAK_SOAK_H_
#define SOAK_SOAK_H_

#include "options.h"

namespace lumivex::soak {

// Runs the whole soak and prints it. True when everything stayed flat. Main thread, once in a
// process.
bool Soak(const Options& options);

// Ends the soak soon, as if its time was over. A signal handler may call it.
void EndSoak();

}  // namespace lumivex::soak

#endif  // SOAK_SOAK_H_
