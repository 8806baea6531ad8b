// Fitting the video into the area that the page asks for.

#include <algorithm>
#include <cmath>
#include <random>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

struct Area {
  uint32_t x, y, width, height;
};

// The same in double precision, rounded to single after each step: what a single operation on
// singles gives, since a double holds more than twice their digits.
float Rounded(double value) {
  return static_cast<float>(value);
}

uint32_t Whole(float value) {
  return value >= 4294967296.0F ? UINT32_MAX : static_cast<uint32_t>(std::floor(value));
}

Area Fitted(Area area, int video_width, int video_height) {
  const double w = Rounded(area.width);
  const double h = Rounded(area.height);
  const double shape = Rounded(double{Rounded(video_width)} / double{Rounded(video_height)});
  // Wider than an area without height is nothing; NaN, of an empty area, compares as false.
  if (shape > Rounded(w / h)) {
    const uint64_t fitted = Whole(Rounded(w / shape));
    const auto rest = static_cast<uint32_t>((uint64_t{1} << 32) + area.height - fitted);
    return {area.x, area.y + rest / 2, area.width, static_cast<uint32_t>(fitted)};
  }
  const uint64_t fitted = Whole(Rounded(shape * h));
  const auto rest = static_cast<uint32_t>((uint64_t{1} << 32) + area.width - fitted);
  return {area.x + rest / 2, area.y, static_cast<uint32_t>(fitted), area.height};
}

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
      {{UINT32_MAX, 0, 100, 100}, 50, 100, {24, 0, 50, 100}},                  // x runs over
      {{0, 0, UINT32_MAX, UINT32_MAX}, 1, 1, {0, 0, UINT32_MAX, UINT32_MAX}},  // rounded up, beyond
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(Text(row.asked));
    player_.width = row.width;
    player_.height = row.height;
    EXPECT_EQ(Shown(row.asked, kKeepAspect), Call(row.given));
  }
}

TEST_F(DisplayArea, OnlyModeZeroFits) {
  Open();
  player_.width = 640;
  player_.height = 480;
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
    player_.width = width;
    player_.height = height;
    EXPECT_EQ(Shown(area, kKeepAspect), "") << width << " x " << height;
  }
}

TEST_F(DisplayArea, FitsAnyAreaAsASeparateCalculationDoes) {
  Open();
  const int64_t vars = browser_->LiveVars();
  std::mt19937 random(20240607);
  const auto up_to = [&random](uint32_t most) {
    return std::uniform_int_distribution<uint32_t>(0, most)(random);
  };
  for (int i = 0; i < 3000; ++i) {
    const uint32_t most = i % 3 == 0 ? 20 : i % 3 == 1 ? 8000 : UINT32_MAX;
    Area area = {up_to(UINT32_MAX), up_to(8000), up_to(most), up_to(most)};
    player_.width = static_cast<int>(1 + up_to(i % 5 == 0 ? INT32_MAX - 1 : 8191));
    player_.height = static_cast<int>(1 + up_to(i % 7 == 0 ? INT32_MAX - 1 : 8191));
    if (i % 4 == 0) {  // areas of the video's own shape
      const uint32_t times = 1 + up_to(9);
      area.width = times * static_cast<uint32_t>(player_.width);
      area.height = times * static_cast<uint32_t>(player_.height);
    }
    ASSERT_EQ(Shown(area, kKeepAspect), Call(Fitted(area, player_.width, player_.height)))
        << Text(area) << " of " << player_.width << " x " << player_.height;
  }
  EXPECT_TRUE(page_->Settle());
  EXPECT_EQ(browser_->LiveVars(), vars);
}

}  // namespace
}  // namespace lumivex::test
