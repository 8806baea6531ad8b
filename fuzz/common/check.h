#ifndef FUZZ_COMMON_CHECK_H_
#define FUZZ_COMMON_CHECK_H_

#include <cstdio>
#include <cstdlib>
#include <string>

namespace lumivex::test {

// A broken promise ends the process: a fuzzer keeps the input, and a run is over.
inline void Check(bool kept, const char* promise, const std::string& seen = "") {
  if (!kept) {
    std::fprintf(stderr, "BROKEN: %s: %s\n", promise, seen.c_str());
    std::abort();
  }
}

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_CHECK_H_
