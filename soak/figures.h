#ifndef SOAK_FIGURES_H_
#define SOAK_FIGURES_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumivex::soak {

// What is looked at when nothing of the plug-in is alive.
enum Figure {
  kHeap,  // bytes in use
  kResident,
  kThreads,
  kHandles,
  kVars,
  kResources,
  kDefects,
  kPlayers,
  kPlayerLibraries,
  kTuners,
  kPluginLibraries,
  kEventsLost,
  kFigures
};

struct Rule {
  const char* name;
  int64_t allowed;     // growth, from the end of the warm-up to the end
  bool at_each_point;  // it must hold at each quiet point, against the base line before all
};
extern const std::array<Rule, kFigures> kRules;

using Figures = std::array<int64_t, kFigures>;

// Of the process.
int64_t HeapBytes();
int64_t ResidentBytes();
int64_t Threads();
int64_t Handles();

// Prints the verdict. True when everything is flat. The loads are those of the plug-in's library
// between first and last.
bool Judge(const Figures& base, const Figures& first, const Figures& last, int64_t loads);
// Whether what must hold at each quiet point does.
bool HoldsNow(const Figures& base, const Figures& now);

}  // namespace lumivex::soak

#endif  // SOAK_FIGURES_H_
