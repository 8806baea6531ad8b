#ifndef RF_MANAGER_TUNER_H_
#define RF_MANAGER_TUNER_H_

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "CRFManager.h"
#include "line_up.h"

namespace rf_manager {

constexpr std::chrono::milliseconds kTuneTime{200};

// Reset when the last holder releases the tuner.
struct State {
  IEventListener* listener = nullptr;
  std::optional<unsigned int> subtitle_window;
  ChannelType channel_type = kTerrestrial;
  const Service* tuning = nullptr;  // its event is due at tune_end
  std::chrono::steady_clock::time_point tune_end;
  const Service* tuned = nullptr;
  unsigned int audio_index = 0;
  unsigned int subtitle_index = 0;
  CTVSHandler::LUMIVEX_SUBTITLE_MODE subtitle_mode{};
  bool subtitles_shown = false;
};

class Tuner {
 public:
  Tuner() = default;
  ~Tuner();
  Tuner(const Tuner&) = delete;
  Tuner& operator=(const Tuner&) = delete;

  // False if no thread can be started.
  bool Obtain();
  void Release();

  // Calls action with the mutex held and returns its result; false while nobody holds the tuner.
  template <typename Action>
  bool Use(Action action) {
    const Lock lock(mutex_);
    return holders_ > 0 && action(state_);
  }
  // Within Use; answers true.
  bool Tune(const Service* service);

 private:
  using Lock = std::unique_lock<std::mutex>;

  void RunEventThread();
  void FinishTune(Lock* lock);

  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  State state_;
  int holders_ = 0;
  bool calling_ = false;  // the listener
  std::thread thread_;    // reports the tunes, while there are holders
};

}  // namespace rf_manager

#endif  // RF_MANAGER_TUNER_H_
