#include "laps.h"

#include <algorithm>

#include "benchmarks.h"

namespace lumivex::bench {

Laps::Laps(benchmark::State* state, int iterations_a_lap)
    : state_(state), iterations_a_lap_(iterations_a_lap), left_(iterations_a_lap) {
  laps_.reserve(static_cast<std::size_t>(state->max_iterations / iterations_a_lap));
  start_ = Clock::now();
}

Laps::~Laps() {
  if (!laps_.empty()) {
    const auto middle = laps_.begin() + static_cast<std::ptrdiff_t>(laps_.size() / 2);
    std::nth_element(laps_.begin(), middle, laps_.end());
    state_->counters[kTypical] = benchmark::Counter(*middle / iterations_a_lap_);
  }
}

void Laps::EndLap() {
  const Clock::time_point now = Clock::now();
  Add(std::chrono::duration<double>(now - start_).count());
  start_ = now;
  left_ = iterations_a_lap_;
}

}  // namespace lumivex::bench
