#ifndef BENCH_ENGINE_SRC_VIRTUAL_SCREEN_H_
#define BENCH_ENGINE_SRC_VIRTUAL_SCREEN_H_

#include <sys/types.h>

namespace lumivex::bench {

// An X server without a monitor, which DISPLAY names while this object lives.
class VirtualScreen {
 public:
  VirtualScreen();
  ~VirtualScreen();
  VirtualScreen(const VirtualScreen&) = delete;
  VirtualScreen& operator=(const VirtualScreen&) = delete;

  bool works() const { return works_; }

 private:
  pid_t server_ = -1;
  bool works_ = false;
};

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_VIRTUAL_SCREEN_H_
