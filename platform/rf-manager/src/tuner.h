#ifndef RF_MANAGER_TUNER_H_
#define RF_MANAGER_TUNER_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "CRFManager.h"
#include "line_up.h"

namespace rf_manager {

constexpr std::chrono::milliseconds kTuneTime{200};

// What all instances of one application share.
struct Application {
  std::string id;
  CTVSHandler::LUMIVEX_SUBTITLE_MODE subtitle_mode{};
  bool subtitles_shown = false;
};

// One successful GetInstance: a front end of its own. Guarded by the tuner's mutex.
struct Lease {
  CRFManager handle;  // its address is what the caller holds
  std::shared_ptr<Application> application;
  std::shared_ptr<const std::atomic<bool>> obtainer_ended;  // one for each obtaining thread
  bool in_doubt = false;  // a release may have meant this lease: its listener is not called

  IEventListener* listener = nullptr;
  std::optional<unsigned int> subtitle_window;
  ChannelType channel_type = kTerrestrial;
  const Service* tuning = nullptr;  // its event is due at tune_end
  std::chrono::steady_clock::time_point tune_end;
  const Service* tuned = nullptr;
  unsigned int audio_index = 0;
  unsigned int subtitle_index = 0;
};

// All leases, and the thread that reports their tunes.
class Tuner {
 public:
  Tuner() = default;
  ~Tuner();
  Tuner(const Tuner&) = delete;
  Tuner& operator=(const Tuner&) = delete;

  // Null when no memory or no thread is to be had.
  CRFManager* Obtain(const char* application_id);
  void Release();
  bool Register(const CRFManager* handle, IEventListener* listener);
  bool Tune(const CRFManager* handle, int major, int minor, int program_number, int stream_id);

  // The answer of action, called with the mutex held; false unless handle is of a live lease.
  template <typename Action>
  bool Use(const CRFManager* handle, Action action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Lease* lease = Find(handle);
    return lease != nullptr && action(*lease);
  }

 private:
  using Lock = std::unique_lock<std::mutex>;

  // These are called with the mutex held; those that take the lock let go of it while they wait.
  Lease* Find(const CRFManager* handle);
  void SettleDoubts();
  bool OnEventThread() const { return std::this_thread::get_id() == event_thread_.get_id(); }
  void WaitWhileCalled(Lock& lock, const IEventListener* listener);
  void EndEventThreadIfUnused(Lock& lock);
  void FinishTune(Lock& lock, Lease& lease);

  void RunEventThread();

  std::mutex mutex_;
  std::condition_variable wake_;     // the event thread has something new to look at
  std::condition_variable settled_;  // a call of a listener or the event thread has ended
  std::list<Lease> leases_;          // in the order in which they were obtained
  std::list<Lease> retired_;         // kept a while so that no new lease gets a stale handle
  std::size_t owed_ = 0;             // how many of the leases in doubt have been released
  std::thread event_thread_;
  bool event_thread_runs_ = false;
  const IEventListener* being_called_ = nullptr;
};

}  // namespace rf_manager

#endif  // RF_MANAGER_TUNER_H_
