#ifndef PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_
#define PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <mutex>

#include "gst_ptr.h"

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
class VideoWindow {
 public:
  // Null without a display (DISPLAY unset or not answering) and when `parent` is no window there.
  static std::unique_ptr<VideoWindow> Create(int parent, const Rect& place);
  ~VideoWindow();
  VideoWindow(const VideoWindow&) = delete;
  VideoWindow& operator=(const VideoWindow&) = delete;

  // Called once. A sink that draws into this window, with a floating reference; null when there is
  // none.
  GstElement* MakeSink();
  // The picture fills the rectangle, from the next picture on; an empty one hides it. What lies
  // outside the window around it, as large as that is now, is not drawn.
  void Place(const Rect& place);

 private:
  explicit VideoWindow(xcb_window_t parent);
  static GstPadProbeReturn OnEvent(GstPad* pad, GstPadProbeInfo* info, void* self);
  void Crop(const GstCaps* caps);
  void SetSize();

  xcb_connection_t* const connection_;
  const xcb_window_t parent_;
  const xcb_window_t window_;
  ElementPtr crop_;
  ElementPtr size_;
  ElementPtr sink_;
  std::mutex mutex_;  // guards the following against GStreamer's threads
  Rect place_ = {0, 0, 1, 1};
  std::uint32_t width_ = 1;  // of what is visible
  std::uint32_t height_ = 1;
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_VIDEO_WINDOW_H_
