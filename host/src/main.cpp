// lumivex-host: a page with one plug-in element and no window. The main thread is the plug-in's
// main thread; the script is the page's and runs on a thread of its own.

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "check.h"
#include "device_paths.h"
#include "host/browser.h"
#include "input.h"
#include "options.h"
#include "printable.h"
#include "printer.h"
#include "prompt.h"
#include "session.h"

namespace lumivex::host {
namespace {

int Complain(const std::string& problem) {
  std::fprintf(stderr, "lumivex-host: %s\n", Printable(problem).c_str());
  return kFailed;
}

// Ends the program when a signal asks for it or the plug-in takes too long. Any thread may call it.
class Watch {
 public:
  // Before other threads are started. on_signal is called on a thread of its own for the first
  // signal that asks for the end; the second one ends the process at once.
  explicit Watch(std::function<void(int signal)> on_signal) : on_signal_(std::move(on_signal)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGALRM);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    thread_ = std::thread([this] { Run(); });
  }
  ~Watch() {
    done_ = true;
    // The signal is blocked everywhere; the thread takes it with sigwait.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // The plug-in has so long to start; otherwise the process ends.
  void ExpectStart(std::chrono::seconds limit) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Expect("start", limit, kFailed);
  }
  void Started() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!ending_) {
      deadline_ = Clock::time_point::max();
    }
  }
  // The plug-in has kGrace to end; otherwise the process ends with this status. The first call
  // counts.
  void ExpectEnd(int status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!ending_) {
      ending_ = true;
      Expect("shut down", kGrace, status == kDone ? kPluginDefect : status);
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  void Expect(const char* what, std::chrono::seconds limit, int status) {
    expected_ = what;
    limit_ = limit;
    status_ = status;
    deadline_ = Clock::now() + limit;
    alarm(static_cast<unsigned>(limit.count()));
  }

  void Run() {
    for (bool first = true;;) {
      int signal = 0;
      sigwait(&signals_, &signal);
      if (done_) {
        return;
      }
      if (signal == SIGALRM) {
        EndIfOverdue();
      } else if (first) {
        first = false;
        ExpectEnd(128 + signal);
        on_signal_(signal);
      } else {
        _exit(128 + signal);
      }
    }
  }

  void EndIfOverdue() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (Clock::now() >= deadline_) {
      Complain(std::string("the plug-in did not ") + expected_ + " within " +
               std::to_string(limit_.count()) + " s");
      _exit(status_);  // whatever thread it hangs in
    }
  }

  const std::function<void(int)> on_signal_;
  sigset_t signals_;
  std::atomic<bool> done_{false};
  std::mutex mutex_;
  // Guarded by mutex_.
  const char* expected_ = "";
  std::chrono::seconds limit_{0};
  int status_ = kDone;
  Clock::time_point deadline_ = Clock::time_point::max();
  bool ending_ = false;
  std::thread thread_;
};

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
  for (const std::string& module : line.denied) {
    options.extension_answers.denied_privileges.insert("/privilege/" + module);
  }
  options.extension_answers.window_id = line.window_id;
  Browser browser(options);
  std::unique_ptr<Page> page;
  const std::chrono::seconds timeout(line.timeout);
  Session session(input, line.script == "-" ? "<stdin>" : line.script, printer, timeout);
  Watch watch([&](int signal) {
    session.Interrupt(128 + signal);
    // Leaving the page also frees a script that waits for an answer.
    browser.PostToMainThread([&page] {
      if (page != nullptr) {
        page->Close();
      }
    });
  });

  watch.ExpectStart(timeout);
  int status = kDone;
  std::string error;
  if (!browser.Load(line.plugin, &error)) {
    status = Complain("cannot load the plug-in: " + error);
  } else if ((page = browser.CreatePage({}, &error, [&session](Json event) {
               session.AddEvent(std::move(event));
             })) == nullptr) {
    status = Complain(error);
  } else {
    watch.Started();
    std::thread script([&] {
      status = session.Run(page.get());
      watch.ExpectEnd(status);
      browser.QuitMainLoop();
    });
    browser.RunMainLoop();
    script.join();
  }
  watch.ExpectEnd(status);
  page.reset();
  session.PrintEvents();

  if (!browser.Unload(&error)) {
    Complain("cannot unload the plug-in: " + error);
  }
  const std::vector<std::string> defects = browser.Defects();
  for (const std::string& defect : defects) {
    Complain("plug-in defect: " + defect);
  }
  return status == kDone && !defects.empty() ? kPluginDefect : status;
}

int Main(int argc, char** argv) {
  OpenStandardStreams();
  std::set_new_handler([] {
    constexpr char kText[] = "lumivex-host: out of memory\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
    _exit(kFailed);
  });
  const CommandLine line = ReadCommandLine(argc, argv);
  signal(SIGPIPE, SIG_IGN);  // a reader that leaves is seen where the output is written
  SetUpPlatform(line);
  if (line.check) {
    return Check(line);
  }
  int script = STDIN_FILENO;
  if (line.script != "-") {
    script = open(line.script.c_str(), O_RDONLY | O_CLOEXEC);
    if (script < 0) {
      Complain(line.script + ": " + std::strerror(errno));
      return kWrongUsage;
    }
  }
  std::unique_ptr<Input> input = script == STDIN_FILENO ? MakePrompt() : nullptr;
  if (input == nullptr) {
    input = std::make_unique<Input>(script);
  }
  Printer printer(STDOUT_FILENO,
                  line.json ? Printer::Style::kJson : Printer::StyleFor(STDOUT_FILENO));
  return Play(line, input.get(), &printer);
}

}  // namespace
}  // namespace lumivex::host

int main(int argc, char** argv) {
  try {
    return lumivex::host::Main(argc, argv);
  } catch (const std::exception& error) {  // no thread or no memory to be had
    return lumivex::host::Complain(error.what());
  }
}
