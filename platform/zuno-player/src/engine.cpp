#include "engine.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "handover.h"
#include "hls_playlist.h"
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
constexpr milliseconds kSeekLimit(5000);
constexpr milliseconds kPauseLimit(1000);
constexpr milliseconds kFetchLimit(5000);
constexpr milliseconds kStallLimit(10000);
constexpr float kSlowest = 1.0F / 16;
constexpr float kFastest = 16;
constexpr std::size_t kTextFileLimit = std::size_t{8} << 20U;

constexpr int kStreamAudio = 1;
constexpr int kStreamVideo = 3;
constexpr int kStreamText = 4;
constexpr int kStreamTimedText = 5;

std::optional<TrackKind> KindOf(int stream_type) {
  switch (stream_type) {
    case kStreamAudio:
      return TrackKind::kAudio;
    case kStreamVideo:
      return TrackKind::kVideo;
    case kStreamText:
      return TrackKind::kText;
    default:
      return std::nullopt;
  }
}

// Nothing when the medium has no such track.
std::optional<TrackKind> KindOfTrack(const Pipeline& pipeline, int stream_type, int index) {
  const std::optional<TrackKind> kind = KindOf(stream_type);
  const bool exists = kind && index >= 0 && index < pipeline.TrackCount(*kind);
  return exists ? kind : std::nullopt;
}

Message MessageOfError(const handover::Error& error, bool network, bool from_source) {
  // A source that cannot reach its server may say no more than that its stream has failed.
  if (network && from_source) {
    return kMessageNetworkError;
  }
  if (error.domain == GST_RESOURCE_ERROR) {
    switch (error.code) {
      case GST_RESOURCE_ERROR_NOT_FOUND:
      case GST_RESOURCE_ERROR_OPEN_READ:
      case GST_RESOURCE_ERROR_READ:
      case GST_RESOURCE_ERROR_SEEK:
      case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
        return network ? kMessageNetworkError : kMessageSourceError;
      default:
        return network ? kMessageNetworkError : kMessageOtherError;
    }
  }
  if (error.domain == GST_STREAM_ERROR) {
    switch (error.code) {
      case GST_STREAM_ERROR_CODEC_NOT_FOUND:
        return kMessageCodecError;
      case GST_STREAM_ERROR_DECODE:
        return kMessageDecodeError;
      case GST_STREAM_ERROR_DECRYPT:
      case GST_STREAM_ERROR_DECRYPT_NOKEY:
        return kMessageEncryptedError;
      default:
        return kMessageFormatError;
    }
  }
  if (error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN) {
    return kMessageCodecError;
  }
  return kMessageOtherError;
}

bool InitGstreamer() {
  static const bool initialised = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
  return initialised;
}

// A timed text file, local or from a server.
std::optional<std::string> ReadTextFile(const std::string& source) {
  const std::optional<std::string> path = LocalPath(source);
  if (!path) {
    return IsNetworkUri(source) ? FetchText(source, "", kTextFileLimit, kFetchLimit) : std::nullopt;
  }
  char* contents = nullptr;
  gsize length = 0;
  // Anything but a regular file could block or never end.
  if (g_file_test(path->c_str(), G_FILE_TEST_IS_REGULAR) == FALSE ||
      g_file_get_contents(path->c_str(), &contents, &length, nullptr) == FALSE) {
    return std::nullopt;
  }
  const CharPtr owned(contents);
  return length > kTextFileLimit ? std::nullopt
                                 : std::optional<std::string>(std::string(contents, length));
}

std::string BaseName(const std::string& path) {
  return path.substr(path.find_last_of('/') + 1);
}

// "film.deu.srt" states its language, "film.srt" does not.
std::string LanguageInName(const std::string& name) {
  const std::size_t end = name.rfind('.');
  const std::size_t begin = end == std::string::npos || end == 0 ? end : name.rfind('.', end - 1);
  if (begin == std::string::npos) {
    return "und";
  }
  const std::string code = name.substr(begin + 1, end - begin - 1);
  const bool letters = std::all_of(code.begin(), code.end(),
                                   [](char letter) { return g_ascii_islower(letter) != FALSE; });
  return letters && (code.size() == 2 || code.size() == 3) ? code : "und";
}

}  // namespace

