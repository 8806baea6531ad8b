#ifndef BENCH_HOST_REPORT_H_
#define BENCH_HOST_REPORT_H_

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace lumivex::bench {

// Collects the measurements and finally prints them as tables, with the aims.
class Report : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  // Of a benchmark's runs; NaN if there were none. Times in microseconds.
  struct Figure {
    double median;
    double spread;  // half of the interquartile range
  };
  Figure Get(const std::string& name) const;
  double Median(const std::string& name) const { return Get(name).median; }
  bool Has(const std::string& name) const { return values_.count(name) > 0; }

  void PrintMessages() const;
  void PrintEvents() const;
  void PrintLife() const;
  void PrintAims() const;

  // Each run's time per iteration, or its counter, by benchmark: "name/argument" or "name/threads".
  std::map<std::string, std::vector<double>> values_;
};

}  // namespace lumivex::bench

#endif  // BENCH_HOST_REPORT_H_
