#include "player_harness.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "wait_until.h"

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// Every message that the plug-in takes for an error.
const std::set<int> kErrors = {186, 134, 182, 183, 184, 187, 68, 37, 0, 64, 65, 66, 67, 98};

std::vector<Recorder::Note> Filter(std::vector<Recorder::Note> notes, const std::set<int>& ids) {
  const auto other = [&ids](const Recorder::Note& note) { return ids.count(note.id) == 0; };
  notes.erase(std::remove_if(notes.begin(), notes.end(), other), notes.end());
  return notes;
}

}  // namespace

milliseconds Patience(int msec) {
  return milliseconds(msec * (kSanitized ? 10 : 4));
}

int Slack(int msec) {
  return msec * (kSanitized ? 5 : 1);
}

std::string Media(const std::string& name) {
  return std::string(ZUNO_TEST_MEDIA) + "/" + name;
}

std::string ScratchFolder() {
  static const std::string folder = [] {
    const std::string path = ::testing::TempDir() + "zuno-player." + std::to_string(getpid());
    std::filesystem::create_directories(path);
    static const struct Remover {
      std::string path;
      ~Remover() { std::filesystem::remove_all(path); }
    } remover{path};
    return path;
  }();
  return folder;
}

std::string WriteFile(const std::string& name, const std::string& contents) {
  std::string path = ScratchFolder() + "/" + name;
  std::ofstream(path, std::ios::binary) << contents;
  return path;
}

std::string Wave(unsigned int seconds) {
  struct {
    char riff[4] = {'R', 'I', 'F', 'F'};
    std::uint32_t rest;
    char wave[8] = {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
    std::uint32_t format_size = 16;
    std::uint16_t format = 1, channels = 1;
    std::uint32_t rate = 8000, bytes_a_second = 8000;
    std::uint16_t bytes = 1, bits = 8;
    char data[4] = {'d', 'a', 't', 'a'};
    std::uint32_t length;
  } header;
  header.length = 8000 * seconds;
  header.rest = 36 + header.length;
  return std::string(reinterpret_cast<const char*>(&header), sizeof(header)) +
         std::string(header.length, 'p');
}

void SleepFor(int msec) {
  std::this_thread::sleep_for(milliseconds(msec));
}

int MillisecondsSince(TestClock::time_point begin) {
  return static_cast<int>(
      std::chrono::duration_cast<milliseconds>(TestClock::now() - begin).count());
}

// One callback, which wakes who waits for what it brought.
class Recorder::Visit {
 public:
  explicit Visit(Recorder* recorder) : recorder_(recorder) {
    const std::lock_guard<std::mutex> lock(recorder->mutex_);
    EXPECT_EQ(0, recorder->depth_++);
    if (recorder->thread_ == std::thread::id()) {
      recorder->thread_ = std::this_thread::get_id();
    }
    EXPECT_EQ(recorder->thread_, std::this_thread::get_id());
  }
  ~Visit() {
    const std::lock_guard<std::mutex> lock(recorder_->mutex_);
    --recorder_->depth_;
    recorder_->changed_.notify_all();
  }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

 private:
  Recorder* const recorder_;
};

Recorder::~Recorder() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return depth_ == 0; });
}

int Recorder::OnMessage(int id, void* param, void* user_data) {
  auto* self = static_cast<Recorder*>(user_data);
  const auto* record = static_cast<const ZunoMessageParam*>(param);
  const Visit visit(self);
  Note note = {id, {}, 0, record != nullptr};
  if (record != nullptr && id == kTimedText) {
    note.text = record->data;
  } else if (record != nullptr && id == kDrmData) {
    note.text.assign(record->data, static_cast<std::size_t>(record->value));
  } else if (record != nullptr) {
    note.percent = record->percent;
  }
  if (self->inside) {
    self->inside(id);
  }
  const std::lock_guard<std::mutex> lock(self->mutex_);
  self->notes_.push_back(note);
  return 1;
}

void Recorder::OnPosition(unsigned long position, void* user_data) {
  auto* self = static_cast<Recorder*>(user_data);
  const Visit visit(self);
  const std::lock_guard<std::mutex> lock(self->mutex_);
  self->reports_.push_back(static_cast<int>(position));
}

std::vector<Recorder::Note> Recorder::Notes() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return notes_;
}

std::vector<Recorder::Note> Recorder::Notes(int id) const {
  return Filter(Notes(), {id});
}

std::vector<Recorder::Note> Recorder::Errors() const {
  return Filter(Notes(), kErrors);
}

std::vector<int> Recorder::Reports() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return reports_;
}

std::vector<std::string> Recorder::Texts() const {
  std::vector<std::string> texts;
  for (const Note& note : Notes(kTimedText)) {
    texts.push_back(note.text);
  }
  return texts;
}

bool Recorder::WaitFor(int id, std::size_t count, milliseconds limit) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, limit, [&] {
    const auto of_id = [id](const Note& note) { return note.id == id; };
    return static_cast<std::size_t>(std::count_if(notes_.begin(), notes_.end(), of_id)) >= count;
  });
}

void Recorder::Clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  notes_.clear();
  reports_.clear();
}

Rig::Rig() : library(dlopen(ZUNO_TEST_LIBRARY, RTLD_LAZY)) {
  player.reset(reinterpret_cast<ZunoPlayerCreate>(dlsym(library, "Create"))());
  EXPECT_TRUE(player->SetMessageCallback(Recorder::OnMessage, &recorder));
  EXPECT_TRUE(player->SetCurrentPositionCallback(Recorder::OnPosition, &recorder));
}

Rig::~Rig() {
  player.reset();
  EXPECT_EQ(0, dlclose(library));
}

int Rig::Position() const {
  int msec = -1;
  return player->GetCurrentPosition(&msec) ? msec : -1;
}

int Rig::Duration() const {
  int msec = -1;
  return player->GetDuration(&msec) ? msec : -1;
}

void Rig::AskForChallenges(int count) const {
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(0, player->SetDrmInfo("PROPERTY_REQUEST_CHALLENGE_DATA", 31, "x", 1, 0));
  }
}

std::pair<int, int> Rig::Resolution() const {
  int width = -1;
  int height = -1;
  return player->GetResolution(&width, &height) ? std::pair(width, height) : std::pair(-1, -1);
}

bool Rig::WaitForPosition(int msec) const {
  return WaitUntil(Patience(5000), [&] { return Position() >= msec; });
}

bool Rig::PlayFile(const std::string& url, unsigned int offset) const {
  return player->InitPlayer(url.c_str(), offset) && player->Play(0);
}