// Keeps other operations out while one waits without the lock. Made and ended with the lock held.
class Engine::Busy {
 public:
  explicit Busy(Engine* engine) : engine_(engine) { engine_->busy_ = true; }
  ~Busy() {
    engine_->busy_ = false;
    engine_->Wake();
  }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  Engine* const engine_;
};

// Halts what plays while the pipeline jumps. Buffering pauses the pipeline, and one that is paused
// after it has gone back to zero for the jump, but has not yet come to rest, takes the time that it
// had been playing for along to its new place. Made and ended with the lock held.
class Engine::Standstill {
 public:
  explicit Standstill(Engine* engine) : engine_(engine) {
    if (MayPlay()) {
      engine_->pipeline_->Pause();
    }
  }
  ~Standstill() {
    if (MayPlay()) {
      engine_->pipeline_->Play();
    }
  }
  Standstill(const Standstill&) = delete;
  Standstill& operator=(const Standstill&) = delete;

 private:
  bool MayPlay() const {
    return engine_->pipeline_ != nullptr && engine_->state_ == State::kPlaying &&
           !engine_->buffering_;
  }

  Engine* const engine_;
};

std::shared_ptr<Engine> Engine::Start() {
  if (!InitGstreamer()) {
    return nullptr;
  }
  std::shared_ptr<Engine> engine(new Engine);
  if (engine->wake_fd_ < 0) {
    return nullptr;
  }
  engine->thread_ = std::thread([engine] { engine->Run(); });
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
  const Lock lock(mutex_);
  CloseMedium();
  // GStreamer's threads go back to a pool that keeps a few of them for a while; idle ones are not
  // wanted, nor those that are on their way back.
  g_thread_pool_set_max_unused_threads(0);
}

bool Engine::Open(const std::string& source, unsigned int offset_ms) {
  Lock lock(mutex_);
  if (busy_ || quit_) {
    return false;
  }
  CloseMedium();
  state_ = State::kEmpty;
  uri_.clear();
  if (!cues_for_next_medium_) {
    cues_.Clear();
  }
  cues_for_next_medium_ = false;
  const std::optional<std::string> uri = SourceUri(source);
  if (!uri) {
    return false;
  }
  uri_ = *uri;
  return OpenSource(&lock, offset_ms);
}

bool Engine::OpenSource(Lock* lock, unsigned int offset_ms) {
  const Busy busy(this);
  state_ = State::kEmpty;
  speed_ = 1.0F;
  last_position_ms_ = offset_ms;
  text_track_ = -1;
  cues_.Restart(offset_ms);
  if (window_id_ > 0) {
    window_ = VideoWindow::Create(window_id_, place_);
  }
  pipeline_ = Pipeline::Create(uri_, window_ == nullptr ? nullptr : window_->MakeSink());
  if (pipeline_ == nullptr) {
    Fail(kMessageOtherError);
    return false;
  }
  const bool network = pipeline_->IsNetwork();
  const bool opened =
      WaitUntilSettled(lock, pipeline_->Pause() ? kOpenLimit : milliseconds::zero());
  if (pipeline_ == nullptr) {
    return false;  // an error was on the bus and has been reported
  }
  if (!opened) {
    // GStreamer now and then loses the error of a file that breaks off right after its header.
    Fail(network ? kMessageNetworkError : kMessageFormatError);
    return false;
  }
  if (offset_ms > 0) {
    const std::optional<std::int64_t> duration = pipeline_->Duration();
    const bool reachable = pipeline_->IsSeekable() && (!duration || offset_ms <= *duration);
    const bool reached =
        reachable && pipeline_->Seek(offset_ms, 1.0) && WaitUntilSettled(lock, kSeekLimit);
    if (pipeline_ == nullptr) {
      return false;
    }
    if (!reached) {
      Fail(kMessageOtherError);
      return false;
    }
  }
  state_ = State::kReady;
  RefreshResolution();
  return true;
}

