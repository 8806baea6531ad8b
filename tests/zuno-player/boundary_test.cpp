// What callers may pass in: DRM properties and display attributes.
#include <gtest/gtest.h>

#include <cstring>

#include "player_harness.h"

namespace {

constexpr const char* kNoName = nullptr;

TEST(Boundary, DrmPropertiesAreAcceptedOrRefused) {
  struct Row {
    const char* what;
    std::string name;
    int name_length;  // -1: all of it
    const char* data;
    int data_length;
    int result;
  };
  const char license[] = "\0\1\2";
  const Row rows[] = {
      {"license", "PROPERTY_SET_DRM_LICENSE", -1, license, 3, 0},
      {"empty license", "PROPERTY_SET_DRM_LICENSE", -1, "", 0, 2},
      {"server", "PROPERTY_LICENSE_SERVER", -1, "http://127.0.0.1/license", 24, 0},
      {"server of another kind", "PROPERTY_LICENSE_SERVER", -1, "ftp://127.0.0.1/", 16, 2},
      {"server with NUL", "PROPERTY_LICENSE_SERVER", -1, "http://a\0b", 10, 2},
      {"cookie", "PROPERTY_WMDRM_COOKIE", -1, "a=b", 3, 0},
      {"empty cookie", "PROPERTY_WMDRM_COOKIE", -1, nullptr, 0, 0},
      {"cookie with NUL", "PROPERTY_WMDRM_COOKIE", -1, "a\0b", 3, 2},
      {"name goes on behind its length", "PROPERTY_WMDRM_COOKIExyz", 21, "a", 1, 0},
      {"name with its terminator", "PROPERTY_WMDRM_COOKIE", 22, "a", 1, 1},
      {"shortened name", "PROPERTY_WMDRM_COOKIE", 20, "a", 1, 1},
      {"unknown name", "PROPERTY_OTHER", -1, "a", 1, 1},
      {"other case", "property_wmdrm_cookie", -1, "a", 1, 1},
      {"no name", "", -1, "a", 1, 1},
      {"negative name length", "PROPERTY_WMDRM_COOKIE", -2, "a", 1, 1},
      {"negative data length", "PROPERTY_WMDRM_COOKIE", -1, "a", -1, 2},
      {"null data with a length", "PROPERTY_WMDRM_COOKIE", -1, nullptr, 5, 2},
      {"null data of a request with a length", "PROPERTY_REQUEST_CHALLENGE_DATA", -1, nullptr, 5,
       2},
  };
  Rig rig;
  for (const Row& row : rows) {
    const int length = row.name_length == -1 ? static_cast<int>(row.name.size()) : row.name_length;
    EXPECT_EQ(row.result,
              rig.player->SetDrmInfo(row.name.c_str(), length, row.data, row.data_length, 0))
        << row.what;
  }
  EXPECT_EQ(1, rig.player->SetDrmInfo(nullptr, 21, "a", 1, 0));
  SleepFor(100);
  EXPECT_TRUE(rig.recorder.Notes().empty());
}

TEST(Boundary, AChallengeIsAnswered) {
  Rig rig;
  for (const std::string& request :
       {std::string("a\0b", 3), std::string(), std::string(99999, 'x')}) {
    rig.recorder.Clear();
    EXPECT_EQ(0, rig.player->SetDrmInfo("PROPERTY_REQUEST_CHALLENGE_DATA", 31, request.data(),
                                        static_cast<int>(request.size()), 0));
    ASSERT_TRUE(rig.recorder.WaitFor(kDrmData, 1, Patience(1000)));
    const std::string challenge = rig.recorder.Notes(kDrmData)[0].text;
    ASSERT_GT(challenge.size(), request.size());
    EXPECT_EQ(request, challenge.substr(challenge.size() - request.size()));
  }
}

TEST(Boundary, AttributesAreWalkedToTheirEnd) {
  Rig rig;
  IZunoPlayer* player = rig.player.get();
  const std::uint32_t rect[4] = {0, 0, 1920, 1080};
  const std::int32_t window = 0;
  EXPECT_TRUE(
      player->SetAttribute(0, "wayland_rect", rect, 16, "display_handler", &window, 4, kNoName));
  EXPECT_TRUE(player->SetAttribute(0, "display_area", rect, 16, kNoName));
  EXPECT_TRUE(player->SetAttribute(0, kNoName));
  // A refused triple is told wherever it stands among accepted ones.
  EXPECT_FALSE(player->SetAttribute(0, "unknown", rect, 16, "display_area", rect, 16, kNoName));
  EXPECT_FALSE(player->SetAttribute(0, "display_area", rect, 16, "unknown", rect, 16, kNoName));
  for (const auto& [name, size] : {std::pair("wayland_rect", 4),
                                   {"wayland_rect", -16},
                                   {"display_area", 0},
                                   {"display_area", 17},
                                   {"display_handler", 8},
                                   {"display_handler", 16},
                                   {"", 16},
                                   {"display_area ", 16}}) {
    EXPECT_FALSE(player->SetAttribute(0, name, rect, size, kNoName)) << name << size;
  }
  const void* nothing = nullptr;
  EXPECT_FALSE(player->SetAttribute(0, "display_area", nothing, 16, kNoName));
}

}  // namespace
