#include <X11/Xlib.h>
#include <gst/video/videooverlay.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <set>

#include "gst_ptr.h"
#include "video_window.h"

// The window is made and moved over a connection of its own with xcb, whose errors are answers. The
// sink draws over a connection that GStreamer opens with Xlib, whose errors end the process unless
// somebody handles them: the window of somebody else's that the picture is in can go away at any
// time, and the sink then draws into nothing.

namespace zuno {
namespace {

// The server's coordinates are 16 bits wide and signed.
constexpr std::uint32_t kMaxCoordinate = 32767;

class ErrorFilter {
 public:
  // Errors about this window are ignored from now on.
  static void Add(xcb_window_t window) {
    const std::lock_guard<std::mutex> lock(Mutex());
    Windows().insert(window);
    // Others may have set a handler of their own since the last time.
    const XErrorHandler previous = XSetErrorHandler(Handle);
    if (previous != Handle) {
      Previous() = previous;
    }
  }
  static void Remove(xcb_window_t window) {
    const std::lock_guard<std::mutex> lock(Mutex());
    Windows().erase(window);
  }

 private:
  static int Handle(Display* display, XErrorEvent* error) {
    XErrorHandler previous = nullptr;
    {
      const std::lock_guard<std::mutex> lock(Mutex());
      if (Windows().count(static_cast<xcb_window_t>(error->resourceid)) != 0) {
        return 0;
      }
      previous = Previous();
    }
    return previous == nullptr ? 0 : previous(display, error);
  }

  // Never destroyed: the handler stays installed until the process ends.
  static std::mutex& Mutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
  }
  static std::set<xcb_window_t>& Windows() {
    static auto* const windows = new std::set<xcb_window_t>;
    return *windows;
  }
  static XErrorHandler& Previous() {
    static XErrorHandler previous = nullptr;
    return previous;
  }
};

class X11VideoWindow final : public VideoWindow {
 public:
  X11VideoWindow(xcb_connection_t* connection, xcb_window_t window)
      : connection_(connection), window_(window) {
    ErrorFilter::Add(window_);
  }
  ~X11VideoWindow() override {
    ErrorFilter::Remove(window_);
    xcb_destroy_window(connection_, window_);
    xcb_flush(connection_);
    xcb_disconnect(connection_);
  }
  X11VideoWindow(const X11VideoWindow&) = delete;
  X11VideoWindow& operator=(const X11VideoWindow&) = delete;

  GstElement* MakeSink() override {
    // The scaler is told which size to make: left alone it keeps the video's shape.
    GstElement* bin = gst_bin_new(nullptr);
    GstElement* converter = gst_element_factory_make("videoconvert", nullptr);
    GstElement* scaler = gst_element_factory_make("videoscale", nullptr);
    GstElement* size = gst_element_factory_make("capsfilter", nullptr);
    GstElement* sink = gst_element_factory_make("ximagesink", nullptr);
    if (converter == nullptr || scaler == nullptr || size == nullptr || sink == nullptr) {
      for (GstElement* element : {bin, converter, scaler, size, sink}) {
        gst_clear_object(&element);
      }
      return nullptr;
    }
    g_object_set(scaler, "add-borders", FALSE, nullptr);
    // A picture of the old size that is on its way must not be refused.
    gst_util_set_object_arg(G_OBJECT(size), "caps-change-mode", "delayed");
    // Keys and clicks are left to the window around it.
    g_object_set(sink, "force-aspect-ratio", FALSE, "handle-events", FALSE, nullptr);
    gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(sink), window_);
    gst_bin_add_many(GST_BIN(bin), converter, scaler, size, sink, nullptr);
    gst_element_link_many(converter, scaler, size, sink, nullptr);
    const PadPtr pad(gst_element_get_static_pad(converter, "sink"));
    gst_element_add_pad(bin, gst_ghost_pad_new("sink", pad.get()));
    sink_.reset(GST_ELEMENT(gst_object_ref(sink)));
    size_.reset(GST_ELEMENT(gst_object_ref(size)));
    SetSize();
    return bin;
  }

  void Place(const Rect& place) override {
    if (place.width == 0 || place.height == 0) {
      xcb_unmap_window(connection_, window_);
    } else {
      const std::uint32_t values[] = {
          std::min(place.x, kMaxCoordinate), std::min(place.y, kMaxCoordinate),
          std::min(place.width, kMaxCoordinate), std::min(place.height, kMaxCoordinate)};
      xcb_configure_window(connection_, window_,
                           XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                               XCB_CONFIG_WINDOW_HEIGHT,
                           values);
      xcb_map_window(connection_, window_);
      width_ = static_cast<int>(values[2]);
      height_ = static_cast<int>(values[3]);
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

 private:
  void SetSize() {
    GstCaps* caps = gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, width_, "height",
                                        G_TYPE_INT, height_, nullptr);
    g_object_set(size_.get(), "caps", caps, nullptr);
    gst_caps_unref(caps);
  }

  int width_ = 1;
  int height_ = 1;
  ElementPtr size_;
  xcb_connection_t* const connection_;
  const xcb_window_t window_;
  ElementPtr sink_;
};

}  // namespace

std::unique_ptr<VideoWindow> VideoWindow::Create(int parent, const Rect& place) {
  if (std::getenv("DISPLAY") == nullptr) {
    return nullptr;
  }
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const xcb_setup_t* setup =
      xcb_connection_has_error(connection) == 0 ? xcb_get_setup(connection) : nullptr;
  if (setup == nullptr || setup->roots_len == 0) {
    xcb_disconnect(connection);
    return nullptr;
  }
  // The sink draws with the screen's own format, whatever the format of the window around it.
  const xcb_screen_t* screen = xcb_setup_roots_iterator(setup).data;
  const std::uint32_t values[] = {screen->black_pixel, screen->black_pixel,
                                  screen->default_colormap};
  const xcb_window_t window = xcb_generate_id(connection);
  xcb_generic_error_t* error = xcb_request_check(
      connection, xcb_create_window_checked(
                      connection, screen->root_depth, window, static_cast<xcb_window_t>(parent), 0,
                      0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values));
  if (error != nullptr) {
    std::free(error);
    xcb_disconnect(connection);
    return nullptr;
  }
  auto video_window = std::make_unique<X11VideoWindow>(connection, window);
  video_window->Place(place);
  return video_window;
}

}  // namespace zuno
