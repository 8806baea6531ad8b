#include <dlfcn.h>
#include <gtest/gtest.h>

#include "process.h"

namespace lumivex::test {

// Unloading the library in the middle of a tune ends its thread, although the instance was never
// released.
TEST(Unload, LeavesNothingBehind) {
  StartFirstThread();
  const std::ptrdiff_t threads = CountThreads();
  void* const library = dlopen(RF_MANAGER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto obtain = reinterpret_cast<void* (*)(const char*, bool, void*)>(
      dlsym(library, "_ZN10CRFManager11GetInstanceEPKcbP10_Eo_Opaque"));
  const auto tune = reinterpret_cast<bool (*)(void*, int, int, int, int)>(
      dlsym(library, "_ZN10CRFManager13TuneRFChannelEiiii"));
  ASSERT_TRUE(obtain != nullptr && tune != nullptr);
  EXPECT_TRUE(tune(obtain("", false, nullptr), 5, 1, 1, 4097));
  EXPECT_TRUE(ThreadsComeTo(threads + 1));
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_EQ(dlopen(RF_MANAGER_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
  EXPECT_TRUE(ThreadsComeTo(threads));
}

}  // namespace lumivex::test
