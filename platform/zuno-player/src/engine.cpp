#include "engine.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <system_error>
#include <utility>

#include "bitrates.h"
#include "dlog.h"
#include "handover.h"
#include "source.h"

namespace zuno {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kReportInterval(250);
constexpr milliseconds kTextInterval(50);
constexpr milliseconds kCueIntervalMin(5);
constexpr milliseconds kCueIntervalMax(250);
constexpr milliseconds kBusInterval(20);
constexpr milliseconds kOpenLimit(10000);
constexpr milliseconds kQuietLimit(800);
constexpr std::clock_t kIdleWork = CLOCKS_PER_SEC / 100;  // what waiting may take itself
constexpr milliseconds kSeekLimit(5000);
constexpr milliseconds kFetchLimit(5000);
constexpr milliseconds kStallLimit(10000);
constexpr std::int64_t kSeekToleranceMs = 300;
constexpr std::int64_t kLostEndMs = 300;
constexpr float kSlowest = 1.0F / 16;
constexpr float kFastest = 16;
constexpr std::size_t kTextFileLimit = std::size_t{8} << 20U;

constexpr int kStreamTimedText = 5;

// "film.deu.srt" states its language, "film.srt" does not.
std::string LanguageInName(const std::string& name) {
  const std::size_t end = name.rfind('.');
  const std::size_t begin = name.substr(0, end).rfind('.') + 1;
  const std::string code = begin == 0 ? "" : name.substr(begin, end - begin);
  const bool letters = code.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos;
  return letters && (code.size() == 2 || code.size() == 3) ? code : "und";
}

}  // namespace

// The right to work with the pipeline, for as long as this lives. An operation waits for the
// control thread's turn, which is short, and is refused during another's. Made and ended with the
// lock held.
class Engine::Turn {
 public:
  Turn(Engine* engine, Lock* lock, Holder holder) : engine_(engine) {
    engine->changed_.wait(*lock, [engine] { return engine->holder_ != Holder::kControl; });
    granted_ = engine->holder_ == Holder::kNobody && !engine->quit_;
    if (granted_) {
      if (engine->IsLoaded()) {
        engine->CurrentPosition();  // the last known one, while an operation has the turn
      }
      engine->holder_ = holder;
    }
  }
  ~Turn() {
    if (granted_) {
      if (engine_->holder_ == Holder::kOperation) {
        engine_->Wake();  // the control thread left the bus alone
      }
      engine_->holder_ = Holder::kNobody;
      engine_->changed_.notify_all();
    }
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  explicit operator bool() const { return granted_; }

 private:
  Engine* const engine_;
  bool granted_ = false;
};

// The lock and the turn of an operation. What the bus has to say comes first, as if the operation
// had not begun.
class Engine::Operation {
 public:
  explicit Operation(Engine* engine)
      : lock_(engine->mutex_), turn_(engine, &lock_, Holder::kControl) {
    if (turn_) {
      engine->DrainBus(&lock_);
      engine->holder_ = Holder::kOperation;
      engine->changed_.notify_all();
    }
  }
  explicit operator bool() const { return static_cast<bool>(turn_); }
  Lock* lock() { return &lock_; }

