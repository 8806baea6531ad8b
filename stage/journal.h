#ifndef STAGE_JOURNAL_H_
#define STAGE_JOURNAL_H_

// What the plug-in logs and calls, as lines in one common order: log lines, and calls to the
// player, the tuner and the browser's private services. Any thread may add.
//
// A log line appears as "h:Function message". The letter is its source: h the message handler, a
// the adapter, l and t the listeners of player and tuner; the capital is a line at error priority.
// K is the instance. Anything else a line may be shows in full.

#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace lumivex::test {

using Lines = std::vector<std::string>;
Lines operator+(Lines first, const Lines& second);

class Journal {
 public:
  struct Entry {
    std::string text;
    std::string format;  // of a log line
    std::string thread_name;
    pid_t thread;
    bool of_event;  // added while a player or a tuner reports an event
  };

  static Journal& Get();

  void Add(std::string text, std::string format = "");
  std::vector<Entry> TakeEntries();  // since the last time
  Lines Take();                      // their texts
  void Pause(bool paused);           // while paused nothing is kept

 private:
  std::mutex mutex_;
  std::atomic<bool> paused_{false};
  std::vector<Entry> entries_;
};

// While it lives, entries of this thread are those of an event.
class EventScope {
 public:
  EventScope();
  ~EventScope();
  EventScope(const EventScope&) = delete;
  EventScope& operator=(const EventScope&) = delete;

 private:
  const bool was_in_event_;
};

// Bytes in quotes, with unprintable ones as \x and two digits.
std::string Quote(const std::string& bytes);

}  // namespace lumivex::test

#endif  // STAGE_JOURNAL_H_
