#ifndef PLATFORM_ZUNO_PLAYER_SRC_ERRORS_H_
#define PLATFORM_ZUNO_PLAYER_SRC_ERRORS_H_

#include "handover.h"
#include "messages.h"

namespace zuno {

// What to tell of an error of GStreamer's while a medium from the network, or a local one, plays.
Message MessageOfError(const handover::Error& error, bool network);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_ERRORS_H_
