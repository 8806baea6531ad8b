#ifndef SOAK_PLATFORM_H_
#define SOAK_PLATFORM_H_

// What stands behind the plug-in: players and a tuner that answer at random and report events all
// the time, on threads of their own. A player's events end before its deletion returns, and its
// messages come one at a time; positions come beside them.

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "pause.h"

namespace lumivex::soak {

struct Platform {
  static int64_t Players();  // alive

  static inline uint64_t seed = 0;          // set before everything else
  static inline std::atomic<int> owner{0};  // number of the element that gets the next player
  static inline std::atomic<int64_t> libraries{0};  // the player library, loaded
  // Events of players that a page has to hear of, so far; the tuner counts its own.
  static inline std::atomic<int64_t> reported{0};
};

// The threads on which the events come.
class EventThreads {
 public:
  EventThreads(int count, Pause* pause);  // which must outlive them
  ~EventThreads();
  EventThreads(const EventThreads&) = delete;
  EventThreads& operator=(const EventThreads&) = delete;

 private:
  void Run(unsigned int number) const;

  Pause* const pause_;
  std::atomic<bool> is_ended_{false};
  std::vector<std::thread> threads_;
};

}  // namespace lumivex::soak

#endif  // SOAK_PLATFORM_H_
