#ifndef HOST_PROMPT_H_
#define HOST_PROMPT_H_

#include <memory>

#include "input.h"

namespace lumivex::host {

// Standard input with a prompt, history and completion. Null if standard input or output is not a
// terminal, or if this build has no readline. One at a time.
std::unique_ptr<Input> MakePrompt();

}  // namespace lumivex::host

#endif  // HOST_PROMPT_H_
