#include "tuner.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <iterator>

namespace rf_manager {
namespace {

enum TuneEvent : unsigned int { kTuneSuccess = 0, kTuneNoSignal = 1 };

// Says when the thread that obtained a lease has ended. Destructors of thread-locals run before a
// join returns. It touches nothing but its own flag, so it may run as late as it likes; the C
// library keeps this library loaded until it has run.
class Obtainer {
 public:
  Obtainer() = default;
  ~Obtainer() { ended_->store(true); }
  Obtainer(const Obtainer&) = delete;
  Obtainer& operator=(const Obtainer&) = delete;

  static std::shared_ptr<const std::atomic<bool>> OfThisThread() {
    thread_local const Obtainer obtainer;
    return obtainer.ended_;
  }

 private:
  std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace

// The library is unloaded or the program exits; leases may be left if their holders forgot them.
Tuner::~Tuner() {
  while (!leases_.empty()) {
    Release();
  }
}

CRFManager* Tuner::Obtain(const char* application_id) try {
  const Lock lock(mutex_);
  std::list<Lease> made(1);
  Lease& lease = made.front();
  lease.obtainer_ended = Obtainer::OfThisThread();
  for (const Lease& other : leases_) {
    if (other.application->id == application_id) {
      lease.application = other.application;
    }
  }
  if (lease.application == nullptr) {
    lease.application = std::make_shared<Application>();
    lease.application->id = application_id;
  }
  lease.thread = std::thread(&Tuner::RunEventThread, this, &lease);
  leases_.splice(leases_.end(), made);
  return &lease.handle;
} catch (const std::exception&) {
  return nullptr;
}

void Tuner::Release() {
  std::list<Lease> released;
  {
    const Lock lock(mutex_);
    if (leases_.empty()) {
      return;
    }
    auto lease = std::find_if(leases_.begin(), leases_.end(),
                              [](const Lease& any) { return any.obtainer_ended->load(); });
    lease = lease == leases_.end() ? std::prev(lease) : lease;
    lease->is_released = true;
    lease->changed.notify_one();
    released.splice(released.end(), leases_, lease);
  }
  released.front().thread.join();  // with the event that is under way
}

bool Tuner::Register(const CRFManager* handle, IEventListener* listener) {
  return listener != nullptr && Use(handle, [listener](Lease& lease) {
           lease.listener = listener;
           return true;
         });
}

bool Tuner::Tune(
    const CRFManager* handle, int major, int minor, int program_number, int stream_id) {
  return Use(handle, [&](Lease& lease) {
    const Service* service =
        FindService(lease.channel_type, major, minor, program_number, stream_id);
    if (service == nullptr) {
      return false;
    }
    lease.tuned = nullptr;
    lease.tuning = service;
    lease.tune_end = std::chrono::steady_clock::now() + kTuneTime;
    lease.changed.notify_one();
    return true;
  });
}

// A handle is only compared, never looked into: it may be null or long released.
Lease* Tuner::Find(const CRFManager* handle) {
  const auto found = std::find_if(leases_.begin(), leases_.end(),
                                  [&](const Lease& lease) { return &lease.handle == handle; });
  return found == leases_.end() ? nullptr : &*found;
}

void Tuner::FinishTune(Lock* lock, Lease* lease) {
  const Service& service = *lease->tuning;
  lease->tuning = nullptr;
  lease->tuned = service.has_signal ? &service : nullptr;
  lease->audio_index = 0;
  lease->subtitle_index = 0;
  if (IEventListener* const listener = lease->listener) {
    lock->unlock();
    listener->OnEvent(service.has_signal ? kTuneSuccess : kTuneNoSignal, service.program_number,
                      std::string(service.name));
    lock->lock();
  }
}

void Tuner::RunEventThread(Lease* lease) {
  pthread_setname_np(pthread_self(), "rf-manager");
  Lock lock(mutex_);
  while (!lease->is_released) {
    if (lease->tuning == nullptr) {
      lease->changed.wait(lock);
    } else if (const auto end = lease->tune_end; end > std::chrono::steady_clock::now()) {
      lease->changed.wait_until(lock, end);
    } else {
      FinishTune(&lock, lease);
    }
  }
}

}  // namespace rf_manager
