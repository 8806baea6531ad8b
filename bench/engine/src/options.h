#ifndef BENCH_ENGINE_SRC_OPTIONS_H_
#define BENCH_ENGINE_SRC_OPTIONS_H_

#include <QString>
#include <optional>

namespace lumivex::bench {

struct Options {
  int calls = 5000;  // by each way to call, in batches of `batch`
  int batch = 20;
  int warmup = 500;
  int seed = 1;  // of the order in which the ways take turns
  int timeout_s = 300;
  bool with_log = false;  // the platform's log is written, as in the browser window
  QString out;            // a file for the figures; empty: none
  QString plugin = LUMIVEX_BENCH_PLUGIN;
};

// Null when there is nothing to do; *status is then the exit status, and what there is to say has
// been said.
std::optional<Options> ReadOptions(int argc, char** argv, int* status);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_OPTIONS_H_
