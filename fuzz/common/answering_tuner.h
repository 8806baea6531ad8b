#ifndef FUZZ_COMMON_ANSWERING_TUNER_H_
#define FUZZ_COMMON_ANSWERING_TUNER_H_

// Defines the exported names of librf-manager for any number of instances, whose operations answer
// what Say() says. An instance must be given back after the thread that obtained it has ended, and
// used only until then. Any thread.

#include <atomic>
#include <cstdint>

namespace lumivex::test {

struct AnsweringTuner {
  static int64_t Held();  // instances obtained and not given back
  // Any event to the listener of any instance, on the calling thread. False: none was free for it.
  static bool Report();

  static inline std::atomic<bool> reports_from_calls{false};  // also on the thread that tunes
  static inline std::atomic<int64_t> tuned{0};  // events that the page has to hear of, so far
};

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_ANSWERING_TUNER_H_
