#include "screen.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <tuple>

#include "wait_until.h"

#include <X11/Xutil.h>  // last: its macros are common words

namespace lumivex::test {

namespace {

constexpr int kTolerance = 40;  // for each part of a colour

// Windows may go while they are looked at.
int Ignore(Display*, XErrorEvent*) {
  return 0;
}

}  // namespace

Screen::Screen() {
  display_ = server_.works() ? XOpenDisplay(nullptr) : nullptr;
  if (display_ == nullptr) {
    throw std::runtime_error("Xvfb does not start");
  }
  XSetErrorHandler(Ignore);
}

Screen::~Screen() {
  XCloseDisplay(display_);
}

Screen::Color Screen::At(int x, int y) const {
  XImage* const image =
      XGetImage(display_, DefaultRootWindow(display_), x, y, 1, 1, AllPlanes, ZPixmap);
  if (image == nullptr) {
    return {-1, -1, -1};
  }
  const auto color = static_cast<int>(XGetPixel(image, 0, 0));
  XDestroyImage(image);
  return {color >> 16 & 0xff, color >> 8 & 0xff, color & 0xff};
}

std::string Screen::Difference(const std::vector<Spot>& spots) const {
  std::string difference;
  WaitUntil(std::chrono::seconds(8), [&] {
    difference.clear();
    for (const auto& [x, y, wanted] : spots) {
      const Color seen = At(x, y);
      for (std::size_t part = 0; part < seen.size(); ++part) {
        if (std::abs(seen[part] - wanted[part]) > kTolerance) {
          difference += testing::PrintToString(std::tuple(x, y)) + " is " +
                        testing::PrintToString(seen) + ", not " + testing::PrintToString(wanted) +
                        "\n";
          break;
        }
      }
    }
    return difference.empty();
  });
  return difference;
}

std::vector<Screen::Bounds> Screen::InnerWindows() const {
  std::vector<Bounds> bounds;
  const std::function<void(Window, bool)> visit = [&](Window window, bool inner) {
    Window unused = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    XQueryTree(display_, window, &unused, &unused, &children, &count);
    for (unsigned int i = 0; i < count; ++i) {
      XWindowAttributes found = {};
      XGetWindowAttributes(display_, children[i], &found);
      if (found.map_state == IsViewable) {
        if (inner) {
          bounds.push_back({found.x, found.y, found.width, found.height});
        }
        visit(children[i], true);
      }
    }
    XFree(children);
  };
  visit(DefaultRootWindow(display_), false);
  return bounds;
}

}  // namespace lumivex::test
