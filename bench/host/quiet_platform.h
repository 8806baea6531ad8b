#ifndef BENCH_HOST_QUIET_PLATFORM_H_
#define BENCH_HOST_QUIET_PLATFORM_H_

// A platform that costs next to nothing: a disabled log, and a tuner and a player that accept
// everything and record nothing. They are linked into the program.

#include "IZunoPlayer.h"

namespace lumivex::bench {

// The callbacks of the last created player. Main thread.
struct PlayerCallbacks {
  IZunoPlayer::MessageCallback message = nullptr;
  void* message_user = nullptr;
  IZunoPlayer::PositionCallback position = nullptr;
  void* position_user = nullptr;
};
PlayerCallbacks& LastPlayer();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_QUIET_PLATFORM_H_
