#ifndef DESKTOP_SRC_LOG_LEVEL_H_
#define DESKTOP_SRC_LOG_LEVEL_H_

#include <string>

namespace lumivex::desktop {

// The priority of a platform log level's name, or of the letter that begins its lines' prefix.
// A level beyond all lines for what is neither.
int LogPriority(const std::string& level);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_LOG_LEVEL_H_
