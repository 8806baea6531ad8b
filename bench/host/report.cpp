#include "report.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

#include "benchmarks.h"
#include "requests.h"

namespace lumivex::bench {

namespace {

constexpr char kMean[] = "/mean";  // suffix of a name: the mean instead of the median lap

constexpr double kMaxRatioToEcho = 2;
constexpr double kMinEventsPerSecond = 1e6;
constexpr double kMaxRatioToFirstElement = 1.25;
constexpr double kMaxLibraryBytes = 100 * 1024;

double Quantile(const std::vector<double>& sorted, double part) {
  const double place = part * static_cast<double>(sorted.size() - 1);
  const auto low = static_cast<std::size_t>(place);
  const std::size_t high = std::min(low + 1, sorted.size() - 1);
  return sorted[low] + (sorted[high] - sorted[low]) * (place - static_cast<double>(low));
}

double LibraryBytes() {
  return static_cast<double>(std::filesystem::file_size(LUMIVEX_BENCH_STRIPPED));
}

void PrintLoad(const char* when) {
  double load[1] = {};
  getloadavg(load, 1);
  std::printf("Load of the machine %s: %.2f\n", when, load[0]);
}

double PerSecond(double microseconds) {
  return 1e6 / microseconds;
}

void PrintAim(const char* aim, bool reached, bool measured, const std::string& figure) {
  std::printf("  %-11s  %-52s %s\n",
              !measured ? "not run"
              : reached ? "reached"
                        : "NOT REACHED",
              aim, measured ? figure.c_str() : "");
}

template <class... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[200];
  std::snprintf(text, sizeof text, format, arguments...);
  return text;
}

}  // namespace

bool Report::ReportContext(const Context& context) {
  std::printf("Build %s, %d processors\n", LUMIVEX_BENCH_BUILD, context.cpu_info.num_cpus);
  PrintLoad("at the start");
  std::fflush(stdout);
  return true;
}

void Report::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration) {
      continue;
    }
    std::string name = run.run_name.function_name;
    for (const std::string& part : {run.run_name.args, run.run_name.threads}) {
      name += part.empty() ? "" : "/" + part;
    }
    const auto counter = [&run](const char* wanted) {
      const auto found = run.counters.find(wanted);
      return found == run.counters.end() ? 0 : found->second.value;
    };
    const double mean =
        run.real_accumulated_time / static_cast<double>(std::max<int64_t>(run.iterations, 1));
    const double seconds = counter(kTypical) > 0 ? counter(kTypical) : mean;
    values_[name].push_back(counter(kBytes) > 0 ? counter(kBytes) : seconds * 1e6);
    values_[name + kMean].push_back(mean * 1e6);
  }
}

Report::Figure Report::Get(const std::string& name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    return {kNone, kNone};
  }
  std::vector<double> sorted = found->second;
  std::sort(sorted.begin(), sorted.end());
  return {Quantile(sorted, 0.5), (Quantile(sorted, 0.75) - Quantile(sorted, 0.25)) / 2};
}

void Report::Finalize() {
  PrintLoad("at the end");
  std::printf("Figures are medians of the runs; ± is half of the interquartile range.\n");
  PrintMessages();
  PrintEvents();
  PrintLife();
  PrintAims();
}

void Report::PrintMessages() const {
  std::printf(
      "\nA blocking message, µs\n"
      "%-24s %14s %14s %6s   %7s %7s   %s\n",
      "", "in the host", "its echo", "ratio", "handler", "echo",
      "Pepper layer / dispatch / command");
  const double dispatch =
      Median(std::string(kDirect) + kUnknown) - Median(std::string(kDirectEcho) + kUnknown);
  const auto print = [&](const std::string& command) {
    if (!Has(kHosted + command) && !Has(kDirect + command)) {
      return;
    }
    const Figure hosted = Get(kHosted + command);
    const Figure echo = Get(kHostedEcho + command);
    const double handler = Median(kDirect + command);
    const double handler_echo = Median(kDirectEcho + command);
    const double own = handler - handler_echo;  // the plug-in's part
    const double whole = hosted.median;
    std::printf(
        "%-24s %7.2f ±%5.2f %7.2f ±%5.2f %6.2f   %7.3f %7.3f   %7.2f %5.2f %5.2f = %3.0f %2.0f "
        "%2.0f %%\n",
        command.c_str(), whole, hosted.spread, echo.median, echo.spread, whole / echo.median,
        handler, handler_echo, whole - own, dispatch, own - dispatch, 100 * (whole - own) / whole,
        100 * dispatch / whole, 100 * (own - dispatch) / whole);
  };
  for (const Request& request : Requests()) {
    print(request.command);
  }
  print(kUnknown);
  std::printf("Handing a message to the other thread and back: %.2f ±%.2f\n", Median(kHandover),
              Get(kHandover).spread);
}

