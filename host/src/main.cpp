// lumivex-host: a page with one plug-in element and no window. The main thread is the plug-in's
// main thread; the script runs on its own thread.

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

int Fail(const std::string& problem) {
  std::fprintf(stderr, "lumivex-host: %s\n", Printable(problem).c_str());
  return kFailed;
}

// Ends the program on a signal, or when the plug-in takes too long. Any thread may call it.
class Watch {
 public:
  // Construct it before other threads start. The first signal calls on_signal, on the watch's own
  // thread; the second one ends the process at once.
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
    // The thread takes it with sigwait.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // Ends the process unless Started is called within the limit.
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
  // Ends the process with this status unless it ends within kGrace. Only the first call counts.
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
      Fail(std::string("the plug-in did not ") + expected_ + " within " +
           std::to_string(limit_.count()) + " s");
      _exit(status_);
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
    // Closing the page also wakes a script that waits for a reply.
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
    status = Fail("cannot load the plug-in: " + error);
  } else if ((page = browser.CreatePage({}, &error, [&session](Json event) {
               session.AddEvent(std::move(event));
             })) == nullptr) {
    status = Fail(error);
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
    Fail("cannot unload the plug-in: " + error);
  }
  const std::vector<std::string> defects = browser.Defects();
  for (const std::string& defect : defects) {
    Fail("plug-in defect: " + defect);
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
  signal(SIGPIPE, SIG_IGN);  // write() reports it
  SetUpPlatform(line);
  if (line.check) {
    return Check(line);
  }
  int script = STDIN_FILENO;
  if (line.script != "-") {
    script = open(line.script.c_str(), O_RDONLY | O_CLOEXEC);
    if (script < 0) {
      Fail(line.script + ": " + std::strerror(errno));
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
  } catch (const std::exception& error) {  // out of threads or memory
    return lumivex::host::Fail(error.what());
  }
}
