#ifndef SOAK_MESSAGES_H_
#define SOAK_MESSAGES_H_

#include <string>

#include "random.h"

namespace lumivex::soak {

// A message that a page might send, right or wrong, as MessageReader reads it.
std::string RandomMessage(Random* random);

}  // namespace lumivex::soak

#endif  // SOAK_MESSAGES_H_