bool Engine::Play() {
  Lock lock(mutex_);
  DrainBus();
  if (busy_ || quit_) {
    return false;
  }
  switch (state_) {
    case State::kStopped:
      return OpenSource(&lock, 0) && StartPlaying();
    case State::kReady:
    case State::kPaused:
      return StartPlaying();
    case State::kEnded:
      return JumpTo(&lock, 0, speed_);
    default:
      return false;
  }
}

bool Engine::StartPlaying() {
  state_ = State::kPlaying;
  next_report_ = Clock::now() + kReportInterval;
  stalled_at_ = Clock::now() + kStallLimit;
  Wake();
  if (buffering_ || pipeline_->Play()) {
    return true;
  }
  DrainBus();
  if (pipeline_ != nullptr) {
    Fail(kMessageOtherError);
  }
  return false;
}

bool Engine::Pause() {
  Lock lock(mutex_);
  DrainBus();
  if (busy_ || quit_ || state_ != State::kPlaying) {
    return false;
  }
  const Busy busy(this);
  state_ = State::kPaused;
  if (!buffering_) {
    pipeline_->Pause();
    WaitUntilSettled(&lock, kPauseLimit);
  }
  return pipeline_ != nullptr;
}

bool Engine::Resume() {
  const Lock lock(mutex_);
  DrainBus();
  return !busy_ && !quit_ && state_ == State::kPaused && StartPlaying();
}

bool Engine::Stop() {
  const Lock lock(mutex_);
  if (busy_ || quit_) {
    return false;
  }
  CloseMedium();
  if (state_ != State::kEmpty) {
    state_ = State::kStopped;
  }
  return true;
}

bool Engine::Seek(int msec) {
  Lock lock(mutex_);
  DrainBus();
  if (busy_ || quit_ || !IsLoaded() || msec < 0 || !pipeline_->IsSeekable()) {
    return false;
  }
  const std::optional<std::int64_t> duration = pipeline_->Duration();
  const bool reached = (!duration || msec <= *duration) && JumpTo(&lock, msec, speed_);
  SendDueCues();
  return reached;
}

bool Engine::JumpTo(Lock* lock, std::int64_t msec, float speed) {
  const Busy busy(this);
  const Standstill standstill(this);
  if (!pipeline_->Seek(msec, speed)) {
    return false;
  }
  last_position_ms_ = msec;
  cues_.Restart(msec);
  cues_after_jump_ = true;
  if (state_ == State::kEnded && !StartPlaying()) {
    return false;
  }
  return WaitUntilSettled(lock, kSeekLimit);
}

bool Engine::SetSpeed(float speed) {
  Lock lock(mutex_);
  DrainBus();
  // Written so that NaN is refused as well.
  if (!(speed >= kSlowest && speed <= kFastest) || busy_ || quit_ || !IsLoaded() ||
      state_ == State::kEnded || !pipeline_->IsSeekable()) {
    return false;
  }
  const std::int64_t position = CurrentPosition();
  const Busy busy(this);
  const Standstill standstill(this);
  if (!pipeline_->Seek(position, speed)) {
    return false;
  }
  speed_ = speed;
  return WaitUntilSettled(&lock, kSeekLimit);
}

// Also reads the bus, so that an error ends the wait.
bool Engine::WaitUntilSettled(Lock* lock, Clock::duration limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  while (true) {
    DrainBus();
    if (pipeline_ == nullptr) {
      return false;
    }
    if (pipeline_->IsSettled()) {
      return true;
    }
    if (quit_ || Clock::now() >= deadline) {
      return false;
    }
    lock->unlock();
    std::this_thread::sleep_for(kBusInterval / 4);
    lock->lock();
  }
}

std::optional<std::int64_t> Engine::Position() {
  const Lock lock(mutex_);
  return IsLoaded() ? std::optional<std::int64_t>(CurrentPosition()) : std::nullopt;
}

std::optional<std::int64_t> Engine::Duration() {
  const Lock lock(mutex_);
  return IsLoaded() ? pipeline_->Duration() : std::nullopt;
}

