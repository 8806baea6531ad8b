// lumivex-bench-engine: the cost of several kinds of calls from a page in a real browser engine.

#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "bench_page.h"
#include "engine.h"
#include "loopback_server.h"
#include "names.h"
#include "options.h"
#include "plugin_watch.h"
#include "report.h"
#include "session_folder.h"
#include "signal_watch.h"
#include "virtual_screen.h"

namespace lumivex::bench {
namespace {

constexpr unsigned int kShutdownTimeS = 30;  // for the engine, after the timeout

int Fail(const QString& reason) {
  std::fprintf(stderr, "lumivex-bench-engine: %s\n", qPrintable(reason));
  return EXIT_FAILURE;
}

// The last resort, if the event loop hangs.
void OnAlarm(int /*signal*/) {
  constexpr char kText[] = "lumivex-bench-engine: the engine hangs\n";
  (void)!write(STDERR_FILENO, kText, sizeof kText - 1);
  _exit(EXIT_FAILURE);
}

QByteArray Contents(const QString& path) {
  QFile file(path);
  return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

std::map<std::string, Document> Documents() {
  const QString page = LUMIVEX_BENCH_PAGE;
  return {{"/", {"text/html", Contents(page + "/index.html")}},
          {"/bench.js", {"text/javascript", Contents(page + "/bench.js")}},
          {"/qwebchannel.js", {"text/javascript", Contents(":/qtwebchannel/qwebchannel.js")}},
          {"/version", {"text/plain", "1.50"}}};
}

int Run(const Options& options, const desktop::SessionFolder& folder) {
  const LoopbackServer server(Documents());
  if (!QFile::exists(LUMIVEX_BENCH_PAGE "/index.html")) {
    return Fail(LUMIVEX_BENCH_PAGE "/index.html is missing");
  }
  if (server.port() == 0) {
    return Fail("cannot open a server on the loopback interface");
  }
  const desktop::WrapperSettings settings = {
      options.plugin, LUMIVEX_BENCH_SYSROOT, LUMIVEX_BENCH_DEVICE_PATHS, {}, {}, {}};
  desktop::SetEnvironment(settings, folder);
  qputenv(kEchoVariable, LUMIVEX_BENCH_ECHO);
  desktop::PluginWatch watch(folder, INT_MAX);
  watch.SetEnvironment();
  if (!options.with_log) {
    qunsetenv("LUMIVEX_DLOG");
  }

  QString failure;  // the first
  QString result;
  const auto on_failure = [&](const QString& reason) {
    failure = failure.isEmpty() ? reason : failure;
    QCoreApplication::quit();
  };
  BenchPage page(
      [&](const QString& text) {
        result = text;
        QCoreApplication::quit();
      },
      on_failure);
  watch.on_failure = [&](const std::string& /*sentence*/) {  // the watch has printed it
    on_failure("no result: the plug-in failed");
  };
  QTimer::singleShot(std::chrono::seconds(options.timeout_s), qApp, [&] {
    on_failure("no result after " + QString::number(options.timeout_s) + " s");
  });
  page.Open(QUrl(QString("http://127.0.0.1:%1/?calls=%2&batch=%3&warmup=%4&seed=%5")
                     .arg(server.port())
                     .arg(options.calls)
                     .arg(options.batch)
                     .arg(options.warmup)
                     .arg(options.seed)));
  const desktop::SignalWatch signal_watch;
  QApplication::exec();
  page.Close();
  desktop::WaitForPluginsToEnd(watch);
  if (signal_watch.signal() != 0) {
    return 128 + signal_watch.signal();
  }
  if (failure.isEmpty() && result.isEmpty()) {
    failure = "the window was closed";
  }
  if (failure.isEmpty()) {
    failure = Report(result, options);
  }
  return failure.isEmpty() ? EXIT_SUCCESS : Fail(failure);
}

int Main(int argc, char** argv) {
  const Options options = ReadOptions(argc, argv);
  std::optional<test::VirtualScreen> screen;
  if (const std::string problem = desktop::ScreenProblem(); !problem.empty()) {
    screen.emplace(1280, 720);
    if (!screen->works()) {
      return Fail(QString::fromStdString("no X11 screen (" + problem +
                                         ") and no virtual one; install the Debian package xvfb"));
    }
  }
  std::signal(SIGALRM, OnAlarm);
  alarm(static_cast<unsigned int>(options.timeout_s) + kShutdownTimeS);
  const desktop::SessionFolder folder;
  desktop::EngineArguments arguments(
      argv[0],
      {{"pair.so", LUMIVEX_BENCH_PAIR, desktop::kMimeType + std::string(";") + kEchoMimeType}},
      folder);
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  const QApplication application(arguments.count(), arguments.values());
  return Run(options, folder);
}

}  // namespace
}  // namespace lumivex::bench

int main(int argc, char** argv) {
  return lumivex::bench::Main(argc, argv);
}
