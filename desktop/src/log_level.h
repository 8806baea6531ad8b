#ifndef DESKTOP_SRC_LOG_LEVEL_H_
#define DESKTOP_SRC_LOG_LEVEL_H_

#include <string>

namespace lumivex::desktop {

// The priority of a platform log level, by its name or by the letter in its lines' prefix. INT_MAX
// if unknown.
int LogPriority(const std::string& level);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_LOG_LEVEL_H_
