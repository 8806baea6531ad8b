#ifndef SOAK_TABLE_H_
#define SOAK_TABLE_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "element.h"
#include "figures.h"

namespace lumivex::soak {

// What was done so far.
struct Work {
  double seconds = 0;
  int64_t opened = 0;
  int64_t messages = 0;
  std::array<int64_t, Counts::kCodes.size()> replies{};
  int64_t events = 0;
  int64_t dropped = 0;  // events
};

// Standard output: a line for each quiet point and, on a terminal, one that goes on in between.
class Table {
 public:
  Table();

  void PrintHead() const;
  void PrintRow(const Work& work, const Figures& figures);
  void PrintLivingHeap(double seconds, std::size_t elements, int64_t bytes);
  void PrintProgress(const Work& work, double seconds_in_all);

 private:
  void ClearProgress();

  const bool is_terminal_;
  bool has_progress_ = false;
  Work last_;  // at the row before
};

}  // namespace lumivex::soak

#endif  // SOAK_TABLE_H_
