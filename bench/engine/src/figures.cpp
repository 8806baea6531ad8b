#include "figures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace lumivex::bench {
namespace {

// 0 for no values.
double Quantile(std::vector<double> values, double share) {
  if (values.empty()) {
    return 0;
  }
  const auto place = values.begin() + std::lround(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

double MiddleMean(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const auto quarter = static_cast<std::ptrdiff_t>(values.size() / 4);
  const auto first = values.begin() + quarter;
  const auto last = values.end() - quarter;
  return std::accumulate(first, last, 0.0) / static_cast<double>(last - first);
}

}  // namespace

double MedianOf(const Batches& batches) {
  std::vector<double> middles;
  middles.reserve(batches.size());
  for (const std::vector<double>& batch : batches) {
    middles.push_back(MiddleMean(batch));
  }
  return Quantile(std::move(middles), 0.5);
}

double P95Of(const Batches& batches) {
  std::vector<double> calls;
  for (const std::vector<double>& batch : batches) {
    calls.insert(calls.end(), batch.begin(), batch.end());
  }
  return Quantile(std::move(calls), 0.95);
}

Ratio RatioOf(const Batches& one, const Batches& other) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
    ratios.push_back(MiddleMean(one[i]) / MiddleMean(other[i]));
  }
  // The number of turns below the true median is binomial; this is the normal approximation.
  const double reach = 0.98 / std::sqrt(static_cast<double>(ratios.size()));
  return {Quantile(ratios, 0.5), Quantile(ratios, std::max(0.5 - reach, 0.0)),
          Quantile(ratios, std::min(0.5 + reach, 1.0))};
}

}  // namespace lumivex::bench