std::optional<Size> Engine::Resolution() {
  const Lock lock(mutex_);
  return size_;
}

std::vector<unsigned int> Engine::Bitrates() {
  std::string uri;
  {
    const Lock lock(mutex_);
    if (!IsLoaded()) {
      return {};
    }
    uri = uri_;
  }
  const std::optional<std::string> playlist =
      FetchText(uri, "#EXTM3U", kTextFileLimit, kFetchLimit);
  return playlist ? VariantBitrates(*playlist) : std::vector<unsigned int>();
}

std::optional<int> Engine::TrackCount(int stream_type) {
  const Lock lock(mutex_);
  if (stream_type == kStreamTimedText && IsLoaded()) {
    return cues_.loaded() ? 1 : 0;
  }
  const std::optional<TrackKind> kind = KindOf(stream_type);
  return kind && IsLoaded() ? std::optional<int>(pipeline_->TrackCount(*kind)) : std::nullopt;
}

std::optional<int> Engine::CurrentTrack(int stream_type) {
  const Lock lock(mutex_);
  if (!IsLoaded()) {
    return std::nullopt;
  }
  int current = -1;
  if (stream_type == kStreamTimedText) {
    current = cues_.loaded() ? 0 : -1;
  } else if (stream_type == kStreamText) {
    current = text_track_;
  } else if (const std::optional<TrackKind> kind = KindOf(stream_type)) {
    current = pipeline_->CurrentTrack(*kind);
  }
  return current >= 0 ? std::optional<int>(current) : std::nullopt;
}

bool Engine::SelectTrack(int stream_type, int index) {
  const Lock lock(mutex_);
  if (busy_ || quit_ || !IsLoaded()) {
    return false;
  }
  if (stream_type == kStreamTimedText) {
    return cues_.loaded() && index == 0;
  }
  const std::optional<TrackKind> kind = KindOfTrack(*pipeline_, stream_type, index);
  if (!kind) {
    return false;
  }
  pipeline_->SelectTrack(*kind, index);
  if (*kind == TrackKind::kText) {
    text_track_ = index;
    Wake();
  }
  return true;
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
    *language = cue_language_;
    *description = cue_title_;
    return cues_.loaded() && index == 0;
  }
  const std::optional<TrackKind> kind = KindOfTrack(*pipeline_, stream_type, index);
  if (!kind) {
    return false;
  }
  pipeline_->DescribeTrack(*kind, index, language, description);
  return true;
}

bool Engine::LoadCues(const std::string& source) {
  const std::optional<std::string> text = ReadTextFile(source);
  std::optional<std::vector<Cue>> cues = text ? ParseCues(*text) : std::nullopt;
  if (!cues) {
    return false;
  }
  const Lock lock(mutex_);
  if (quit_) {
    return false;
  }
  cues_.Load(std::move(*cues));
  cue_title_ = BaseName(source);
  cue_language_ = LanguageInName(cue_title_);
  cues_for_next_medium_ = !IsLoaded() && !busy_;
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
  const Lock lock(mutex_);
  place_ = place;
  if (window_ == nullptr) {
    return;
  }
  window_->Place(place);
  // A picture that stands still is made again, for the new size.
  if (!busy_ && (state_ == State::kReady || state_ == State::kPaused)) {
    pipeline_->Seek(CurrentPosition(), speed_);
  }
}

void Engine::PostData(Message id, std::string data) {
  const Lock lock(mutex_);
  const auto length = static_cast<std::int64_t>(data.size());
  Push({Event::kData, id, length, std::move(data)});
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
    callback_done_.wait(*lock, [this] { return !callback_running_; });
  }
}

bool Engine::IsLoaded() const {
  return pipeline_ != nullptr && (state_ == State::kReady || state_ == State::kPlaying ||
                                  state_ == State::kPaused || state_ == State::kEnded);
}

bool Engine::IsAdvancing() const {
  return pipeline_ != nullptr && state_ == State::kPlaying && !buffering_ && !busy_;
}

