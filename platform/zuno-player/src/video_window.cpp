#include "video_window.h"

#include <X11/Xlib.h>
#include <gst/video/video.h>
#include <gst/video/videooverlay.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

// The window is made and moved over a connection of its own with xcb, whose errors are answers. The
// sink draws over a connection that GStreamer opens with Xlib, whose errors end the process unless
// somebody handles them: the window of somebody else's that the picture is in can go away at any
// time, and the sink then draws into nothing.

namespace zuno {
namespace {

std::atomic<XErrorHandler> previous_handler{nullptr};

int HandleError(Display* display, XErrorEvent* error) {
  const bool has_gone = error->error_code == BadWindow || error->error_code == BadDrawable;
  const XErrorHandler previous = previous_handler;
  return has_gone || previous == nullptr ? 0 : previous(display, error);
}

// How much of a stretch lies before the end.
std::uint32_t Inside(std::uint32_t begin, std::uint32_t length, std::uint32_t end) {
  return begin < end ? std::min(length, end - begin) : 0;
}

// How much of a picture's edge to cut off; at least one pixel stays.
int CutOff(int length, std::uint32_t visible, std::uint32_t whole) {
  return length - std::max(1, static_cast<int>(std::int64_t{length} * visible / whole));
}

}  // namespace

VideoWindow::VideoWindow(xcb_window_t parent)
    : connection_(xcb_connect(nullptr, nullptr)),
      parent_(parent),
      window_(xcb_generate_id(connection_)) {}

VideoWindow::~VideoWindow() {
  xcb_destroy_window(connection_, window_);
  xcb_flush(connection_);
  xcb_disconnect(connection_);
}

std::unique_ptr<VideoWindow> VideoWindow::Create(int parent, const Rect& place) {
  std::unique_ptr<VideoWindow> window(new VideoWindow(static_cast<xcb_window_t>(parent)));
  xcb_connection_t* connection = window->connection_;
  if (xcb_connection_has_error(connection) != 0) {
    return nullptr;
  }
  // The sink draws with the screen's own format, whatever the format of the window around it.
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const std::uint32_t values[] = {screen->black_pixel, screen->black_pixel,
                                  screen->default_colormap};
  xcb_generic_error_t* error = xcb_request_check(
      connection,
      xcb_create_window_checked(connection, screen->root_depth, window->window_, window->parent_, 0,
                                0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                                XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values));
  if (error != nullptr) {
    std::free(error);
    return nullptr;
  }
  // Others may have set a handler of their own since the last time.
  const XErrorHandler previous = XSetErrorHandler(HandleError);
  if (previous != HandleError) {
    previous_handler = previous;
  }
  window->Place(place);
  return window;
}

GstElement* VideoWindow::MakeSink() {
  // The scaler is told which size to make: left alone it keeps the video's shape. A picture of
  // the old size that is on its way must not be refused. Keys and clicks are left to the window
  // around.
  GstElement* bin = gst_parse_bin_from_description_full(
      "videoconvert ! videoflip video-direction=auto ! videocrop name=crop "
      "! videoscale add-borders=false ! capsfilter name=size caps-change-mode=delayed "
      "! ximagesink name=sink force-aspect-ratio=false handle-events=false",
      TRUE, nullptr, GST_PARSE_FLAG_FATAL_ERRORS, nullptr);
  if (bin == nullptr) {
    return nullptr;
  }
  crop_.reset(gst_bin_get_by_name(GST_BIN(bin), "crop"));
  size_.reset(gst_bin_get_by_name(GST_BIN(bin), "size"));
  sink_.reset(gst_bin_get_by_name(GST_BIN(bin), "sink"));
  gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(sink_.get()), window_);
  const PadPtr pad(gst_element_get_static_pad(crop_.get(), "sink"));
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, OnEvent, this, nullptr);
  SetSize();
  return bin;
}

void VideoWindow::Place(const Rect& place) {
  xcb_get_geometry_reply_t* around =
      xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, parent_), nullptr);
  if (around == nullptr) {
    return;  // it has gone, and this window with it
  }
  const std::uint32_t width = Inside(place.x, place.width, around->width);
  const std::uint32_t height = Inside(place.y, place.height, around->height);
  std::free(around);
  if (width == 0 || height == 0) {
    xcb_unmap_window(connection_, window_);
  } else {
    const std::uint32_t values[] = {place.x, place.y, width, height};
    xcb_configure_window(connection_, window_,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values);
    xcb_map_window(connection_, window_);
    const std::lock_guard<std::mutex> lock(mutex_);
    place_ = place;
    width_ = width;
    height_ = height;
  }
  // Waits for the server, so that the sink finds the window as it is now.
  std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  if (sink_ != nullptr) {
    SetSize();
    // Without events of its own the sink looks at its window only when told to, and does not ask
    // for pictures of the new size.
    gst_video_overlay_expose(GST_VIDEO_OVERLAY(sink_.get()));
    const PadPtr pad(gst_element_get_static_pad(sink_.get(), "sink"));
    gst_pad_push_event(pad.get(), gst_event_new_reconfigure());
  }
}

// On a thread of GStreamer's, which know the picture's size first.
GstPadProbeReturn VideoWindow::OnEvent(GstPad* /*pad*/, GstPadProbeInfo* info, void* self) {
  GstEvent* event = gst_pad_probe_info_get_event(info);
  if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    static_cast<VideoWindow*>(self)->Crop(caps);
  }
  return GST_PAD_PROBE_OK;
}

void VideoWindow::Crop(const GstCaps* caps) {
  const std::lock_guard<std::mutex> lock(mutex_);
  GstVideoInfo video;
  if (caps != nullptr && gst_video_info_from_caps(&video, caps) != FALSE) {
    g_object_set(crop_.get(), "right", CutOff(video.width, width_, place_.width), "bottom",
                 CutOff(video.height, height_, place_.height), nullptr);
  }
}

void VideoWindow::SetSize() {
  const CapsPtr size(gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT,
                                         static_cast<int>(width_), "height", G_TYPE_INT,
                                         static_cast<int>(height_), nullptr));
  g_object_set(size_.get(), "caps", size.get(), nullptr);
  const PadPtr pad(gst_element_get_static_pad(crop_.get(), "sink"));
  const CapsPtr video(gst_pad_get_current_caps(pad.get()));
  Crop(video.get());
}

}  // namespace zuno
