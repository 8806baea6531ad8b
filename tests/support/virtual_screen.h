#ifndef TESTS_SUPPORT_VIRTUAL_SCREEN_H_
#define TESTS_SUPPORT_VIRTUAL_SCREEN_H_

#include <sys/types.h>

namespace lumivex::test {

// An X server without a monitor, for this process and those that it starts: DISPLAY names it from
// here on. It ends with the object, or with the thread that made it.
class VirtualScreen {
 public:
  VirtualScreen(int width, int height);
  ~VirtualScreen();
  VirtualScreen(const VirtualScreen&) = delete;
  VirtualScreen& operator=(const VirtualScreen&) = delete;

  // False if there is no Xvfb or it does not start.
  bool works() const { return works_; }

 private:
  pid_t server_ = -1;
  bool works_ = false;
};

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_VIRTUAL_SCREEN_H_
