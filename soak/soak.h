#ifndef SOAK_SOAK_H_
#define SOAK_SOAK_H_

#include "figures.h"
#include "options.h"

namespace lumivex::soak {

// Runs the whole soak and prints it. Main thread, once in a process.
Verdict Soak(const Options& options);

// Ends the soak soon, as if its time was over. A signal handler may call it.
void EndSoak();

}  // namespace lumivex::soak

#endif  // SOAK_SOAK_H_
