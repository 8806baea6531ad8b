#include "screen.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "wait_until.h"

namespace {

constexpr int kTolerance = 40;  // for each part of a colour

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> Own(Reply* reply) {
  return {reply, &std::free};
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
