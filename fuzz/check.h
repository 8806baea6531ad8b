#ifndef FUZZ_CHECK_H_
#define FUZZ_CHECK_H_

#include <cstdio>
#include <cstdlib>
#include <string>

namespace lumivex::test {

// A broken promise ends the process, and the fuzzer keeps the input.
inline void Check(bool kept, const char* promise, const std::string& seen = "") {
  if (!kept) {
    std::fprintf(stderr, "BROKEN: %s: %s\n", promise, seen.c_str());
    std::abort();
  }
}

}  // namespace lumivex::test

#endif  // FUZZ_CHECK_H_
