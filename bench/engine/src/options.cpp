#include "options.h"

#include <getopt.h>

#include <QFile>
#include <QFileInfo>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace lumivex::bench {
namespace {

constexpr char kUsage[] =
    R"(usage: lumivex-bench-engine [options]

Measures the round trip from a page's JavaScript in the browser engine: GetPlayerVersion through the
plug-in, a plug-in that sends messages back, a QWebChannel call and a synchronous XMLHttpRequest to
a server on the loopback interface. They take turns, batch by batch and in random order, on one page.
Without a screen it opens a virtual one (Debian package xvfb).

  --calls N      calls by each way; 5000 by default
  --batch N      calls in a row; 20 by default
  --warmup N     calls by each way before the first that counts; 500 by default
  --seed N       seed of the order; 1 by default
  --timeout S    give up after so many seconds; 300 by default
  --plugin FILE  the library to measure in the plug-in's place
  --with-log     have the platform's log written, as the browser window has it
  --out FILE     write the figures as JSON
  --help

Exit status: 0 there are figures; 1 there are none. A signal gives 128 + n.
)";

bool ReadNumber(const QString& text, int* number) {
  bool is_number = false;
  *number = text.toInt(&is_number);
  return is_number && *number > 0;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, char** argv, int* status) {
  static constexpr std::array<option, 10> kOptions = {{
      {"calls", required_argument, nullptr, 'c'},
      {"batch", required_argument, nullptr, 'b'},
      {"warmup", required_argument, nullptr, 'w'},
      {"seed", required_argument, nullptr, 's'},
      {"timeout", required_argument, nullptr, 't'},
      {"plugin", required_argument, nullptr, 'p'},
      {"with-log", no_argument, nullptr, 'l'},
      {"out", required_argument, nullptr, 'o'},
      {"help", no_argument, nullptr, 'h'},
      {nullptr, 0, nullptr, 0},
  }};
  Options options;
  *status = EXIT_FAILURE;
  const auto complain = [](const QString& problem) {
    std::fprintf(stderr, "lumivex-bench-engine: %s; see --help\n", qPrintable(problem));
    return std::nullopt;
  };
  opterr = 0;
  for (int found = 0; (found = getopt_long(argc, argv, "", kOptions.data(), nullptr)) != -1;) {
    const QString argument = optarg == nullptr ? "" : optarg;
    bool is_right = true;
    switch (found) {
      case 'c':
        is_right = ReadNumber(argument, &options.calls);
        break;
      case 'b':
        is_right = ReadNumber(argument, &options.batch);
        break;
      case 'w':
        is_right = ReadNumber(argument, &options.warmup);
        break;
      case 's':
        is_right = ReadNumber(argument, &options.seed);
        break;
      case 't':
        is_right = ReadNumber(argument, &options.timeout_s);
        break;
      case 'p':
        options.plugin = QFileInfo(argument).canonicalFilePath();
        is_right = QFileInfo(options.plugin).isFile();
        break;
      case 'l':
        options.with_log = true;
        break;
      case 'o':
        options.out = argument;
        if (QFile out(argument); !out.open(QFile::WriteOnly)) {  // rather now than after minutes
          return complain(argument + ": " + out.errorString());
        }
        break;
      case 'h':
        std::fputs(kUsage, stdout);
        *status = EXIT_SUCCESS;
        return std::nullopt;
      default:
        return complain(QString(argv[optind - 1]) + " is no option, or lacks its argument");
    }
    if (!is_right) {
      return complain("\"" + argument + "\" is no " + (found == 'p' ? "file" : "number from 1 on"));
    }
  }
  if (optind < argc) {
    return complain(QString(argv[optind]) + " is no option");
  }
  return options;
}

}  // namespace lumivex::bench
