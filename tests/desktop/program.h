#ifndef TESTS_DESKTOP_PROGRAM_H_
#define TESTS_DESKTOP_PROGRAM_H_

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

// A running lumivex-desktop and all processes that it starts; killed with the object.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Waits until the page's console has a message that begins like this, after the one that the last
  // call found, and returns the rest of that line. Fails the test when it does not come.
  std::string WaitForLine(const std::string& beginning);
  // The exit status, or -1 when it does not end in time.
  int WaitForEnd(std::chrono::seconds limit = std::chrono::seconds(60));
  void Signal(int signal);
  // The program's own folder under /tmp.
  std::string SessionFolder() const;
  std::string output() const;
  std::string errors() const;

  // The processes in which the plug-in is loaded, now.
  std::vector<pid_t> PluginProcesses() const;
  // The names of a process's threads.
  static std::vector<std::string> Threads(pid_t process);
  // True when all descendants that were ever seen have ended, within some seconds.
  bool NothingIsLeft();
  // Notes the descendants for NothingIsLeft.
  void NoteProcesses();

 private:
  pid_t pid_ = -1;
  bool ended_ = false;
  int status_ = -1;
  std::size_t found_ = 0;     // in the output: where the next search begins
  std::vector<pid_t> noted_;  // descendants
  std::string output_ = testing::TempDir() + "lumivex-output.XXXXXX";  // files
  std::string errors_ = testing::TempDir() + "lumivex-errors.XXXXXX";
};

#endif  // TESTS_DESKTOP_PROGRAM_H_
