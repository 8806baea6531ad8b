#ifndef SOAK_OPTIONS_H_
#define SOAK_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>

namespace lumivex::soak {

struct Options {
  double minutes = 5;
  unsigned int instances = 6;  // at most, at once
  uint64_t seed = 0;
  std::string plugin = LUMIVEX_SOAK_PLUGIN;
};

// Null when the program is done already: *status is then its exit status, and what had to be said
// was said.
std::optional<Options> ReadOptions(int argc, char** argv, int* status);

}  // namespace lumivex::soak

#endif  // SOAK_OPTIONS_H_
