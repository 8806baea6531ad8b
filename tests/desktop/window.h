#ifndef TESTS_DESKTOP_WINDOW_H_
#define TESTS_DESKTOP_WINDOW_H_

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

#include "program.h"

namespace lumivex::test {

// A running lumivex-desktop and all processes that it starts; killed with the object.
class Window : public Program {
 public:
  explicit Window(const std::vector<std::string>& arguments)
      : Program(LUMIVEX_DESKTOP, arguments) {}
  ~Window();

  // Waits until the page's console has a message that begins like this, after the one that the last
  // call found, and returns the rest of that line. Fails the test when it does not come.
  std::string WaitForLine(const std::string& beginning);
  // The program's own folder under /tmp.
  std::string SessionFolder() const;

  // The processes in which the plug-in is loaded, now.
  std::vector<pid_t> PluginProcesses() const;
  // The names of a process's threads.
  static std::vector<std::string> Threads(pid_t process);
  // True when all descendants that were seen at a line or an end have ended, within some seconds.
  bool NothingIsLeft();

 private:
  std::set<pid_t> noted_;  // descendants
};

}  // namespace lumivex::test

#endif  // TESTS_DESKTOP_WINDOW_H_