 private:
  Lock lock_;
  const Turn turn_;
};

// Lets others use the engine while GStreamer takes its time. Only who has the turn may do so.
template <typename Call>
auto Engine::Unlocked(Lock* lock, Call call) {
  lock->unlock();
  auto result = std::invoke(call, pipeline_.get());
  lock->lock();
  return result;
}

std::shared_ptr<Engine> Engine::Start() {
  static const bool initialised = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
  std::shared_ptr<Engine> engine(new Engine);
  if (!initialised || engine->wake_fd_ < 0) {
    return nullptr;
  }
  try {
    engine->thread_ = std::thread([engine] { engine->Run(); });
  } catch (const std::system_error&) {
    return nullptr;
  }
  return engine;
}

Engine::Engine() : wake_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Engine::~Engine() {
  if (wake_fd_ >= 0) {
    close(wake_fd_);
  }
}

void Engine::ShutDown() {
  bool inside_callback = false;
  {
    const Lock lock(mutex_);
    quit_ = true;
    inside_callback = std::this_thread::get_id() == control_thread_;
    Wake();
  }
  if (inside_callback) {
    thread_.detach();
  } else {
    thread_.join();
  }
  Lock lock(mutex_);
  CloseMedium(&lock);
  // GStreamer's pool keeps threads that have ended their work for a while; none is wanted.
  g_thread_pool_set_max_unused_threads(0);
}

bool Engine::Open(const std::string& source, unsigned int offset_ms) {
  Operation operation(this);
  if (!operation) {
    return false;
  }
  CloseMedium(operation.lock());
  state_ = State::kEmpty;
  if (!cues_for_next_medium_) {
    cues_.Load(std::nullopt);
  }
  uri_ = SourceUri(source).value_or("");
  return !uri_.empty() && OpenSource(operation.lock(), offset_ms);
}

bool Engine::OpenSource(Lock* lock, unsigned int offset_ms) {
  state_ = State::kEmpty;
  speed_ = 1.0F;
  last_position_ms_ = offset_ms;
  text_chosen_ = false;
  adaptive_ = false;
  bitrates_.clear();
  full_ = gst_util_seqnum_next();
  cues_.Restart(offset_ms);
  cues_for_next_medium_ = false;
  if (!IsReadable(uri_)) {
    Fail(lock, kMessageSourceError, "not a file that can be read");
    return false;
  }
  if (window_id_ > 0) {
    window_ = VideoWindow::Create(window_id_, place_);
  }
  pipeline_ = Pipeline::Create(uri_, window_ == nullptr ? nullptr : window_->MakeSink());
  if (pipeline_ == nullptr) {
    Fail(lock, kMessageOtherError, "no player for it");
    return false;
  }
  const bool network = IsNetworkUri(uri_);
  const bool started = Unlocked(lock, &Pipeline::Pause);
  const bool opened = WaitUntilSettled(lock, started ? kOpenLimit : milliseconds::zero(),
                                       network ? kOpenLimit : kQuietLimit);
  if (pipeline_ == nullptr) {
    return false;  // an error was on the bus and has been reported
  }
  if (!opened) {
    // GStreamer now and then loses the error of a file that breaks off.
    Fail(lock, network ? kMessageNetworkError : kMessageFormatError, "not ready in time");
    return false;
  }
  pipeline_->BeginHere();
  if (offset_ms == 0) {
    ReportFilled();
  } else if (JumpTo(lock, offset_ms, speed_) != Jump::kArrived) {
    if (pipeline_ != nullptr) {
      Fail(lock, kMessageOtherError, "cannot start at " + std::to_string(offset_ms) + " ms");
    }
    return false;
  }
  if (adaptive_) {
    const auto fetch = [this](Pipeline* /*pipeline*/) {
      return FetchText(uri_, kTextFileLimit, kFetchLimit);
    };
    bitrates_ = VariantBitrates(Unlocked(lock, fetch).value_or(""));
  }
  state_ = State::kReady;
  RefreshResolution();
  return true;
}

bool Engine::Play() {
  Operation operation(this);
  switch (operation ? state_ : State::kFailed) {
    case State::kStopped:
      return OpenSource(operation.lock(), 0) && StartPlaying(operation.lock());
    case State::kReady:
    case State::kPaused:
      return StartPlaying(operation.lock());
    case State::kEnded:
      cues_.Restart(0);
      return MoveTo(operation.lock(), 0, speed_);
    default:
      return false;
  }
}

bool Engine::StartPlaying(Lock* lock) {
  state_ = State::kPlaying;
  next_report_ = Clock::now() + kReportInterval;
  stalled_at_ = Clock::now() + kStallLimit;
  Wake();
  if (buffering_ || Unlocked(lock, &Pipeline::Play)) {
    return true;
  }
  DrainBus(lock);
  if (pipeline_ != nullptr) {
    Fail(lock, kMessageOtherError, "cannot play");
  }
  return false;
}

bool Engine::Pause() {
  Operation operation(this);
  if (!operation || state_ != State::kPlaying) {
    return false;
  }
  state_ = State::kPaused;
  if (!buffering_) {
    Unlocked(operation.lock(), &Pipeline::Pause);
  }
  return pipeline_ != nullptr;
}

bool Engine::Resume() {
  Operation operation(this);
  return operation && state_ == State::kPaused && StartPlaying(operation.lock());
}

bool Engine::Stop() {
  Operation operation(this);
  if (!operation) {
    return false;
  }
  CloseMedium(operation.lock());
  state_ = state_ == State::kEmpty ? State::kEmpty : State::kStopped;
  return true;
}

bool Engine::Seek(int msec) {
  Operation operation(this);
  if (!operation || !IsLoaded() || msec < 0 || !MoveTo(operation.lock(), msec, speed_)) {
    return false;
  }
  cues_.Restart(msec);
  SendTexts();
  return true;
}

bool Engine::SetSpeed(float speed) {
  Operation operation(this);
  // Written so that NaN is refused as well.
  return operation && speed >= kSlowest && speed <= kFastest && IsLoaded() &&
         state_ != State::kEnded && MoveTo(operation.lock(), last_position_ms_, speed);
}

// Plays on as before when the medium does not get there.
bool Engine::MoveTo(Lock* lock, std::int64_t msec, float speed) {
  const std::int64_t position = last_position_ms_;
  const Jump jump = JumpTo(lock, msec, speed);
  if (jump == Jump::kMissed) {
    JumpTo(lock, position, speed_);
  } else if (jump == Jump::kArrived) {
    speed_ = speed;
  }
  if (state_ == State::kEnded && jump == Jump::kArrived) {
    StartPlaying(lock);
  } else if (state_ == State::kPlaying && !buffering_) {
    Unlocked(lock, &Pipeline::Play);
  }
  return jump == Jump::kArrived && pipeline_ != nullptr;
}

Engine::Jump Engine::JumpTo(Lock* lock, std::int64_t msec, float speed) {
  const auto go = [msec, speed](Pipeline* pipeline) {
    const std::optional<std::int64_t> duration = pipeline->Duration();
    // Buffering pauses the pipeline, and one that is paused after it has gone back to zero for the
    // jump, but has not yet come to rest, takes the time that it had been playing for along.
    return (!duration || msec <= *duration) && pipeline->IsSeekable() && pipeline->Pause() &&
           pipeline->Seek(msec, speed);
  };
  const bool left = Unlocked(lock, go);
  const bool settled = left && WaitUntilSettled(lock, kSeekLimit, kSeekLimit);
  if (pipeline_ == nullptr || !left) {
    return Jump::kRefused;
  }
  DropEvents({kPosition});  // of before
  // Not every demultiplexer goes where it is told, and a medium may end before its duration says.
  last_position_ms_ = Unlocked(lock, &Pipeline::Arrival).value_or(msec);
  ReportFilled();
  return settled && std::abs(last_position_ms_ - msec) <= kSeekToleranceMs ? Jump::kArrived
                                                                           : Jump::kMissed;
}

// Also reads the bus, so that an error ends the wait, as does a standstill for so long: the bus
// says nothing, and the process, which others may keep from working, does not work either.
bool Engine::WaitUntilSettled(Lock* lock, Clock::duration limit, Clock::duration quiet_limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  const auto settles = [](Pipeline* pipeline) { return pipeline->Settles(kBusInterval); };
  Clock::time_point quiet_since = Clock::now();
  std::clock_t work = std::clock();
  bool settled = false;
  while (true) {
    if (DrainBus(lock) || std::clock() - work > kIdleWork) {
      quiet_since = Clock::now();
      work = std::clock();
    }
    if (pipeline_ == nullptr || settled || quit_ || Clock::now() >= deadline ||
        (!adaptive_ && Clock::now() >= quiet_since + quiet_limit)) {
      return pipeline_ != nullptr && settled;
    }
    settled = Unlocked(lock, settles);
  }
}

std::optional<std::int64_t> Engine::Position() {
  const Lock lock(mutex_);
  return IsLoaded() ? std::optional<std::int64_t>(CurrentPosition()) : std::nullopt;
}

std::optional<std::int64_t> Engine::Duration() {
  std::shared_ptr<Pipeline> pipeline;
  {
    const Lock lock(mutex_);
    pipeline = IsLoaded() ? pipeline_ : nullptr;
  }
  // Demultiplexers may have to look for it.
  return pipeline == nullptr ? std::nullopt : pipeline->Duration();
}

std::optional<Size> Engine::Resolution() {
  const Lock lock(mutex_);
  return size_;
}

std::vector<unsigned int> Engine::Bitrates() {
  const Lock lock(mutex_);
  return IsLoaded() ? bitrates_ : std::vector<unsigned int>();
}

std::optional<int> Engine::TrackCount(int stream_type) {
  const Lock lock(mutex_);
  if (stream_type == kStreamTimedText && IsLoaded()) {
    return cues_.loaded() ? 1 : 0;
  }
  return IsLoaded() ? pipeline_->TrackCount(stream_type) : std::nullopt;
}

std::optional<int> Engine::CurrentTrack(int stream_type) {
  const Lock lock(mutex_);
  if (!IsLoaded() || (stream_type == kStreamText && !text_chosen_)) {
    return std::nullopt;
  }
  if (stream_type == kStreamTimedText) {
    return cues_.loaded() ? std::optional<int>(0) : std::nullopt;
  }
  return pipeline_->CurrentTrack(stream_type);
}

bool Engine::SelectTrack(int stream_type, int index) {
  Operation operation(this);
  if (!operation || !IsLoaded()) {
    return false;
  }
  if (stream_type == kStreamTimedText) {
    return cues_.loaded() && index == 0;
  }
  const auto apply = [stream_type](Pipeline* pipeline) {
    return pipeline->ApplySelection(stream_type);
  };
  if (!pipeline_->SelectTrack(stream_type, index) || !Unlocked(operation.lock(), apply)) {
    return false;
  }
  text_chosen_ = text_chosen_ || stream_type == kStreamText;
  if (stream_type == kStreamText && state_ != State::kEnded) {
    cues_.Restart(last_position_ms_);
    if (pipeline_->has_streams()) {  // the new track's next text may have been passed
      MoveTo(operation.lock(), last_position_ms_, speed_);
    }
  }
  return pipeline_ != nullptr;
}

bool Engine::DescribeTrack(int stream_type,
                           int index,
                           std::string* language,
                           std::string* description) {
  const Lock lock(mutex_);
  if (!IsLoaded()) {
    return false;
  }
  if (stream_type == kStreamTimedText) {
    if (!cues_.loaded() || index != 0) {
      return false;
    }
    *language = cue_language_;
    *description = cue_title_;
    return true;
  }
  return pipeline_->DescribeTrack(stream_type, index, language, description);
}

bool Engine::LoadCues(const std::string& source) {
  const std::string uri = SourceUri(source).value_or("");
  const auto text = IsReadable(uri) ? FetchText(uri, kTextFileLimit, kFetchLimit) : std::nullopt;
  std::optional<std::vector<Cue>> cues = text ? ParseCues(*text) : std::nullopt;
  if (!cues) {
    return false;
  }
  const Lock lock(mutex_);
  cues_.Load(std::move(cues));
  cue_title_ = source.substr(source.find_last_of('/') + 1);
  cue_language_ = LanguageInName(cue_title_);
  cues_for_next_medium_ = !IsLoaded() && holder_ != Holder::kOperation;
  if (IsLoaded()) {
    cues_.Restart(CurrentPosition());
  }
  Wake();
  return true;
}

void Engine::SetWindow(int window) {
  const Lock lock(mutex_);
  window_id_ = window;
}

void Engine::SetPlace(const Rect& place) {
  Lock lock(mutex_);
  place_ = place;
  if (window_ == nullptr) {
    return;
  }
  window_->Place(place);
  // A picture that stands still is made again, for the new size.
  const Turn turn(this, &lock, Holder::kOperation);
  if (turn && pipeline_ != nullptr && (state_ == State::kReady || state_ == State::kPaused)) {
    Unlocked(&lock, [position = last_position_ms_, speed = speed_](Pipeline* pipeline) {
      return pipeline->IsSeekable() && pipeline->Seek(position, speed);
    });
  }
}

void Engine::PostData(Message id, std::string data) {
  const Lock lock(mutex_);
  Push({id, true, 0, std::move(data)});
}

void Engine::SetMessageCallback(IZunoPlayer::MessageCallback callback, void* user_data) {
  Lock lock(mutex_);
  message_callback_ = callback;
  message_user_data_ = user_data;
  WaitForCallback(&lock);
}

void Engine::SetPositionCallback(IZunoPlayer::PositionCallback callback, void* user_data) {
  Lock lock(mutex_);
  position_callback_ = callback;
  position_user_data_ = user_data;
  WaitForCallback(&lock);
}

void Engine::WaitForCallback(Lock* lock) {
  if (std::this_thread::get_id() != control_thread_) {
    changed_.wait(*lock, [this] { return !callback_running_; });
  }
}

bool Engine::IsLoaded() const {
  return pipeline_ != nullptr && state_ >= State::kReady && state_ <= State::kEnded;
}

bool Engine::IsAdvancing() const {
  return pipeline_ != nullptr && state_ == State::kPlaying && !buffering_ &&
         holder_ != Holder::kOperation;
}

// While the pipeline jumps it does not know where it is: then the last known position counts.
std::int64_t Engine::CurrentPosition() {
  if (state_ != State::kEnded && holder_ != Holder::kOperation) {
    last_position_ms_ = pipeline_->Position().value_or(last_position_ms_);
  }
  return last_position_ms_;
}

void Engine::CloseMedium(Lock* lock) {
  EndBuffering();
  // What the closed medium still had to say is of no use; errors and DRM data are.
  DropEvents({kPosition, kMessageTimedText, kMessageResolution, kMessageEndOfStream});
  size_.reset();
  EndTexts();
  const std::shared_ptr<Pipeline> pipeline = std::move(pipeline_);
  const std::unique_ptr<VideoWindow> window = std::move(window_);  // ends after what draws into it
  if (pipeline != nullptr) {
    const bool adaptive = adaptive_;
    lock->unlock();
    pipeline->Close(adaptive);
    lock->lock();
  }
}

void Engine::DropEvents(std::initializer_list<int> ids) {
  const auto dropped = [ids](const Event& event) {
    return std::find(ids.begin(), ids.end(), event.id) != ids.end();
  };
  events_.erase(std::remove_if(events_.begin(), events_.end(), dropped), events_.end());
}

void Engine::Fail(Lock* lock, Message error, const std::string& why) {
  __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "ZUNO_PLAYER", "%s: %s", uri_.c_str(), why.c_str());
  CloseMedium(lock);
  state_ = State::kFailed;
  Push({error, false, 0, {}});
}

