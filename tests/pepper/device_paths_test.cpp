// Absolute library paths of the device, mapped into a staged tree.

#include <device_paths.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr char kDevicePath[] = "/usr/lib/libdevice-paths-probe.so";

class DevicePaths : public testing::Test {
 protected:
  void SetUp() override {
    root_ = testing::TempDir() + "device_paths_XXXXXX";
    ASSERT_NE(mkdtemp(root_.data()), nullptr);
    fs::create_directories(root_ + "/usr/lib");
    fs::copy_file(LUMIVEX_TEST_LIBRARY, root_ + kDevicePath);
  }
  void TearDown() override { fs::remove_all(root_); }

  // The file that a path opens; empty when it opens none.
  static std::string Opened(const char* path) {
    void* const library = dlopen(path, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
      return "";
    }
    Dl_info info = {};
    dladdr(dlsym(library, "__dlog_print"), &info);
    std::string file = info.dli_fname == nullptr ? "" : info.dli_fname;
    dlclose(library);
    return file;
  }

  std::string root_;
};

TEST_F(DevicePaths, OpensTheStagedFileWhileThereIsARoot) {
  unsetenv("LUMIVEX_SYSROOT");
  EXPECT_EQ(Opened(kDevicePath), "");
  std::string text = root_;
  device_paths_set_root(text.c_str());
  text.assign(text.size(), 'x');  // it was copied
  EXPECT_EQ(Opened(kDevicePath), root_ + kDevicePath);
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    device_paths_set_root(root_.c_str());
    device_paths_set_root(none);
    EXPECT_EQ(Opened(kDevicePath), "");
  }
}

TEST_F(DevicePaths, PassesOnWhatIsNotStaged) {
  device_paths_set_root(root_.c_str());
  EXPECT_EQ(Opened(LUMIVEX_TEST_LIBRARY), LUMIVEX_TEST_LIBRARY);
  EXPECT_EQ(Opened("/usr/lib/libno-such-thing.so"), "");
  // The error names the path that was asked for.
  EXPECT_THAT(dlerror(), testing::HasSubstr("/usr/lib/libno-such-thing.so"));
  device_paths_set_root((root_ + "/").c_str());
  EXPECT_EQ(Opened("usr/lib/libdevice-paths-probe.so"), "");  // relative
  void* const program = dlopen(nullptr, RTLD_LAZY);
  EXPECT_NE(program, nullptr);
  dlclose(program);
}

TEST_F(DevicePaths, BeginsWithTheRootOfTheEnvironment) {
  setenv("LUMIVEX_SYSROOT", root_.c_str(), 1);
  EXPECT_EQ(Opened(kDevicePath), root_ + kDevicePath);
}

}  // namespace
