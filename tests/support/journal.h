#ifndef TESTS_SUPPORT_JOURNAL_H_
#define TESTS_SUPPORT_JOURNAL_H_

// What reached the plug-in's surroundings, as readable lines in one common order: log lines, calls
// on the player, on the tuner and on the browser's private services. Any thread may add.

#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace lumivex::test {

class Journal {
 public:
  struct Entry {
    std::string text;
    std::string format;  // of a log line
    std::string thread_name;
    pid_t thread;
  };

  static Journal& Get();

  void Add(std::string text, std::string format = "");
  std::vector<Entry> TakeEntries();  // since the last time
  std::vector<std::string> Take();   // their texts
  void Pause(bool paused);           // while paused nothing is kept

  std::atomic<bool> log_fails{false};  // what the log then answers

 private:
  std::mutex mutex_;
  bool paused_ = false;
  std::vector<Entry> entries_;
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

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_JOURNAL_H_
