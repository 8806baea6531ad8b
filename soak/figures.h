#ifndef SOAK_FIGURES_H_
#define SOAK_FIGURES_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumivex::soak {

// What is looked at when nothing of the plug-in is alive, but for one.
enum Figure {
  kHeap,        // bytes in use
  kLivingHeap,  // the same while elements are alive and at rest
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

using Figures = std::array<int64_t, kFigures>;
constexpr int64_t kUnknown = -1;  // never looked at

enum class Verdict {
  kFlat,
  kNotFlat,
  kNotJudged,  // flat as far as it was looked at, which was too short
};

// Of the process.
int64_t HeapBytes();
int64_t ResidentBytes();
int64_t Threads();
int64_t Handles();

// Prints how each figure fared. The loads are those of the plug-in's library between first and
// last; the elements are those of the living heap.
Verdict Judge(const Figures& base,
              const Figures& first,
              const Figures& last,
              int64_t loads,
              std::size_t elements);
// Whether what must hold at each quiet point does.
bool HoldsNow(const Figures& base, const Figures& now);

}  // namespace lumivex::soak

#endif  // SOAK_FIGURES_H_
