#ifndef BENCH_HOST_LAPS_H_
#define BENCH_HOST_LAPS_H_

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

namespace lumivex::bench {

// Times the iterations of a benchmark's loop in laps, and reports the median lap as the counter
// kTypical, in seconds per iteration. Unlike the benchmark library's mean, it excludes
// interruptions.
class Laps {
 public:
  explicit Laps(benchmark::State* state, int iterations_a_lap = 1);
  ~Laps();
  Laps(const Laps&) = delete;
  Laps& operator=(const Laps&) = delete;

  // For laps timed elsewhere.
  void Add(double seconds) { laps_.push_back(seconds); }
  // For all others: at the end of each iteration.
  void Next() {
    if (--left_ == 0) {
      EndLap();
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  void EndLap();

  benchmark::State* const state_;
  const int iterations_a_lap_;
  int left_;
  Clock::time_point start_;
  std::vector<double> laps_;  // seconds
};

}  // namespace lumivex::bench

#endif  // BENCH_HOST_LAPS_H_
