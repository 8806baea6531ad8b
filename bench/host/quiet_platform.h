#ifndef BENCH_HOST_QUIET_PLATFORM_H_
#define BENCH_HOST_QUIET_PLATFORM_H_

// The platform as it costs next to nothing: a log that is switched off, a tuner and a player that
// agree to everything and keep no record. They stand in the program itself.

#include "IZunoPlayer.h"

namespace lumivex::bench {

// What the player that was created last was given. Set and read on the main thread.
struct PlayerCallbacks {
  IZunoPlayer::MessageCallback message = nullptr;
  void* message_user = nullptr;
  IZunoPlayer::PositionCallback position = nullptr;
  void* position_user = nullptr;
};
PlayerCallbacks& LastPlayer();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_QUIET_PLATFORM_H_
