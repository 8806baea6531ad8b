#include "options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <random>

namespace lumivex::soak {

namespace {

constexpr int kWrongUsage = 64;
constexpr double kMostMinutes = 60 * 24 * 365;
constexpr unsigned int kMostInstances = 200;
constexpr const char* kUsage =
    R"(usage: lumivex-soak [options]

Uses the plug-in from every side, with elements that come and go, and watches what the process holds.

  --minutes M      how long; 5 by default, fractions are allowed
  --instances N    elements at once, at most; 6 by default
  --seed N         the same decisions again, if not in the same order; by default another each time
  --plugin FILE    the plug-in library; by default the one that was built with this program
  --help

Exit status: 0 flat; 1 something grew or was not given back; 2 nothing of the kind, but the run was
ended before memory could be judged, which takes half its time; 64 wrong usage. A broken promise and
a hang abort the process. A first interrupt ends the run early, with its verdict.
)";

std::nullopt_t Complain(const std::string& problem) {
  std::fprintf(stderr, "lumivex-soak: %s; see lumivex-soak --help\n", problem.c_str());
  return std::nullopt;
}

// The whole text as a number within the limits.
template <class Number>
bool Read(const std::string& text, Number least, Number most, Number* number) {
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && rest == end && *number >= least && *number <= most;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, char** argv, int* status) {
  enum Option { kMinutes = 256, kInstances, kSeed, kPlugin, kHelp };
  static constexpr std::array<option, 6> kOptions = {{
      {"minutes", required_argument, nullptr, kMinutes},
      {"instances", required_argument, nullptr, kInstances},
      {"seed", required_argument, nullptr, kSeed},
      {"plugin", required_argument, nullptr, kPlugin},
      {"help", no_argument, nullptr, kHelp},
      {nullptr, 0, nullptr, 0},
  }};
  Options options;
  options.seed = std::random_device()();
  *status = kWrongUsage;
  opterr = 0;
  // The colon tells a missing argument from an unknown option.
  for (int found = 0; (found = getopt_long(argc, argv, ":", kOptions.data(), nullptr)) != -1;) {
    const std::string argument = optarg == nullptr ? "" : optarg;
    const std::string given = "\"" + argument + "\"";
    switch (found) {
      case kMinutes:
        if (!Read(argument, 0.01, kMostMinutes, &options.minutes)) {
          return Complain(given + " is no number of minutes, 0.01 or more");
        }
        break;
      case kInstances:
        if (!Read(argument, 1U, kMostInstances, &options.instances)) {
          return Complain(given + " is no number of instances, 1 to 200");
        }
        break;
      case kSeed:
        if (!Read(argument, uint64_t{0}, UINT64_MAX, &options.seed)) {
          return Complain(given + " is no seed: a whole number of 64 bits");
        }
        break;
      case kPlugin:
        // A name alone would be searched for among the system's libraries.
        options.plugin = std::filesystem::absolute(argument).string();
        break;
      case kHelp:
        std::fputs(kUsage, stdout);
        *status = 0;
        return std::nullopt;
      default:
        return Complain(std::string(argv[optind - 1]) +
                        (found == ':' ? " wants an argument" : " is no option"));
    }
  }
  if (optind < argc) {
    return Complain("\"" + std::string(argv[optind]) + "\" is no option");
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(options.plugin, error)) {
    return Complain(options.plugin + " is no file");
  }
  return options;
}

}  // namespace lumivex::soak
