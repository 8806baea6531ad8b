#ifndef FUZZ_COMMON_GATE_H_
#define FUZZ_COMMON_GATE_H_

#include <condition_variable>
#include <mutex>

namespace lumivex::test {

// Lets one caller in at a time, until it is shut: how a service keeps from calling what is gone.
// Any thread; who enters must know otherwise that the gate itself is still there.
class Gate {
 public:
  bool TryEnter() {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool entered = !is_busy_ && !is_shut_;
    is_busy_ = is_busy_ || entered;
    return entered;
  }

  void Leave() {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_busy_ = false;
    left_.notify_all();  // under the lock: the gate may be gone after it
  }

  // Waits for who is inside; nobody enters from here on.
  void Shut() {
    std::unique_lock<std::mutex> lock(mutex_);
    is_shut_ = true;
    left_.wait(lock, [this] { return !is_busy_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable left_;
  // Guarded by mutex_.
  bool is_busy_ = false;
  bool is_shut_ = false;
};

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_GATE_H_
