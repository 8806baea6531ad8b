#ifndef BENCH_ENGINE_SRC_FIGURES_H_
#define BENCH_ENGINE_SRC_FIGURES_H_

#include <vector>

namespace lumivex::bench {

// The times of calls in microseconds, batch by batch.
using Batches = std::vector<std::vector<double>>;

// The median of the batches' interquartile means, which are finer than the steps of the page's
// clock and exclude calls that were interrupted. 0 for no batches.
double MedianOf(const Batches& batches);

// The 95th percentile of single calls.
double P95Of(const Batches& batches);

// How many times as long as the other one way to call takes: the median of the turns' ratios,
// because the two batches of a turn ran under the same load.
struct Ratio {
  double value;
  double low, high;  // 95 % confidence interval
};
// The batches of a turn have the same index.
Ratio RatioOf(const Batches& one, const Batches& other);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_FIGURES_H_
