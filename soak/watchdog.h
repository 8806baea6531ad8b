#ifndef SOAK_WATCHDOG_H_
#define SOAK_WATCHDOG_H_

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace lumivex::soak {

// Aborts the process, and says what every thread was doing, when one step takes too long. Any
// thread.
class Watchdog {
 private:
  using Clock = std::chrono::steady_clock;
  struct Entry {
    std::string what;
    Clock::time_point since;
  };

 public:
  // Of the process, from its first use to its end.
  static Watchdog& Get();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // What the thread does as long as the object lives.
  class Step {
   public:
    explicit Step(std::string what);
    ~Step();
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

   private:
    std::list<Entry>::iterator entry_;
  };

 private:
  Watchdog() : thread_([this] { Watch(); }) {}
  ~Watchdog();

  void Watch();
  void Complain(Clock::time_point now);  // needs mutex_

  std::mutex mutex_;
  std::condition_variable ended_;
  // Guarded by mutex_.
  std::list<Entry> steps_;
  bool is_ended_ = false;
  std::thread thread_;
};

}  // namespace lumivex::soak

#endif  // SOAK_WATCHDOG_H_
