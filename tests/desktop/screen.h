#ifndef TESTS_DESKTOP_SCREEN_H_
#define TESTS_DESKTOP_SCREEN_H_

#include <xcb/xcb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "virtual_screen.h"

// A virtual screen of 1920 by 1080 of its own, and what can be seen on it. Becomes this process's
// DISPLAY, and that of the processes it starts; ends with the object.
class Screen {
 public:
  static constexpr int kWidth = 1920;
  static constexpr int kHeight = 1080;

  struct Color {
    int red;
    int green;
    int blue;
  };

  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // What is shown at this point now.
  Color At(int x, int y) const;
  // True when, within some seconds, the points in a row all show these colours, give or take what
  // a video codec does to a colour.
  struct Spot {
    int x;
    int y;
    Color color;
  };
  bool Shows(const std::vector<Spot>& spots) const;
  // How the points look now, for a test's message.
  std::string Describe(const std::vector<Spot>& spots) const;
  // The mapped windows inside the windows of the screen that have these bounds.
  struct Bounds {
    int x;
    int y;
    int width;
    int height;
  };
  int CountInnerWindows(const Bounds& bounds) const;
  int CountInnerWindows() const;

 private:
  std::vector<Bounds> InnerWindows() const;

  lumivex::test::VirtualScreen server_{kWidth, kHeight};
  xcb_connection_t* connection_ = nullptr;
  xcb_window_t root_ = 0;
};

#endif  // TESTS_DESKTOP_SCREEN_H_
