// The picture in a window, on a virtual screen of the test's own.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <xcb/xcb.h>

#include "player_harness.h"
#include "virtual_screen.h"
#include "wait_until.h"

namespace {

constexpr std::uint32_t kPageColor = 0x305070;
constexpr std::uint32_t kWidth = 1280;
constexpr std::uint32_t kHeight = 720;
constexpr const char* kNoName = nullptr;

struct Rect {
  std::uint32_t x, y, width, height;
};

// A plain window in one colour: the page.
class Page {
 public:
  Page() {
    static const lumivex::test::VirtualScreen screen(kWidth, kHeight);
    EXPECT_TRUE(screen.works());
    connection_ = xcb_connect(nullptr, nullptr);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    Open();
  }
  ~Page() { xcb_disconnect(connection_); }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  void Open() {
    window_ = xcb_generate_id(connection_);
    const std::uint32_t color = kPageColor;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root, 0, 0, kWidth,
                      kHeight, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                      XCB_CW_BACK_PIXEL, &color);
    xcb_map_window(connection_, window_);
    Children();  // waits for the server, so that others find the window
  }
  void Close() {
    xcb_destroy_window(connection_, window_);
    xcb_flush(connection_);
  }
  std::int32_t id() const { return static_cast<std::int32_t>(window_); }

  // What the screen shows there, as 0xRRGGBB; around it is nothing but the page.
  std::uint32_t At(std::uint32_t x, std::uint32_t y) const {
    if (x >= kWidth || y >= kHeight) {
      return kPageColor;
    }
    xcb_get_image_reply_t* reply = xcb_get_image_reply(
        connection_,
        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U),
        nullptr);
    if (reply == nullptr) {
      return ~0U;
    }
    const std::uint8_t* pixel = xcb_get_image_data(reply);
    const std::uint32_t color = static_cast<std::uint32_t>(pixel[2]) << 16U |
                                static_cast<std::uint32_t>(pixel[1]) << 8U | pixel[0];
    std::free(reply);
    return color;
  }

  // The names of the colours in the middles of the clip's seven columns, or rows.
  std::string Bars(const Rect& rect, bool turned = false) const {
    std::string bars;
    for (std::uint32_t middle = 1; middle < 14; middle += 2) {
      const std::uint32_t color =
          turned ? At(rect.x + rect.width * 3 / 4, rect.y + rect.height * middle / 14)
                 : At(rect.x + rect.width * middle / 14, rect.y + rect.height / 4);
      const auto is_on = [color](unsigned int shift) { return ((color >> shift) & 0xFFU) > 127U; };
      bars += "kbgcrmyw"[(is_on(16) ? 4 : 0) + (is_on(8) ? 2 : 0) + (is_on(0) ? 1 : 0)];
    }
    return bars;
  }

  int Children() const {
    xcb_query_tree_reply_t* reply =
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window_), nullptr);
    const int count = reply == nullptr ? -1 : reply->children_len;
    std::free(reply);
    return count;
  }

  // Waits until the picture fills exactly this rectangle, as far as it lies inside.
  bool Shows(const Rect& rect, const std::string& bars = "wycgmrb") const {
    const std::uint32_t right = rect.x + rect.width;
    const std::uint32_t middle = rect.y + rect.height / 4;
    return WaitUntil(Patience(2000), [&] {
      return Bars(rect) == bars && At(rect.x - 2, middle) == kPageColor &&
             At(right + 1, middle) == kPageColor && At(rect.x + 2, rect.y - 2) == kPageColor &&
             At(rect.x + 2, middle) != kPageColor &&
             At(std::min(right, kWidth) - 3, middle) != kPageColor &&
             At(rect.x + 2, rect.y + rect.height + 1) == kPageColor;
    });
  }

  // Waits until no picture covers the page there.
  bool ShowsItselfAt(std::uint32_t x, std::uint32_t y) const {
    return WaitUntil(Patience(500), [&] { return At(x, y) == kPageColor; });
  }

 private:
  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
  xcb_window_t window_ = 0;
};

bool SetDisplay(const Rig& rig, std::int32_t window, const Rect& rect) {
  return rig.player->SetAttribute(0, "wayland_rect", &rect, 16, "display_handler", &window, 4,
                                  kNoName);
}

bool SetArea(const Rig& rig, const Rect& rect) {
  return rig.player->SetAttribute(0, "display_area", &rect, 16, kNoName);
}