void Engine::EndBuffering() {
  if (buffering_) {
    buffering_ = false;
    Push({kMessageBuffering, true, 100, {}});
  }
}

// The buffer of what is not read ahead is full at once.
void Engine::ReportFilled() {
  if (!pipeline_->reads_ahead()) {
    Push({kMessageBuffering, true, 0, {}});
    Push({kMessageBuffering, true, 100, {}});
  }
}

bool Engine::DrainBus(Lock* lock) {
  for (bool any = false; pipeline_ != nullptr; any = true) {
    const MessagePtr message(gst_bus_pop(pipeline_->bus()));
    if (message == nullptr) {
      return any;
    }
    Handle(lock, message.get());
  }
  return true;
}

void Engine::Handle(Lock* lock, GstMessage* message) {
  switch (handover::TypeOf(message)) {
    case GST_MESSAGE_ERROR: {
      const auto [error, why] = handover::ErrorOf(message, IsNetworkUri(uri_));
      Fail(lock, error, why);
      break;
    }
    case GST_MESSAGE_EOS:
      HandleEndOfStream(lock);
      break;
    case GST_MESSAGE_BUFFERING: {
      gint percent = 0;
      gst_message_parse_buffering(message, &percent);
      HandleBuffering(lock, percent, gst_message_get_seqnum(message));
      break;
    }
    case GST_MESSAGE_CLOCK_LOST:
      // The clock went away with its sink; starting again selects another.
      if (IsAdvancing()) {
        Unlocked(lock, [](Pipeline* pipeline) { return pipeline->Pause() && pipeline->Play(); });
      }
      break;
    case GST_MESSAGE_ELEMENT:
      adaptive_ = adaptive_ || gst_message_has_name(message, "adaptive-streaming-statistics");
      break;
    case GST_MESSAGE_STREAM_COLLECTION:
      pipeline_->TakeTracks(message);
      break;
    case GST_MESSAGE_STREAMS_SELECTED:
      pipeline_->TakeSelection(message);
      break;
    case GST_MESSAGE_ASYNC_DONE:
    case GST_MESSAGE_STREAM_START:
      RefreshResolution();
      break;
    default:
      break;
  }
}

