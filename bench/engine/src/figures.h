#ifndef BENCH_ENGINE_SRC_FIGURES_H_
#define BENCH_ENGINE_SRC_FIGURES_H_

#include <vector>

namespace lumivex::bench {

// The times of calls in microseconds, batch by batch.
using Batches = std::vector<std::vector<double>>;

// The median of the batches' middle values. A batch's is the mean of the middle half of its calls:
// finer than the steps of the page's clock, and untouched by the few calls that were held up.
// 0 for no batches.
double MedianOf(const Batches& batches);

// The time that 95 of 100 single calls do not exceed.
double P95Of(const Batches& batches);

// How many times as long as the other way to call one takes: the median of what each turn says,
// because the two batches of a turn found the machine in the same state.
struct Ratio {
  double value;
  double low, high;  // with 95 % confidence the ratio lies between these
};
// The batches of one turn have the same place.
Ratio RatioOf(const Batches& one, const Batches& other);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_FIGURES_H_
