#include "options.h"

#include <climits>
#include <filesystem>
#include <fstream>

#include "host/option_parser.h"

namespace lumivex::bench {
namespace {

constexpr char kDescription[] =
    R"(Measures the round trip from a page's JavaScript in the browser engine: GetPlayerVersion through the
plug-in, a plug-in that sends messages back, a QWebChannel call and a synchronous XMLHttpRequest to
a server on the loopback interface. They take turns, batch by batch and in random order, on one page.
Without a screen it opens a virtual one (Debian package xvfb).)";

constexpr char kFooter[] =
    "Exit status: 0 success; 1 no figures; 64 wrong usage; 128+n ended by signal n.";

}  // namespace

Options ReadOptions(int argc, char** argv) {
  Options options;
  host::OptionParser parser("lumivex-bench-engine", kDescription, kFooter);
  const auto add_number = [&parser](const char* name, int* number, const std::string& what) {
    parser.add_option(name, *number, what + " (default: " + std::to_string(*number) + ")")
        ->option_text("N")
        ->check(CLI::Range(1, INT_MAX));
  };
  add_number("--calls", &options.calls, "calls in each way");
  add_number("--batch", &options.batch, "calls in a row");
  add_number("--warmup", &options.warmup, "calls in each way before measuring");
  add_number("--seed", &options.seed, "seed of the order");
  add_number("--timeout", &options.timeout_s, "give up after N seconds");
  parser.add_option("--plugin", options.plugin, "library to measure instead of the plug-in")
      ->option_text("FILE")
      ->check(CLI::ExistingFile);
  parser.add_flag("--with-log", options.with_log,
                  "write the platform's log, as the browser window does");
  parser.add_option("--out", options.out, "write the figures as JSON")
      ->option_text("FILE")
      ->check([](const std::string& file) {  // before the benchmarks run
        return std::ofstream(file) ? std::string() : "cannot write " + file;
      });
  parser.Read(argc, argv);
  options.plugin = std::filesystem::absolute(options.plugin);
  return options;
}

}  // namespace lumivex::bench
