// lumivex-bench [--benchmark_...]: measures the plug-in in the headless host. See bench/README.md.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks.h"
#include "report.h"

int main(int argc, char** argv) {
  using namespace lumivex::bench;
  // Random order, so that other load affects all benchmarks alike. The user's options override
  // these.
  std::string defaults[] = {"--benchmark_repetitions=15", "--benchmark_min_time=0.02",
                            "--benchmark_enable_random_interleaving=true"};
  std::vector<char*> arguments = {argv[0]};
  for (std::string& argument : defaults) {
    arguments.push_back(argument.data());
  }
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 64;  // wrong usage
  }
  RegisterMessages();
  RegisterEvents();
  RegisterLife();
  Report report;
  return benchmark::RunSpecifiedBenchmarks(&report) == 0 ? 1 : 0;
}
