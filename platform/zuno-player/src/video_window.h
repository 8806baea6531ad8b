#ifndef PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_
#define PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_

#include <gst/gst.h>

#include <cstdint>
#include <memory>

namespace zuno {

// In pixels, relative to the window that the picture is shown in.
struct Rect {
  std::uint32_t x;
  std::uint32_t y;
  std::uint32_t width;
  std::uint32_t height;
};

// A child window for the picture, inside a window of somebody else's. It exists as long as the
// object, so that nothing stays on the screen; a pipeline that draws into it must end before it.
// Takes no lock.
class VideoWindow {
 public:
  // Null without a display (DISPLAY unset or not answering), when the library was built without
  // X11, and when `parent` is no window there.
  static std::unique_ptr<VideoWindow> Create(int parent, const Rect& place);
  virtual ~VideoWindow() = default;

  // Called once. A sink that draws into this window, with a floating reference; null when there is
  // none.
  virtual GstElement* MakeSink() = 0;
  // The picture fills the rectangle, from the next picture on; an empty one hides it. What lies
  // outside the window around it, as large as that is now, is not drawn.
  virtual void Place(const Rect& place) = 0;
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_