void Engine::HandleBuffering(Lock* lock, int percent, guint32 number) {
  if (percent >= 100) {
    const bool ends = buffering_;
    full_ = number;
    EndBuffering();
    if (ends && IsAdvancing()) {  // a jump under way starts it itself
      next_report_ = Clock::now() + kReportInterval;
      Unlocked(lock, &Pipeline::Play);
    }
    return;
  }
  // The download buffer has two threads: one may say too late that it was not full yet.
  if (gst_util_seqnum_compare(number, full_) < 0) {
    return;
  }
  if (!buffering_) {
    buffering_ = true;
    percent_ = -1;
    if (state_ == State::kPlaying) {
      Unlocked(lock, &Pipeline::Pause);
    }
  }
  if (percent != percent_) {
    percent_ = percent;
    stalled_at_ = Clock::now() + kStallLimit;
    Push({kMessageBuffering, true, percent, {}});
  }
}

// Sources try again for ever when a server takes the request but stops sending.
void Engine::CheckForStall(Lock* lock) {
  if (buffering_ && state_ == State::kPlaying && Clock::now() >= stalled_at_) {
    Fail(lock, kMessageNetworkError, "no more data");
  }
}

void Engine::HandleEndOfStream(Lock* lock) {
  // An operation pauses before it jumps: an end comes from before the jump then.
  if ((state_ != State::kPlaying && state_ != State::kPaused) || holder_ == Holder::kOperation) {
    return;
  }
  EndBuffering();
  const auto end = Unlocked(lock, &Pipeline::Duration);
  last_position_ms_ = end.value_or(CurrentPosition());
  state_ = State::kEnded;
  SendTexts();  // the last cues may have begun since the last look
  EndTexts();
  Push({kMessageEndOfStream, false, 0, {}});
}

