#include "screen.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>

#include "wait_until.h"

namespace {

constexpr int kTolerance = 40;  // for each part of a colour

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> Own(Reply* reply) {
  return {reply, &std::free};
}

bool IsNear(const Screen::Color& one, const Screen::Color& other) {
  return std::abs(one.red - other.red) <= kTolerance &&
         std::abs(one.green - other.green) <= kTolerance &&
         std::abs(one.blue - other.blue) <= kTolerance;
}

}  // namespace

Screen::Screen() {
  if (!server_.works()) {
    throw std::runtime_error("Xvfb does not start");
  }
  connection_ = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(connection_) != 0) {
    throw std::runtime_error("Xvfb does not answer");
  }
  root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

Screen::~Screen() {
  xcb_disconnect(connection_);
}

Screen::Color Screen::At(int x, int y) const {
  const auto reply = Own(xcb_get_image_reply(
      connection_,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), 1, 1, ~0U),
      nullptr));
  if (reply == nullptr) {
    return {-1, -1, -1};
  }
  const std::uint8_t* pixel = xcb_get_image_data(reply.get());
  return {pixel[2], pixel[1], pixel[0]};
}

bool Screen::Shows(const std::vector<Spot>& spots) const {
  return WaitUntil(std::chrono::seconds(8), [&] {
    for (const Spot& spot : spots) {
      if (!IsNear(At(spot.x, spot.y), spot.color)) {
        return false;
      }
    }
    return true;
  });
}

std::string Screen::Describe(const std::vector<Spot>& spots) const {
  std::string text;
  for (const Spot& spot : spots) {
    const Color seen = At(spot.x, spot.y);
    text += "(" + std::to_string(spot.x) + ", " + std::to_string(spot.y) + ") is " +
            std::to_string(seen.red) + " " + std::to_string(seen.green) + " " +
            std::to_string(seen.blue) + ", should be " + std::to_string(spot.color.red) + " " +
            std::to_string(spot.color.green) + " " + std::to_string(spot.color.blue) + "\n";
  }
  return text;
}

std::vector<Screen::Bounds> Screen::InnerWindows() const {
  std::vector<Bounds> bounds;
  const std::function<void(xcb_window_t, bool)> visit = [&](xcb_window_t window, bool inner) {
    const auto tree =
        Own(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (tree == nullptr) {
      return;
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
      const auto attributes = Own(xcb_get_window_attributes_reply(
          connection_, xcb_get_window_attributes(connection_, children[i]), nullptr));
      if (attributes == nullptr || attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
        continue;
      }
      const auto place = Own(
          xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, children[i]), nullptr));
      if (inner && place != nullptr) {
        bounds.push_back({place->x, place->y, place->width, place->height});
      }
      visit(children[i], true);
    }
  };
  visit(root_, false);
  return bounds;
}

int Screen::CountInnerWindows(const Bounds& bounds) const {
  int count = 0;
  for (const Bounds& found : InnerWindows()) {
    count += found.x == bounds.x && found.y == bounds.y && found.width == bounds.width &&
                     found.height == bounds.height
                 ? 1
                 : 0;
  }
  return count;
}

int Screen::CountInnerWindows() const {
  return static_cast<int>(InnerWindows().size());
}
