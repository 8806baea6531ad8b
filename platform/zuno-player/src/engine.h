#ifndef PLATFORM_ZUNO_PLAYER_SRC_ENGINE_H_
#define PLATFORM_ZUNO_PLAYER_SRC_ENGINE_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "IZunoPlayer.h"
#include "cues.h"
#include "messages.h"
#include "pipeline.h"
#include "video_window.h"

namespace zuno {

// One player: its state, its medium and its callbacks.
//
// THREADS. Every engine has one thread of its own, the control thread. It alone makes the
// callbacks, one after the other, and never holds the lock while it does. In between it reads the
// pipeline's bus, reports the position and watches for cues. The operations run on the caller's
// thread, any thread, the control thread (from inside a callback) included. One mutex guards
// everything, and nobody waits for GStreamer with it: who works with the pipeline, an operation or
// the control thread, takes the turn and lets go of the mutex meanwhile. An operation reads the bus
// itself, so it never needs the control thread to make progress; the other operations that change
// anything answer false until it is done. Waits are bounded.
//
// POSITION REPORTS come every 250 ms of real time while playing, whatever the speed; none while
// paused, buffering, ended or stopped.
//
// STATES: docs/page-api.md tells what each operation answers in them; what answers false has no
// effect. InitPlayer that answers false leaves "failed", or "empty" for text that names no source,
// and so does an error during playback. While playing, a network medium may pause by itself to
// fill its buffer; that is still "playing", and Pause and Resume work as ever.
class Engine : public std::enable_shared_from_this<Engine> {
 public:
  // Null when GStreamer cannot be initialised.
  static std::shared_ptr<Engine> Start();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine();

  // Ends playback, the callbacks and the control thread. Called from inside a callback, it cannot
  // wait for that thread: the thread then ends by itself once the callback has returned.
  void ShutDown();

  bool Open(const std::string& source, unsigned int offset_ms);
  bool Play();
  bool Stop();
  bool Pause();
  bool Resume();
  // From 0 to the duration.
  bool Seek(int msec);
  // From 1/16 to 16; the sound keeps its pitch. InitPlayer goes back to 1.
  bool SetSpeed(float speed);

  std::optional<std::int64_t> Position();
  std::optional<std::int64_t> Duration();
  std::optional<Size> Resolution();
  // The bitrates of an adaptive medium's variants; empty for every other medium.
  std::vector<unsigned int> Bitrates();

  // Tracks by the library's stream type: 1 audio, 3 video, 4 text inside the medium, 5 the timed
  // text file given last (one track at most). Nothing for other types and without a medium.
  std::optional<int> TrackCount(int stream_type);
  // Nothing when there is none. No text of the medium is selected, and sent, until one is chosen.
  std::optional<int> CurrentTrack(int stream_type);
  bool SelectTrack(int stream_type, int index);
  bool DescribeTrack(int stream_type, int index, std::string* language, std::string* description);

  // Takes the place of the timed text given before. Belongs to the loaded medium or, without one,
  // to the next.
  bool LoadCues(const std::string& source);

  void SetWindow(int window);
  void SetPlace(const Rect& place);

  // Queues a message with data for the control thread.
  void PostData(Message id, std::string data);

  // Once these have returned, the old callback is not called any more and has come back, unless
  // they were called from inside it.
  void SetMessageCallback(IZunoPlayer::MessageCallback callback, void* user_data);
  void SetPositionCallback(IZunoPlayer::PositionCallback callback, void* user_data);

 private:
  enum class State { kEmpty, kReady, kPlaying, kPaused, kEnded, kStopped, kFailed };
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  struct Event {
    int id;  // of a message, or kPosition
    bool has_record;
    std::int64_t number;
    std::string data;
  };
  static constexpr int kPosition = -1;

  enum class Holder { kNobody, kControl, kOperation };
  enum class Jump { kRefused, kMissed, kArrived };

  class Turn;
  class Operation;

  Engine();

  // All below are called with the lock held; those with a Lock parameter let go of it in between.
  template <typename Call>
  auto Unlocked(Lock* lock, Call call);
  bool OpenSource(Lock* lock, unsigned int offset_ms);
  bool StartPlaying(Lock* lock);
  bool MoveTo(Lock* lock, std::int64_t msec, float speed);
  Jump JumpTo(Lock* lock, std::int64_t msec, float speed);
  bool WaitUntilSettled(Lock* lock, Clock::duration limit, Clock::duration quiet_limit);
  void CloseMedium(Lock* lock);
  void Fail(Lock* lock, Message error, const std::string& why);
  void DropEvents(std::initializer_list<int> ids);
  void EndBuffering();
  void ReportFilled();
  bool IsLoaded() const;
  bool IsAdvancing() const;
  std::int64_t CurrentPosition();

  bool DrainBus(Lock* lock);  // false when it was empty
  void Handle(Lock* lock, GstMessage* message);
  void HandleBuffering(Lock* lock, int percent, guint32 number);
  void CheckForStall(Lock* lock);
  void HandleEndOfStream(Lock* lock);
  void RefreshResolution();
  void ReportPosition(Lock* lock);
  void SendTexts();
  void EndTexts();
  void PushTexts(std::int64_t position_ms, const std::vector<Cue>& arrived);

  void Run();
  void Tick(Lock* lock);
  void Deliver(Lock* lock);
  void Idle(Lock* lock);
  std::optional<Clock::duration> UntilNextTick();
  void Push(Event event);
  void Wake();
  void WaitForCallback(Lock* lock);

  std::mutex mutex_;
  std::thread thread_;  // set before anything else runs, joined or detached in ShutDown
  int wake_fd_ = -1;    // an eventfd; constant

  // Everything below is guarded by mutex_.
  std::thread::id control_thread_;
  std::condition_variable changed_;  // callback_running_ or holder_
  bool callback_running_ = false;
  bool quit_ = false;
  Holder holder_ = Holder::kNobody;  // of the turn
  std::deque<Event> events_;
  IZunoPlayer::MessageCallback message_callback_ = nullptr;
  void* message_user_data_ = nullptr;
  IZunoPlayer::PositionCallback position_callback_ = nullptr;
  void* position_user_data_ = nullptr;

  State state_ = State::kEmpty;
  std::string uri_;
  int window_id_ = 0;
  Rect place_ = {0, 0, 0, 0};
  std::unique_ptr<VideoWindow> window_;
  std::shared_ptr<Pipeline> pipeline_;
  bool adaptive_ = false;
  std::vector<unsigned int> bitrates_;
  float speed_ = 1.0F;
  std::int64_t last_position_ms_ = 0;
  std::int64_t reported_ms_ = 0;
  std::optional<Size> size_;
  bool buffering_ = false;
  guint32 full_ = 0;  // the number of the last message that said so
  int percent_ = 0;
  Clock::time_point stalled_at_;  // a buffering period without progress until then is an error
  bool text_chosen_ = false;
  Clock::time_point next_report_;

  CueSchedule cues_;
  std::string cue_language_;
  std::string cue_title_;
  bool cues_for_next_medium_ = false;
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_ENGINE_H_
