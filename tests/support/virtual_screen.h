#ifndef TESTS_SUPPORT_VIRTUAL_SCREEN_H_
#define TESTS_SUPPORT_VIRTUAL_SCREEN_H_

#include <cstdlib>
#include <string>

#include "program.h"

namespace lumivex::test {

// An X server without a monitor, for this process and those that it starts: DISPLAY names it from
// here on. It ends with the object, or with the thread that made it.
class VirtualScreen {
 public:
  VirtualScreen(int width, int height)
      // The server picks a free display number and reports it.
      : server_("Xvfb",
                {"-displayfd", "1", "-screen", "0",
                 std::to_string(width) + "x" + std::to_string(height) + "x24", "-nolisten", "tcp",
                 "-noreset"}) {
    const std::string number = server_.ReadLine();
    works_ = !number.empty();
    if (works_) {
      setenv("DISPLAY", (":" + number.substr(0, number.find('\n'))).c_str(), 1);
    }
  }

  // False if there is no Xvfb or it does not start.
  bool works() const { return works_; }

 private:
  Program server_;
  bool works_ = false;
};

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_VIRTUAL_SCREEN_H_
