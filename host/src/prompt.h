#ifndef HOST_PROMPT_H_
#define HOST_PROMPT_H_

#include <memory>

#include "input.h"

namespace lumivex::host {

// Standard input with a prompt, history and completion. Null when standard input or output is no
// terminal, or where there is no line editor. There can be one at a time.
std::unique_ptr<Input> MakePrompt();

}  // namespace lumivex::host

#endif  // HOST_PROMPT_H_
