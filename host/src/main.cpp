// lumivex-host: a page with one plug-in element and no window. The main thread is the plug-in's
// main thread; the script is the page's and runs on a thread of its own.

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "device_paths.h"
#include "host/browser.h"
#include "input.h"
#include "options.h"
#include "printer.h"
#include "session.h"

namespace lumivex::host {
namespace {

// Waits for the signals that end the program; they are blocked in all other threads.
class SignalThread {
 public:
  // Before other threads are started. on_first is called on a thread of its own for the first
  // signal; the second one ends the process at once, should the plug-in hang.
  explicit SignalThread(std::function<void(int signal)> on_first) : on_first_(std::move(on_first)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    thread_ = std::thread([this] { Run(); });
  }
  ~SignalThread() {
    done_ = true;
    // The signal is blocked everywhere; the thread takes it with sigwait.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
  }
  SignalThread(const SignalThread&) = delete;
  SignalThread& operator=(const SignalThread&) = delete;

 private:
  void Run() {
    for (bool first = true;; first = false) {
      int signal = 0;
      sigwait(&signals_, &signal);
      if (done_) {
        return;
      }
      if (!first) {
        _exit(128 + signal);
      }
      on_first_(signal);
    }
  }

  const std::function<void(int)> on_first_;
  sigset_t signals_;
  std::atomic<bool> done_{false};
  std::thread thread_;
};

int Complain(const std::string& problem) {
  std::fprintf(stderr, "lumivex-host: %s\n", problem.c_str());
  return kFailed;
}

void SetUpPlatform(const CommandLine& line) {
  device_paths_set_root(line.sysroot.c_str());
  if (!line.log_level.empty()) {
    setenv("LUMIVEX_DLOG", line.log_level.c_str(), 1);
  }
  if (!line.log_file.empty()) {
    setenv("LUMIVEX_DLOG_FILE", line.log_file.c_str(), 1);
    setenv("LUMIVEX_DLOG", "debug", 0);
  }
}

int Play(const CommandLine& line, Input* input, Printer* printer) {
  Browser::Options options;
  options.extension_answers.denied_privileges = line.denied;
  options.extension_answers.window_id = line.window_id;
  Browser browser(options);
  std::unique_ptr<Page> page;
  Session session(input, line.script.empty() ? "<stdin>" : line.script, printer);
  const SignalThread signals([&](int signal) {
    session.Interrupt(128 + signal);
    // Leaving the page also frees a script that waits for an answer.
    browser.PostToMainThread([&page] {
      if (page != nullptr) {
        page->Close();
      }
    });
  });

  std::string error;
  if (!browser.Load(line.plugin, &error)) {
    return Complain("cannot load the plug-in: " + error);
  }
  page = browser.CreatePage({}, &error,
                            [&session](Json event) { session.AddEvent(std::move(event)); });
  if (page == nullptr) {
    return Complain(error);
  }
  int status = kDone;
  std::thread script([&] {
    status = session.Run(page.get());
    browser.QuitMainLoop();
  });
  browser.RunMainLoop();
  script.join();
  page.reset();
  session.PrintEvents();

  if (!browser.Unload(&error)) {
    Complain("cannot unload the plug-in: " + error);
  }
  const std::vector<std::string> defects = browser.Defects();
  for (const std::string& defect : defects) {
    Complain("the plug-in is wrong: " + defect);
  }
  return status == kDone && !defects.empty() ? kPluginDefect : status;
}

int Main(int argc, char** argv) {
  int status = kDone;
  const std::optional<CommandLine> line = ReadCommandLine(argc, argv, &status);
  if (!line) {
    return status;
  }
  signal(SIGPIPE, SIG_IGN);  // a reader that leaves is seen where the output is written
  int script = STDIN_FILENO;
  if (!line->script.empty()) {
    script = open(line->script.c_str(), O_RDONLY | O_CLOEXEC);
    if (script < 0) {
      return Complain(line->script + ": " + std::strerror(errno));
    }
  }
  SetUpPlatform(*line);
  Input input(script);
  Printer printer(STDOUT_FILENO,
                  line->json ? Printer::Style::kJson : Printer::StyleFor(STDOUT_FILENO));
  return Play(*line, &input, &printer);
}

}  // namespace
}  // namespace lumivex::host

int main(int argc, char** argv) {
  return lumivex::host::Main(argc, argv);
}
