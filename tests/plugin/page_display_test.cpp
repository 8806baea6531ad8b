// Fitting the video into the area that the page asks for.

#include <algorithm>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

struct Area {
  uint32_t x, y, width, height;
};

class DisplayArea : public PluginTest {
 protected:
  static std::string Text(const Area& area) {
    return std::to_string(area.x) + ", " + std::to_string(area.y) + ", " +
           std::to_string(area.width) + ", " + std::to_string(area.height);
  }

  // What the command does in the end: nothing, or the area that it shows in.
  std::string Shown(const Area& asked, const char* mode) {
    const Outcome outcome = Ask(asked, mode);
    const auto call = std::find_if(
        outcome.journal.begin(), outcome.journal.end(),
        [](const std::string& line) { return line.compare(0, 10, "player 75(") == 0; });
    EXPECT_EQ(outcome.reply, Ok(call == outcome.journal.end() ? "false" : "true"));
    return call == outcome.journal.end() ? "" : *call;
  }
  static std::string Call(const Area& area) {
    std::string words;
    for (const uint32_t value : {area.x, area.y, area.width, area.height}) {
      words += " " + std::to_string(static_cast<int32_t>(value));
    }
    return "player 75(0, display_area:" + words + " (16))";
  }

  Outcome Ask(const Area& area, const char* mode) {
    const auto number = [](uint32_t value) { return std::to_string(static_cast<int32_t>(value)); };
    return Run(R"({"command": "SetDisplayArea", "x": )" + number(area.x) + R"(, "y": )" +
               number(area.y) + R"(, "width": )" + number(area.width) + R"(, "height": )" +
               number(area.height) + mode + "}");
  }
};

constexpr char kKeepAspect[] = R"(, "scalingMode": 0)";

TEST_F(DisplayArea, IsFittedToTheVideo) {
  Open();
  const struct {
    Area asked;
    int width, height;
    Area given;
  } kCases[] = {
      {{0, 0, 1920, 1080}, 1280, 720, {0, 0, 1920, 1080}},
      {{0, 0, 1920, 1080}, 640, 480, {240, 0, 1440, 1080}},
      {{100, 50, 800, 600}, 1920, 1080, {100, 125, 800, 450}},
      {{0, 0, 1920, 1080}, 1920, 800, {0, 140, 1920, 799}},
      {{0, 0, 1366, 768}, 1920, 1080, {0, 0, 1365, 768}},
      {{0, 0, 1280, 720}, 720, 576, {190, 0, 900, 720}},
      {{0, 0, 1920, 0}, 1280, 720, {960, 0, 0, 0}},
      {{0, 0, 0, 0}, 1280, 720, {0, 0, 0, 0}},
      {{5, 6, 0, 1080}, 1280, 720, {5, 546, 0, 0}},
      {{0, 0, 3840, 1728}, 1280, 576, {0, 0, 3840, 1728}},  // of its own shape: the width is fitted
      {{0, 0, 100, UINT32_MAX}, 1280, 720, {0, 2147483619, 100, 56}},  // half of more than an int
      {{UINT32_MAX, 0, 100, 100}, 50, 100, {24, 0, 50, 100}},          // x runs over
      {{0, 0, UINT32_MAX, UINT32_MAX}, 1, 1, {0, 0, UINT32_MAX, UINT32_MAX}},  // rounded up, beyond
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(Text(row.asked));
    stage_.player.width = row.width;
    stage_.player.height = row.height;
    EXPECT_EQ(Shown(row.asked, kKeepAspect), Call(row.given));
  }
}

TEST_F(DisplayArea, OnlyModeZeroFits) {
  Open();
  stage_.player.width = 640;
  stage_.player.height = 480;
  const Area area = {0, 0, 1920, 1080};
  for (const char* mode : {"", R"(, "scalingMode": 1)", R"(, "scalingMode": -1)",
                           R"(, "scalingMode": 1.9)", R"(, "scalingMode": 2)"}) {
    EXPECT_EQ(Shown(area, mode), Call(area)) << mode;
  }
  // What is no number reads as 0.
  for (const char* mode : {kKeepAspect, R"(, "scalingMode": "1")", R"(, "scalingMode": null)",
                           R"(, "scalingMode": 0.9)"}) {
    EXPECT_EQ(Shown(area, mode), Call({240, 0, 1440, 1080})) << mode;
  }
  // A video without a size is not shown.
  const std::pair<int, int> kSizes[] = {{0, 720}, {1280, 0}, {-1, -1}, {1280, -720}};
  for (const auto& [width, height] : kSizes) {
    stage_.player.width = width;
    stage_.player.height = height;
    EXPECT_EQ(Shown(area, kKeepAspect), "") << width << " x " << height;
  }
}

}  // namespace
}  // namespace lumivex::test
