#ifndef STAGE_JOURNAL_H_
#define STAGE_JOURNAL_H_

// What the plug-in says and does toward its surroundings, as lines in one common order: log lines,
// calls on the player, on the tuner and on the browser's private services. Any thread may add.

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

// How a log line appears in the journal: "buffer/priority/tag file function: message". A line
// without the three leading arguments, or from no source line, says so.
std::string LogLine(int buffer,
                    int priority,
                    const std::string& tag,
                    const std::string& file,
                    const std::string& function,
                    const std::string& message);

// Bytes in quotes, with what cannot be printed as \x and two digits.
std::string Quote(const std::string& bytes);

// Lines of the message handler, the adapter and the two listeners; E: at error priority.
std::string H(const std::string& function, const std::string& message);
std::string HE(const std::string& function, const std::string& message);
std::string A(const std::string& function, const std::string& message);
std::string AE(const std::string& function, const std::string& message);
std::string L(const std::string& function, const std::string& message);  // of the player
std::string T(const std::string& function, const std::string& message);  // of the tuner

// A line in short: "h:F text" is a line that the message handler logs in function F, H one at error
// priority, a and A the adapter's, l and t those of the player's and the tuner's listener, K the
// instance's; any other line stands as it is. Without ":F" the function is the one given.
std::string Line(const std::string& text, const std::string& function = "");
// Several, set apart by " | ".
Lines Script(const std::string& text, const std::string& function = "");
Lines Split(const std::string& text);  // at " | ", as they are

}  // namespace lumivex::test

#endif  // STAGE_JOURNAL_H_
