#include "tuner.h"

#include <pthread.h>

#include <string>
#include <system_error>
#include <utility>

namespace rf_manager {
namespace {

enum TuneEvent : unsigned int { kTuneSuccess = 0, kTuneNoSignal = 1 };

}  // namespace

// The library is unloaded or the program exits; some callers may have forgotten to release.
Tuner::~Tuner() {
  while (holders_ > 0) {
    Release();
  }
}

bool Tuner::Obtain() try {
  const Lock lock(mutex_);
  if (holders_ == 0) {
    thread_ = std::thread(&Tuner::RunEventThread, this);
  }
  ++holders_;
  return true;
} catch (const std::system_error&) {
  return false;
}

void Tuner::Release() {
  std::thread ended;
  {
    Lock lock(mutex_);
    if (holders_ == 0) {
      return;
    }
    state_.listener = nullptr;
    changed_.wait(lock, [this] { return !calling_; });
    if (--holders_ == 0) {
      state_ = {};
      ended = std::move(thread_);
      changed_.notify_all();
    }
  }
  if (ended.joinable()) {
    ended.join();
  }
}

bool Tuner::Tune(const Service* service) {
  state_.tuned = nullptr;
  state_.tuning = service;
  state_.tune_end = std::chrono::steady_clock::now() + kTuneTime;
  changed_.notify_all();
  return true;
}

void Tuner::FinishTune(Lock* lock) {
  const Service& service = *state_.tuning;
  state_.tuning = nullptr;
  state_.tuned = service.has_signal ? &service : nullptr;
  state_.audio_index = 0;
  state_.subtitle_index = 0;
  if (IEventListener* const listener = state_.listener) {
    calling_ = true;
    lock->unlock();
    listener->OnEvent(service.has_signal ? kTuneSuccess : kTuneNoSignal, service.program_number,
                      std::string(service.name));
    lock->lock();
    calling_ = false;
    changed_.notify_all();
  }
}

void Tuner::RunEventThread() {
  pthread_setname_np(pthread_self(), "rf-manager");
  Lock lock(mutex_);
  while (thread_.get_id() == std::this_thread::get_id()) {  // another one, or none, after a release
    if (state_.tuning == nullptr) {
      changed_.wait(lock);
    } else if (const auto end = state_.tune_end; end > std::chrono::steady_clock::now()) {
      changed_.wait_until(lock, end);
    } else {
      FinishTune(&lock);
    }
  }
}

}  // namespace rf_manager
