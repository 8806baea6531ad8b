#ifndef DESKTOP_SRC_SIGNAL_WATCH_H_
#define DESKTOP_SRC_SIGNAL_WATCH_H_

#include <QSocketNotifier>
#include <memory>

namespace lumivex::desktop {

// Ends the event loop on SIGINT, SIGTERM and SIGHUP, so that the program can clean up. One at a
// time.
class SignalWatch {
 public:
  SignalWatch();
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // The signal that ended the loop, or 0.
  int signal() const { return signal_; }

 private:
  std::unique_ptr<QSocketNotifier> notifier_;
  int signal_ = 0;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_SIGNAL_WATCH_H_
