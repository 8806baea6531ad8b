#ifndef TESTS_DESKTOP_PROGRAM_H_
#define TESTS_DESKTOP_PROGRAM_H_

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A running lumivex-desktop, and all processes that it starts. Is killed with the object.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Waits until the page's console has said a message that begins like this, after the one that the
  // last call found; the rest of that line. Fails the test when it does not come.
  std::string WaitForLine(const std::string& beginning);
  // The exit status, or -1 when it does not end in time.
  int WaitForEnd(std::chrono::seconds limit = std::chrono::seconds(60));
  void Signal(int signal);
  // The folder of its own that the program has under /tmp.
  std::string SessionFolder() const;
  std::string output();
  std::string errors();

  // The processes in which the plug-in is loaded, now.
  std::vector<pid_t> PluginProcesses() const;
  // The names of a process's threads.
  static std::vector<std::string> Threads(pid_t process);
  // True when all processes that were ever seen below this one have ended, within some seconds.
  bool NothingIsLeft();
  // Notes the processes below this one for NothingIsLeft.
  void NoteProcesses();

 private:
  void Read(int fd, std::string* into);

  pid_t pid_ = -1;
  bool ended_ = false;
  int status_ = -1;
  std::size_t found_ = 0;     // in output_: where the next search begins
  std::vector<pid_t> noted_;  // of the processes below
  std::mutex mutex_;
  std::string output_;  // guarded by mutex_, as errors_
  std::string errors_;
  std::atomic<int> read_{0};  // of the two, to their ends
  std::thread readers_[2];
};

#endif  // TESTS_DESKTOP_PROGRAM_H_
