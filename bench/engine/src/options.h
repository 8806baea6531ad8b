#ifndef BENCH_ENGINE_SRC_OPTIONS_H_
#define BENCH_ENGINE_SRC_OPTIONS_H_

#include <string>

namespace lumivex::bench {

struct Options {
  int calls = 5000;  // in each way, in batches of `batch`
  int batch = 20;
  int warmup = 500;
  int seed = 1;  // of the order in which the ways take turns
  int timeout_s = 300;
  bool with_log = false;  // write the platform's log, as the browser window does
  std::string out;        // a file for the figures; empty: none
  std::string plugin = LUMIVEX_BENCH_PLUGIN;
};

// Ends the program after --help, --version or wrong usage.
Options ReadOptions(int argc, char** argv);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_OPTIONS_H_
