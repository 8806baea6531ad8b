#ifndef BENCH_ENGINE_SRC_OPTIONS_H_
#define BENCH_ENGINE_SRC_OPTIONS_H_

#include <string>

namespace lumivex::bench {

struct Options {
  int calls = 5000;  // by each way to call, in batches of `batch`
  int batch = 20;
  int warmup = 500;
  int seed = 1;  // of the order in which the ways take turns
  int timeout_s = 300;
  bool with_log = false;  // the platform's log is written, as in the browser window
  std::string out;        // a file for the figures; empty: none
  std::string plugin = LUMIVEX_BENCH_PLUGIN;
};

// Ends the program when there is nothing to measure.
Options ReadOptions(int argc, char** argv);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_OPTIONS_H_
