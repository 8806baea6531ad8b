#ifndef BENCH_HOST_REPORT_H_
#define BENCH_HOST_REPORT_H_

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace lumivex::bench {

// Collects what was measured and prints it as tables in the end, with the aims.
class Report : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  // Of a benchmark's runs; NaN when there were none. Times in microseconds.
  struct Figure {
    double median;
    double spread;  // half of what the middle half of the runs spans
  };
  Figure Get(const std::string& name) const;
  double Median(const std::string& name) const { return Get(name).median; }
  bool Has(const std::string& name) const { return values_.count(name) > 0; }

  void PrintMessages() const;
  void PrintEvents() const;
  void PrintLife() const;
  void PrintAims() const;

  // By the benchmark's name, followed by "/" and its argument or number of threads: the time of an
  // iteration in each run, or a counter.
  std::map<std::string, std::vector<double>> values_;
};

}  // namespace lumivex::bench

#endif  // BENCH_HOST_REPORT_H_
