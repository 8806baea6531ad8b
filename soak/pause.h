#ifndef SOAK_PAUSE_H_
#define SOAK_PAUSE_H_

#include <atomic>
#include <chrono>
#include <shared_mutex>
#include <thread>

namespace lumivex::soak {

// Holds threads up between two of their steps. The threads do not wait for each other otherwise, so
// that a race of theirs stays one.
class Pause {
 public:
  // What a thread does in one go, as long as the object lives. Waits as long as there is a pause.
  class Step {
   public:
    explicit Step(Pause* pause) {
      // A reader that comes goes before a writer that waits, so none comes while one waits.
      while (pause->is_wanted_.load(std::memory_order_relaxed)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      lock_ = std::shared_lock<std::shared_mutex>(pause->mutex_);
    }

   private:
    std::shared_lock<std::shared_mutex> lock_;
  };

  // Waits until nobody is in a step. Both on the same thread.
  void Begin() {
    is_wanted_ = true;
    mutex_.lock();
  }
  void End() {
    is_wanted_ = false;
    mutex_.unlock();
  }

 private:
  std::atomic<bool> is_wanted_{false};
  std::shared_mutex mutex_;
};

}  // namespace lumivex::soak

#endif  // SOAK_PAUSE_H_
