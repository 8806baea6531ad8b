#ifndef TESTS_RF_MANAGER_SUPPORT_H_
#define TESTS_RF_MANAGER_SUPPORT_H_

#include <CRFManager.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "process.h"

using Event = std::tuple<unsigned int, int, std::string>;  // code, param1, param2

// Long enough for any tune to be over, on a loaded machine too.
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kTwoTunes{400};

// Keeps the events it gets, and does on_event with each.
class EventLog : public IEventListener {
 public:
  void OnEvent(unsigned int code, int param1, const std::string& param2) override {
    if (on_event) {
      on_event();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.emplace_back(code, param1, param2);
    changed_.notify_all();
  }

  std::vector<Event> events() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }

  bool WaitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return events_.size() >= count; });
  }

  std::function<void()> on_event;  // set before the first tune

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Event> events_;
};

// A thread that does what it is told until it is joined.
class Worker {
 public:
  ~Worker() { Join(); }

  void Do(const std::function<void()>& task) {
    std::promise<void> done;
    std::unique_lock<std::mutex> lock(mutex_);
    task_ = [&] {
      task();
      done.set_value();
    };
    changed_.notify_all();
    lock.unlock();
    done.get_future().wait();
  }

  void Join() {
    if (thread_.joinable()) {
      std::unique_lock<std::mutex> lock(mutex_);
      quit_ = true;
      changed_.notify_all();
      lock.unlock();
      thread_.join();
    }
  }

 private:
  void Run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!quit_) {
      if (task_) {
        std::exchange(task_, nullptr)();
      }
      changed_.wait(lock, [this] { return quit_ || task_; });
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> task_;
  bool quit_ = false;
  std::thread thread_{&Worker::Run, this};
};

// An instance with a listener, given back in the end.
class Tuner {
 public:
  explicit Tuner(const char* application = "org.lumivex.test")
      : manager_(CRFManager::GetInstance(application, false, nullptr)) {
    manager_->RegisterRFEventHandler(&log);
  }
  ~Tuner() { CRFManager::ReleaseInstance(); }
  CRFManager* operator->() const { return manager_; }

  // True once the tune's event has come.
  bool TuneAndWait(int major, int minor, int program, int stream) {
    const std::size_t before = log.events().size();
    return manager_->TuneRFChannel(major, minor, program, stream) && log.WaitFor(before + 1);
  }

  EventLog log;

 private:
  CRFManager* manager_;
};

inline bool TuneOne(CRFManager* manager) {
  return manager->TuneRFChannel(5, 1, 1, 4097);
}
const Event kOneTuned{0, 1, "Lumivex One"};

using lumivex::test::CountThreads;
using lumivex::test::ThreadsComeTo;

inline std::ptrdiff_t SettledThreads() {
  lumivex::test::StartFirstThread();
  return CountThreads();
}

#endif  // TESTS_RF_MANAGER_SUPPORT_H_