void Engine::RefreshResolution() {
  const std::optional<Size> size = pipeline_->Resolution();
  if (size && (!size_ || size->width != size_->width || size->height != size_->height)) {
    size_ = size;
    Push({kMessageResolution, false, 0, {}});
  }
}

void Engine::ReportPosition(Lock* lock) {
  const Clock::time_point now = Clock::now();
  if (!IsAdvancing() || now < next_report_) {
    return;
  }
  // A late report does not make the next one come early.
  next_report_ = std::max(next_report_ + kReportInterval, now + kReportInterval / 2);
  RefreshResolution();
  const std::int64_t before = std::exchange(reported_ms_, CurrentPosition());
  Push({kPosition, false, reported_ms_, {}});
  // GStreamer now and then loses the end of a medium with several tracks of a kind.
  const auto end = Unlocked(lock, &Pipeline::Duration);
  if (reported_ms_ == before && end && before >= *end - kLostEndMs) {
    HandleEndOfStream(lock);
  }
}

void Engine::SendTexts() {
  if (IsLoaded()) {
    const std::int64_t position = CurrentPosition();
    PushTexts(position, pipeline_->TakeTexts(position, text_chosen_));
  }
}

void Engine::EndTexts() {
  cues_.Restart(kOpenEnd);
  PushTexts(0, {});
}