TEST(Window, ThePictureFollowsTheRectangle) {
  const Page page;
  Rig rig;
  const Rect first = {100, 50, 420, 240};
  ASSERT_TRUE(SetDisplay(rig, page.id(), first));
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  EXPECT_TRUE(page.Shows(first)) << page.Bars(first);
  for (const bool paused : {false, true}) {
    EXPECT_EQ(paused, paused && rig.player->Pause());
    for (const Rect rect : {Rect{600, 300, 640, 360}, {10, 400, 350, 300}, {2, 2, 1276, 716}}) {
      ASSERT_TRUE(SetArea(rig, rect));
      EXPECT_TRUE(page.Shows(rect)) << rect.x << ": " << page.Bars(rect);
    }
  }
  ASSERT_TRUE(rig.player->Resume());
  ASSERT_TRUE(SetArea(rig, {100, 100, 0, 100}));
  EXPECT_TRUE(page.ShowsItselfAt(200, 120));
  ASSERT_TRUE(SetArea(rig, first));
  EXPECT_TRUE(page.Shows(first));
  EXPECT_EQ(std::pair(640, 360), rig.Resolution());  // the medium's, not the window's
  EXPECT_EQ(1U, rig.recorder.Notes(kResolution).size());
  // What lies outside is not drawn; "k" is the page's own colour.
  EXPECT_TRUE(SetArea(rig, {640, 100, 1280, 1000}));
  EXPECT_TRUE(page.Shows({640, 100, 1280, 1000}, "wyckkkk"));
  EXPECT_TRUE(SetArea(rig, {1, 1, 100000, 100000}));
  EXPECT_TRUE(WaitUntil(Patience(2000), [&] {
    return page.Bars({0, 710, kWidth, 9}) == "wwwwwww";
  }));
  EXPECT_TRUE(SetArea(rig, {~0U, ~0U, ~0U, ~0U}));
  EXPECT_TRUE(page.ShowsItselfAt(10, 10));
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  EXPECT_LT(usage.ru_maxrss, 500 << 10);
  EXPECT_TRUE(rig.recorder.Errors().empty());
  // A picture on its side, of pixels that are not square.
  ASSERT_TRUE(rig.PlayFile(Media("turned.mp4")) && SetArea(rig, first));
  EXPECT_TRUE(WaitUntil(Patience(2000), [&] { return page.Bars(first, true) == "wycgmrb"; }));
  EXPECT_EQ(std::pair(240, 640), rig.Resolution());
}

TEST(Window, NothingIsLeftOnTheScreen) {
  const Page page;
  const Rect rect = {100, 50, 420, 240};
  const std::function<void(Rig*)> ends[] = {
      [](Rig* s) { s->player->Stop(); },
      [](Rig* s) { s->player.reset(); },
      [](Rig* s) { s->player->InitPlayer("/nonexistent", 0); },
  };
  for (const auto& end : ends) {
    Rig rig;
    ASSERT_TRUE(SetDisplay(rig, page.id(), rect));
    ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
    ASSERT_TRUE(page.Shows(rect)) << page.Bars(rect);
    end(&rig);
    EXPECT_EQ(0, page.Children());
    EXPECT_TRUE(page.ShowsItselfAt(300, 150));
  }
}

TEST(Window, AWindowThatIsNotThereDoesNoHarm) {
  Page page;
  Rig rig;
  for (const std::int32_t window : {0, -1, 1, 0x7FFFFFFF}) {
    ASSERT_TRUE(SetDisplay(rig, window, {0, 0, 320, 200}));
    ASSERT_TRUE(rig.PlayFile(Media("clip.webm"))) << window;
  }
  ASSERT_TRUE(SetDisplay(rig, page.id(), {100, 50, 420, 240}));
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  ASSERT_TRUE(page.Shows({100, 50, 420, 240}));
  page.Close();
  SleepFor(500);
  EXPECT_TRUE(SetArea(rig, {0, 0, 200, 100}));
  SleepFor(300);
  EXPECT_TRUE(rig.player->Stop());
  page.Open();
  ASSERT_TRUE(SetDisplay(rig, page.id(), {100, 50, 420, 240}));
  ASSERT_TRUE(rig.PlayFile(Media("clip.webm")));
  EXPECT_TRUE(page.Shows({100, 50, 420, 240}));
}

}  // namespace
