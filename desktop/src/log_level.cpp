#include "log_level.h"

#include <cctype>
#include <climits>

namespace lumivex::desktop {
namespace {

struct Level {
  const char* name;
  int priority;
};

// The platform's scale.
constexpr Level kLevels[] = {{"verbose", 2}, {"debug", 3}, {"info", 4},
                             {"warn", 5},    {"error", 6}, {"fatal", 7}};

}  // namespace

int LogPriority(const std::string& level) {
  for (const Level& known : kLevels) {
    if (level == known.name ||
        (level.size() == 1 && std::toupper(known.name[0]) == static_cast<int>(level[0]))) {
      return known.priority;
    }
  }
  return INT_MAX;
}

}  // namespace lumivex::desktop
