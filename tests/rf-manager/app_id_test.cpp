#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <climits>
#include <cstring>

#include "CRFManager.h"

namespace {

TEST(AppId, IsCutAndTerminated) {
  char old_name[16];
  ASSERT_EQ(prctl(PR_GET_NAME, old_name), 0);
  ASSERT_EQ(prctl(PR_SET_NAME, "tv app/2"), 0);
  const struct {
    int size;
    const char* id;
  } cases[] = {{255, "org.lumivex.tv_app_2"},
               {21, "org.lumivex.tv_app_2"},
               {20, "org.lumivex.tv_app_"},
               {1, ""}};
  for (const auto& c : cases) {
    std::string buffer(300, '#');
    EXPECT_EQ(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer.data(), c.size), 0);
    EXPECT_STREQ(buffer.c_str(), c.id);
    EXPECT_EQ(buffer.find_first_not_of('#', std::strlen(c.id) + 1), std::string::npos);
  }
  prctl(PR_SET_NAME, old_name);
}

TEST(AppId, IsNotWrittenOnFailure) {
  char buffer[] = "untouched";
  const int size = sizeof buffer;
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(0, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(-1, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(INT_MAX, buffer, size), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer, 0), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), buffer, -5), 0);
  EXPECT_NE(CAppUtil::GetKelvoAppIDByPID(getpid(), nullptr, size), 0);
  EXPECT_STREQ(buffer, "untouched");
}

}  // namespace