void Engine::PushTexts(std::int64_t position_ms, const std::vector<Cue>& arrived) {
  for (std::string& text : cues_.TakeDue(position_ms, arrived)) {
    Push({kMessageTimedText, true, 0, std::move(text)});
  }
}

void Engine::Run() {
  pthread_setname_np(pthread_self(), "zuno-control");
  Lock lock(mutex_);
  control_thread_ = std::this_thread::get_id();
  while (!quit_) {
    Tick(&lock);
    if (events_.empty()) {
      Idle(&lock);
    } else {
      Deliver(&lock);
    }
  }
}

void Engine::Tick(Lock* lock) {
  const Turn turn(this, lock, Holder::kControl);
  if (turn) {
    DrainBus(lock);
    CheckForStall(lock);
    ReportPosition(lock);
    SendTexts();
  }
}

void Engine::Deliver(Lock* lock) {
  const Event event = std::move(events_.front());
  events_.pop_front();
  const auto message_callback = message_callback_;
  const auto position_callback = position_callback_;
  void* const message_user_data = message_user_data_;
  void* const position_user_data = position_user_data_;
  callback_running_ = true;
  lock->unlock();
  if (event.id == kPosition && position_callback != nullptr) {
    position_callback(static_cast<unsigned long>(event.number), position_user_data);
  } else if (event.id != kPosition && message_callback != nullptr) {
    ZunoMessageParam record = {};
    record.data = event.data.c_str();
    record.percent = static_cast<std::uint32_t>(event.number);
    record.value = static_cast<std::int32_t>(event.data.size());
    message_callback(event.id, event.has_record ? &record : nullptr, message_user_data);
  }
  lock->lock();
  callback_running_ = false;
  changed_.notify_all();
}

