#ifndef TESTS_DESKTOP_SCREEN_H_
#define TESTS_DESKTOP_SCREEN_H_

#include <array>
#include <string>
#include <vector>

#include "virtual_screen.h"

struct _XDisplay;

namespace lumivex::test {

// A virtual screen of 1920 by 1080 of its own, and what can be seen on it. Becomes this process's
// DISPLAY, and that of the processes it starts; ends with the object.
class Screen {
 public:
  static constexpr int kWidth = 1920;
  static constexpr int kHeight = 1080;

  using Color = std::array<int, 3>;   // red, green, blue
  using Bounds = std::array<int, 4>;  // x, y, width, height
  struct Spot {
    int x;
    int y;
    Color color;
  };

  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // The points that do not show their colours, give or take what a video codec does to a colour;
  // empty as soon as all do, within some seconds.
  std::string Difference(const std::vector<Spot>& spots) const;
  // The mapped windows inside the windows of the screen.
  std::vector<Bounds> InnerWindows() const;

 private:
  Color At(int x, int y) const;

  VirtualScreen server_{kWidth, kHeight};
  _XDisplay* display_ = nullptr;
};

}  // namespace lumivex::test

#endif  // TESTS_DESKTOP_SCREEN_H_