// While the pipeline jumps it does not know where it is: then the last known position counts.
std::int64_t Engine::CurrentPosition() {
  if (state_ != State::kEnded && !busy_) {
    last_position_ms_ = pipeline_->Position().value_or(last_position_ms_);
  }
  return last_position_ms_;
}

void Engine::CloseMedium() {
  EndBuffering();
  // What the closed medium still had to say is of no use; errors and DRM data are.
  events_.erase(std::remove_if(events_.begin(), events_.end(),
                               [](const Event& event) {
                                 return event.kind == Event::kPosition ||
                                        event.id == kMessageTimedText ||
                                        event.id == kMessageResolution ||
                                        event.id == kMessageEndOfStream;
                               }),
                events_.end());
  pipeline_.reset();
  window_.reset();
  size_.reset();
  cues_after_jump_ = false;
}

void Engine::Fail(Message error) {
  CloseMedium();
  state_ = State::kFailed;
  Push({Event::kPlain, error, 0, {}});
}

void Engine::EndBuffering() {
  if (buffering_) {
    buffering_ = false;
    Push({Event::kPercent, kMessageBuffering, 100, {}});
  }
}

void Engine::DrainBus() {
  while (pipeline_ != nullptr) {
    const MessagePtr message(gst_bus_pop(pipeline_->bus()));
    if (message == nullptr) {
      return;
    }
    Handle(message.get());
  }
}

void Engine::Handle(GstMessage* message) {
  switch (handover::TypeOf(message)) {
    case GST_MESSAGE_ERROR:
      Fail(MessageOfError(handover::ErrorOf(message), pipeline_->IsNetwork(),
                          handover::IsFromSource(message)));
      break;
    case GST_MESSAGE_EOS:
      HandleEndOfStream();
      break;
    case GST_MESSAGE_BUFFERING: {
      gint percent = 0;
      gst_message_parse_buffering(message, &percent);
      HandleBuffering(percent);
      break;
    }
    case GST_MESSAGE_CLOCK_LOST:
      // The clock went away with its sink; starting again selects another.
      if (IsAdvancing()) {
        pipeline_->Pause();
        pipeline_->Play();
      }
      break;
    case GST_MESSAGE_LATENCY:
      pipeline_->RecalculateLatency();
      break;
    case GST_MESSAGE_ASYNC_DONE:
    case GST_MESSAGE_STREAM_START:
      RefreshResolution();
      break;
    default:
      break;
  }
}

void Engine::HandleBuffering(int percent) {
  if (pipeline_->IsLive() || (!buffering_ && percent >= 100)) {
    return;
  }
  if (percent >= 100) {
    EndBuffering();
    if (state_ == State::kPlaying && !busy_) {  // a jump under way starts it itself
      next_report_ = Clock::now() + kReportInterval;
      pipeline_->Play();
    }
    return;
  }
  if (!buffering_) {
    buffering_ = true;
    percent_ = -1;
    if (state_ == State::kPlaying) {
      pipeline_->Pause();
    }
  }
  if (percent != percent_) {
    percent_ = percent;
    stalled_at_ = Clock::now() + kStallLimit;
    Push({Event::kPercent, kMessageBuffering, percent, {}});
  }
}

// Sources try again for ever when a server takes the request but stops sending.
void Engine::CheckForStall() {
  if (buffering_ && state_ == State::kPlaying && !busy_ && Clock::now() >= stalled_at_) {
    Fail(kMessageNetworkError);
  }
}

void Engine::HandleEndOfStream() {
  if (state_ != State::kPlaying && state_ != State::kPaused) {
    return;
  }
  EndBuffering();
  last_position_ms_ = pipeline_->Duration().value_or(CurrentPosition());
  state_ = State::kEnded;
  // The last cues may have begun since the last look.
  cues_after_jump_ = true;
  SendDueCues();
  SendMediumTexts();
  pipeline_->Pause();
  Push({Event::kPlain, kMessageEndOfStream, 0, {}});
}

