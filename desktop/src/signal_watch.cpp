#include "signal_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>

namespace lumivex::desktop {
namespace {

// The handler wakes the event loop through a pipe.
int ends[2] = {-1, -1};

void OnSignal(int signal) {
  const auto number = static_cast<unsigned char>(signal);
  (void)!write(ends[1], &number, 1);
}

void SetHandler(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

SignalWatch::SignalWatch() {
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
    return;  // the signals then end the program at once
  }
  notifier_ = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
    unsigned char number = 0;
    if (read(ends[0], &number, 1) == 1) {
      signal_ = number;
      QCoreApplication::quit();
    }
  });
  SetHandler(OnSignal);
}

SignalWatch::~SignalWatch() {
  SetHandler(SIG_DFL);
  notifier_.reset();
  for (int& end : ends) {
    if (end >= 0) {
      close(end);
    }
    end = -1;
  }
}

}  // namespace lumivex::desktop
