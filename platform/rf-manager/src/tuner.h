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
  std::thread thread;                                       // reports its tunes
  std::condition_variable changed;
  bool is_released = false;

  IEventListener* listener = nullptr;
  std::optional<unsigned int> subtitle_window;
  ChannelType channel_type = kTerrestrial;
  const Service* tuning = nullptr;  // its event is due at tune_end
  std::chrono::steady_clock::time_point tune_end;
  const Service* tuned = nullptr;
  unsigned int audio_index = 0;
  unsigned int subtitle_index = 0;
};

// All leases.
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

  // With the mutex held, but while the listener is called.
  Lease* Find(const CRFManager* handle);
  static void FinishTune(Lock* lock, Lease* lease);

  void RunEventThread(Lease* lease);

  std::mutex mutex_;
  std::list<Lease> leases_;  // in the order in which they were obtained
};

}  // namespace rf_manager

#endif  // RF_MANAGER_TUNER_H_
