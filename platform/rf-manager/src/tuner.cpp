#include "tuner.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <vector>

namespace rf_manager {
namespace {

enum TuneEvent : unsigned int { kTuneSuccess = 0, kTuneNoSignal = 1 };

constexpr std::size_t kRetiredLeases = 256;

// Has no destructor, so that a thread which only releases does not keep the library loaded.
thread_local const std::atomic<bool>* t_obtainer = nullptr;

// Says when the thread that obtained a lease has ended. Destructors of thread-locals run before a
// join returns. It touches nothing but its own flag, so it may run as late as it likes; the C
// library keeps this library loaded until it has run.
class Obtainer {
 public:
  Obtainer() { t_obtainer = ended_.get(); }
  ~Obtainer() {
    t_obtainer = nullptr;
    ended_->store(true);
  }
  Obtainer(const Obtainer&) = delete;
  Obtainer& operator=(const Obtainer&) = delete;

  static std::shared_ptr<const std::atomic<bool>> OfThisThread() {
    thread_local const Obtainer obtainer;
    return obtainer.ended_;
  }

 private:
  std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
};

bool ObtainedHere(const Lease& lease) {
  return lease.obtainer_ended.get() == t_obtainer;
}

bool ObtainerEnded(const Lease& lease) {
  return lease.obtainer_ended->load();
}

bool InDoubt(const Lease& lease) {
  return lease.in_doubt;
}

}  // namespace

// The library is unloaded or the program exits; leases may be left if their holders forgot them.
Tuner::~Tuner() {
  Lock lock(mutex_);
  leases_.clear();
  if (OnEventThread()) {
    event_thread_.detach();  // a listener called exit
  } else {
    EndEventThreadIfUnused(lock);
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
  if (!event_thread_runs_) {
    if (event_thread_.joinable()) {
      event_thread_.join();  // it was told to end by its own listener, which could not wait for it
    }
    event_thread_ = std::thread(&Tuner::RunEventThread, this);
    event_thread_runs_ = true;
  }
  leases_.splice(leases_.end(), made);
  return &lease.handle;
} catch (const std::exception&) {
  return nullptr;
}

void Tuner::Release() {
  Lock lock(mutex_);
  const auto any = [this](auto rule) { return std::any_of(leases_.begin(), leases_.end(), rule); };
  const bool here = any(ObtainedHere);
  const bool ended = any(ObtainerEnded);
  std::vector<const IEventListener*> silenced;
  for (Lease& lease : leases_) {
    if (here ? ObtainedHere(lease) : ended ? ObtainerEnded(lease) : true) {
      lease.in_doubt = true;
      silenced.push_back(lease.listener);
    }
  }
  if (silenced.empty()) {
    return;
  }
  ++owed_;
  SettleDoubts();
  for (const IEventListener* listener : silenced) {
    WaitWhileCalled(lock, listener);
  }
  EndEventThreadIfUnused(lock);
}

bool Tuner::Register(const CRFManager* handle, IEventListener* listener) {
  Lock lock(mutex_);
  Lease* lease = Find(handle);
  if (lease == nullptr || listener == nullptr) {
    return false;
  }
  const IEventListener* replaced = lease->listener;
  lease->listener = listener;
  if (replaced != listener) {
    WaitWhileCalled(lock, replaced);
  }
  return true;
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
    wake_.notify_one();
    return true;
  });
}

// A handle is only compared, never looked into: it may be null or long released.
Lease* Tuner::Find(const CRFManager* handle) {
  const auto found = std::find_if(leases_.begin(), leases_.end(),
                                  [&](const Lease& lease) { return &lease.handle == handle; });
  if (found == leases_.end()) {
    return nullptr;
  }
  if (found->in_doubt) {
    found->in_doubt = false;  // its holder is still there
    SettleDoubts();
    wake_.notify_one();
  }
  return &*found;
}

// Once no more leases are in doubt than have been released, those are the released ones.
void Tuner::SettleDoubts() {
  const auto doubtful = std::count_if(leases_.begin(), leases_.end(), InDoubt);
  if (static_cast<std::size_t>(doubtful) != owed_) {
    return;
  }
  owed_ = 0;
  for (auto lease = leases_.begin(); lease != leases_.end();) {
    const auto next = std::next(lease);
    if (lease->in_doubt) {
      retired_.splice(retired_.end(), leases_, lease);
    }
    lease = next;
  }
  while (retired_.size() > kRetiredLeases) {
    retired_.pop_front();
  }
}

void Tuner::WaitWhileCalled(Lock& lock, const IEventListener* listener) {
  if (listener != nullptr && !OnEventThread()) {
    settled_.wait(lock, [&] { return being_called_ != listener; });
  }
}

void Tuner::EndEventThreadIfUnused(Lock& lock) {
  if (!leases_.empty() || OnEventThread()) {
    return;
  }
  wake_.notify_one();
  // Somebody may obtain a new lease meanwhile; then the thread stays.
  settled_.wait(lock, [this] { return !event_thread_runs_ || !leases_.empty(); });
  if (!event_thread_runs_ && event_thread_.joinable()) {
    event_thread_.join();  // with the mutex held, which the thread does not need any more
  }
}

void Tuner::FinishTune(Lock& lock, Lease& lease) {
  const Service& service = *lease.tuning;
  lease.tuning = nullptr;
  lease.tuned = service.has_signal ? &service : nullptr;
  lease.audio_index = 0;
  lease.subtitle_index = 0;
  IEventListener* listener = lease.listener;
  if (listener == nullptr) {
    return;
  }
  being_called_ = listener;
  lock.unlock();
  listener->OnEvent(service.has_signal ? kTuneSuccess : kTuneNoSignal, service.program_number,
                    std::string(service.name));
  lock.lock();
  being_called_ = nullptr;
  settled_.notify_all();
}

void Tuner::RunEventThread() {
  pthread_setname_np(pthread_self(), "rf-manager");
  Lock lock(mutex_);
  while (!leases_.empty()) {
    Lease* first = nullptr;
    for (Lease& lease : leases_) {
      if (lease.tuning != nullptr && !lease.in_doubt &&
          (first == nullptr || lease.tune_end < first->tune_end)) {
        first = &lease;
      }
    }
    if (first == nullptr) {
      wake_.wait(lock);
    } else if (first->tune_end > std::chrono::steady_clock::now()) {
      const auto tune_end = first->tune_end;  // the lease may be gone before the wait is over
      wake_.wait_until(lock, tune_end);
    } else {
      FinishTune(lock, *first);
    }
  }
  event_thread_runs_ = false;
  settled_.notify_all();
}

}  // namespace rf_manager
