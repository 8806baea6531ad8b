#include "report.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSysInfo>
#include <QThread>
#include <cstdio>

#include "figures.h"

namespace lumivex::bench {
namespace {

// The kinds of calls; name is the page's.
struct Way {
  const char* name;
  const char* words;
};
constexpr Way kPlugin = {"plugin", "GetPlayerVersion through the plug-in"};
constexpr Way kEcho = {"echo", "echo plug-in"};
constexpr Way kWays[] = {kPlugin,
                         kEcho,
                         {"channel", "QWebChannel, awaited"},
                         {"request", "XMLHttpRequest, synchronous"}};

Batches BatchesOf(const QJsonValue& list) {
  Batches batches;
  for (const auto& batch : list.toArray()) {
    std::vector<double> times;
    for (const auto& time : batch.toArray()) {
      times.push_back(time.toDouble());
    }
    batches.push_back(std::move(times));
  }
  return batches;
}

QJsonObject SettingsOf(const Options& options, const QJsonObject& result) {
  return {{"calls", options.calls},
          {"batch", options.batch},
          {"warmup", options.warmup},
          {"seed", options.seed},
          {"with_log", options.with_log},
          {"plugin", QString::fromStdString(options.plugin)},
          {"build_type", LUMIVEX_BENCH_BUILD},
          {"qt", qVersion()},
          {"system", QSysInfo::prettyProductName()},
          {"processors", QThread::idealThreadCount()},
          {"user_agent", result["user_agent"]},
          {"clock_step_us", result["clock_step_us"]}};
}

constexpr double kMaxRatioToEcho = 1.05;

QString Verdict(const Ratio& ratio) {
  return ratio.high <= kMaxRatioToEcho   ? "reached"
         : ratio.low > kMaxRatioToEcho   ? "NOT REACHED"
         : ratio.value > kMaxRatioToEcho ? "not reached, within the uncertainty"
                                         : "reached, within the uncertainty";
}

}  // namespace

QString Report(const QString& result_text, const Options& options) {
  const QJsonObject result = QJsonDocument::fromJson(result_text.toUtf8()).object();
  const QJsonObject ways = result["ways"].toObject();
  const Batches echo = BatchesOf(ways[kEcho.name]);
  std::size_t calls = 0;
  for (const std::vector<double>& batch : echo) {
    calls += batch.size();
  }
  const QString engine = QRegularExpression("Chrome/[0-9.]+")
                             .match(result["user_agent"].toString())
                             .captured()
                             .replace('/', ' ');
  std::printf(
      "Round trips from JavaScript in the browser engine, in microseconds: %zu calls by each way, "
      "in\n"
      "batches of %d that take turns. Qt %s with %s, %s build, log %s.\n\n"
      "%-38s %9s %9s %11s   %s\n",
      calls, options.batch, qVersion(), qPrintable(engine), LUMIVEX_BENCH_BUILD,
      options.with_log ? "written" : "silent", "", "median", "p95", "times echo", "95 % sure");
  QJsonObject figures;
  QString verdict;
  for (const Way& way : kWays) {
    const Batches batches = BatchesOf(ways[way.name]);
    if (batches.empty() || echo.empty()) {
      return QString("no result for ") + way.name;
    }
    const double median = MedianOf(batches);
    const double p95 = P95Of(batches);
    const Ratio ratio = RatioOf(batches, echo);
    std::printf("%-38s %9.1f %9.1f %11.3f   %.3f to %.3f\n", way.words, median, p95, ratio.value,
                ratio.low, ratio.high);
    if (QString(way.name) == kPlugin.name) {
      verdict = Verdict(ratio);
    }
    figures[way.name] = QJsonObject{{"median_us", median},
                                    {"p95_us", p95},
                                    {"times_echo", ratio.value},
                                    {"times_echo_low", ratio.low},
                                    {"times_echo_high", ratio.high}};
  }
  std::printf("\nAim: the plug-in at most %.2f times the echo: %s\n", kMaxRatioToEcho,
              qPrintable(verdict));
  if (options.out.empty()) {
    return "";
  }
  const QJsonObject all = {
      {"settings", SettingsOf(options, result)},
      {"ways", figures},
      {"aim", QJsonObject{{"times_echo", kMaxRatioToEcho}, {"verdict", verdict}}}};
  QFile file(QString::fromStdString(options.out));
  const QByteArray text = QJsonDocument(all).toJson();
  return file.open(QFile::WriteOnly) && file.write(text) == text.size() && file.flush()
             ? ""
             : file.fileName() + ": " + file.errorString();
}

}  // namespace lumivex::bench