void Report::PrintEvents() const {
  std::printf("\nEvents a second, thousands %14s %15s %15s\n", "one thread", "its mean",
              "four, mean");
  for (const char* name : {kPosition, kMessage, kBareMade, kBare}) {
    if (!Has(std::string(name) + "/threads:1")) {
      continue;
    }
    std::printf("%-24s", name);
    for (const char* threads : {"/threads:1", "/threads:1/mean", "/threads:4"}) {
      const Figure time = Get(std::string(name) + threads);
      const double rate = PerSecond(time.median);
      std::printf(" %8.0f ±%5.0f", rate / 1e3, rate / 1e3 * time.spread / time.median);
    }
    std::printf("\n");
  }
}

void Report::PrintLife() const {
  std::printf("\nThe library: %.0f bytes stripped\n", LibraryBytes());
  std::printf("Loading, µs: %.0f ±%.0f (echo %.0f), unloading: %.0f\n", Median(kLoad),
              Get(kLoad).spread, Median(kLoadEcho), Median(kUnload));
  std::printf("An element's heap, bytes: %.0f, of which the plug-in's own %.0f (echo %.0f)\n",
              Median(kHeap), Median(kHeap) - Median(kHeapEcho), Median(kHeapEcho));
  std::printf("\nAmong living elements, µs %10s %14s %14s\n", "1", "10", "100");
  for (const char* name : {kAmongOthers, kCreate, kCreateEcho, kDestroy, kDestroyEcho}) {
    if (!Has(std::string(name) + "/1")) {
      continue;
    }
    std::printf("%-24s", name);
    for (const char* others : {"/1", "/10", "/100"}) {
      const Figure figure = Get(std::string(name) + others);
      std::printf(" %7.2f ±%5.2f", figure.median, figure.spread);
    }
    std::printf("\n");
  }
}

void Report::PrintAims() const {
  std::printf("\nAims\n");
  double worst = 0;
  double most_of_its_own = 0;
  std::string worst_command = "?";
  bool all = true;
  for (const Request& request : Requests()) {
    const double ratio = Median(kHosted + request.command) / Median(kHostedEcho + request.command);
    all = all && !std::isnan(ratio);
    most_of_its_own = std::max(
        most_of_its_own, Median(kDirect + request.command) - Median(kDirectEcho + request.command));
    if (ratio > worst) {
      worst = ratio;
      worst_command = request.command;
    }
  }
  PrintAim("every command within 2 times its echo", worst <= kMaxRatioToEcho, all,
           Format("worst: %s, %.2f; the plug-in's own part is at most %.2f µs",
                  worst_command.c_str(), worst, most_of_its_own));
  for (const char* name : {kPosition, kMessage}) {
    const double typical = PerSecond(Median(std::string(name) + "/threads:1"));
    const double mean = PerSecond(Median(std::string(name) + "/threads:1" + kMean));
    PrintAim(Format("a million %s a second from one thread", name).c_str(),
             mean >= kMinEventsPerSecond, !std::isnan(mean),
             Format("%.2f million, in the median lap %.2f", mean / 1e6, typical / 1e6));
  }
  const double growth = Median(std::string(kCreate) + "/100") / Median(std::string(kCreate) + "/1");
  PrintAim("creation costs the same among 100 elements as among 1",
           growth <= kMaxRatioToFirstElement, !std::isnan(growth), Format("%.2f times", growth));
  PrintAim("the stripped library is below 100 KiB", LibraryBytes() < kMaxLibraryBytes, true,
           Format("%.1f KiB", LibraryBytes() / 1024));
}

}  // namespace lumivex::bench
