#ifndef TESTS_ZUNO_PLAYER_PLAYER_HARNESS_H_
#define TESTS_ZUNO_PLAYER_PLAYER_HARNESS_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "IZunoPlayer.h"

// The messages by number, as a caller of the library knows them.
constexpr int kEndOfStream = 97;
constexpr int kBuffering = 131;
constexpr int kTimedText = 132;
constexpr int kDrmData = 181;
constexpr int kResolution = 185;
using TestClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// How long to wait at most for what takes about so long on an idle machine: far longer, as a wait
// that is fulfilled costs nothing.
milliseconds Patience(int msec);
// So much may a time be off; more with a sanitizer, whose builds are no measure of time.
int Slack(int msec);

// A file that make-media.sh made.
std::string Media(const std::string& name);
// An empty folder of this process's own, for files that a test writes.
std::string ScratchFolder();
std::string WriteFile(const std::string& name, const std::string& contents);
// A sound file, 8000 bytes a second.
std::string Wave(unsigned int seconds);

// Keeps what the two callbacks deliver, which come from one thread and never two at once.
class Recorder {
 public:
  struct Note {
    int id;
    std::string text;  // of a cue, or DRM data
    unsigned int percent;
    bool has_record;
  };

  Recorder() = default;
  // Waits for the end of a callback in which the player was deleted.
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  static int OnMessage(int id, void* param, void* user_data);
  static void OnPosition(unsigned long position, void* user_data);

  std::vector<Note> Notes() const;
  std::vector<Note> Notes(int id) const;
  std::vector<Note> Errors() const;
  std::vector<int> Reports() const;
  std::vector<std::string> Texts() const;
  // False when so many messages of the id have not come in time.
  bool WaitFor(int id, std::size_t count, milliseconds limit) const;
  void Clear();

  // Called from inside the message callback, on the player's thread. Set before the player runs.
  std::function<void(int id)> inside;

 private:
  class Visit;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Note> notes_;
  std::vector<int> reports_;
  std::thread::id thread_;
  int depth_ = 0;
};

// A player of the library, which is opened as the plug-in opens it, with its callbacks recorded.
struct Rig {
  Rig();
  ~Rig();
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  // -1 when refused.
  int Position() const;
  int Duration() const;
  std::pair<int, int> Resolution() const;
  // False when playing has not got there in time.
  bool WaitForPosition(int msec) const;
  // Each brings a message, whatever the player does.
  void AskForChallenges(int count) const;
  // Opens and plays; false as soon as one of the two is refused.
  bool PlayFile(const std::string& url, unsigned int offset = 0) const;

  Recorder recorder;
  void* library;
  std::unique_ptr<IZunoPlayer> player;
};

void SleepFor(int msec);
int MillisecondsSince(TestClock::time_point begin);

#endif  // TESTS_ZUNO_PLAYER_PLAYER_HARNESS_H_