void Engine::RefreshResolution() {
  const std::optional<Size> size = pipeline_->Resolution();
  if (size && (!size_ || size->width != size_->width || size->height != size_->height)) {
    size_ = size;
    Push({Event::kPlain, kMessageResolution, 0, {}});
  }
}

void Engine::ReportPosition() {
  const Clock::time_point now = Clock::now();
  if (!IsAdvancing() || now < next_report_) {
    return;
  }
  // A late report does not make the next one come early.
  next_report_ = std::max(next_report_ + kReportInterval, now + kReportInterval / 2);
  RefreshResolution();
  Push({Event::kPosition, 0, CurrentPosition(), {}});
}

void Engine::SendDueCues() {
  if (!IsLoaded() || busy_ || !cues_.loaded() || (state_ != State::kPlaying && !cues_after_jump_)) {
    return;
  }
  for (std::string& text : cues_.TakeDue(CurrentPosition())) {
    Push({Event::kData, kMessageTimedText, 0, std::move(text)});
  }
  cues_after_jump_ = false;
}

void Engine::SendMediumTexts() {
  if (pipeline_ == nullptr || busy_) {
    return;
  }
  for (std::string& text : pipeline_->TakeTexts()) {
    if (text_track_ >= 0) {
      Push({Event::kData, kMessageTimedText, 0, std::move(text)});
    }
  }
}

void Engine::Run() {
  pthread_setname_np(pthread_self(), "zuno-control");
  Lock lock(mutex_);
  control_thread_ = std::this_thread::get_id();
  while (!quit_) {
    Tick();
    if (events_.empty()) {
      Idle(&lock);
    } else {
      Deliver(&lock);
    }
  }
}

void Engine::Tick() {
  DrainBus();
  CheckForStall();
  ReportPosition();
  SendDueCues();
  SendMediumTexts();
}

void Engine::Deliver(Lock* lock) {
  const Event event = std::move(events_.front());
  events_.pop_front();
  const auto message_callback = message_callback_;
  const auto position_callback = position_callback_;
  void* const user_data = event.kind == Event::kPosition ? position_user_data_ : message_user_data_;
  callback_running_ = true;
  lock->unlock();
  if (event.kind == Event::kPosition) {
    if (position_callback != nullptr) {
      position_callback(static_cast<unsigned long>(event.number), user_data);
    }
  } else if (message_callback != nullptr) {
    ZunoMessageParam record = {};
    if (event.kind == Event::kPercent) {
      record.percent = static_cast<std::uint32_t>(event.number);
    } else {
      record.data = event.data.c_str();
      record.value = static_cast<std::int32_t>(event.number);
    }
    message_callback(event.id, event.kind == Event::kPlain ? nullptr : &record, user_data);
  }
  lock->lock();
  callback_running_ = false;
  callback_done_.notify_all();
}

std::optional<Engine::Clock::duration> Engine::UntilNextTick() {
  if (buffering_ && state_ == State::kPlaying && !busy_) {
    return std::max<Clock::duration>(stalled_at_ - Clock::now(), Clock::duration::zero());
  }
  if (!IsAdvancing()) {
    return std::nullopt;
  }
  Clock::duration wait = next_report_ - Clock::now();
  if (const std::optional<std::int64_t> start = cues_.NextStart()) {
    const double remaining = static_cast<double>(*start - CurrentPosition()) / speed_;
    const milliseconds cue_wait(static_cast<std::int64_t>(
        std::min(remaining, static_cast<double>(kCueIntervalMax.count()))));
    wait = std::min<Clock::duration>(wait, std::max(cue_wait, kCueIntervalMin));
  }
  if (pipeline_->TrackCount(TrackKind::kText) > 0) {
    wait = std::min<Clock::duration>(wait, kTextInterval);
  }
  return std::max<Clock::duration>(wait, Clock::duration::zero());
}

// Sleeps until the bus has a message, somebody calls Wake, or the next report or cue is due.
void Engine::Idle(Lock* lock) {
  BusPtr bus;
  GPollFD bus_fd = {-1, G_IO_IN, 0};
  // An operation that waits reads the bus itself.
  if (pipeline_ != nullptr && !busy_) {
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