std::optional<Engine::Clock::duration> Engine::UntilNextTick() {
  if (buffering_ && state_ == State::kPlaying && holder_ == Holder::kNobody) {
    return std::max<Clock::duration>(stalled_at_ - Clock::now(), Clock::duration::zero());
  }
  if (!IsAdvancing()) {
    return std::nullopt;
  }
  // Texts of the medium do not tell when they come.
  const milliseconds longest = text_chosen_ ? kTextInterval : kCueIntervalMax;
  const double to_cue = static_cast<double>(cues_.NextChange() - CurrentPosition()) / speed_;
  const Clock::duration wait =
      to_cue < static_cast<double>(longest.count())
          ? std::max(milliseconds(static_cast<std::int64_t>(to_cue)), kCueIntervalMin)
          : longest;
  return std::clamp<Clock::duration>(next_report_ - Clock::now(), Clock::duration::zero(), wait);
}

// Sleeps until the bus has a message, somebody calls Wake, or the next report or cue is due.
void Engine::Idle(Lock* lock) {
  BusPtr bus;
  GPollFD bus_fd = {-1, G_IO_IN, 0};
  // An operation that waits reads the bus itself.
  if (pipeline_ != nullptr && holder_ == Holder::kNobody) {
    bus.reset(GST_BUS(gst_object_ref(pipeline_->bus())));
    gst_bus_get_pollfd(bus.get(), &bus_fd);
  }
  const std::optional<Clock::duration> wait = UntilNextTick();
  const int timeout = wait ? static_cast<int>(std::chrono::ceil<milliseconds>(*wait).count()) : -1;
  lock->unlock();
  pollfd fds[] = {{wake_fd_, POLLIN, 0}, {bus_fd.fd, POLLIN, 0}};
  poll(fds, 2, timeout);
  eventfd_t count = 0;
  eventfd_read(wake_fd_, &count);
  lock->lock();
}

void Engine::Push(Event event) {
  events_.push_back(std::move(event));
  Wake();
}

void Engine::Wake() {
  eventfd_write(wake_fd_, 1);
}

}  // namespace zuno
