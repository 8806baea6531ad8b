#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support.h"

namespace {

struct Library {
  void* file = dlopen(RF_MANAGER_LIBRARY, RTLD_NOW | RTLD_LOCAL);

  // The exported function with this mangled name; a member takes the instance first.
  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(file, name));
  }
};

// Twice with the instance given back, then once with a holder that forgot: unloading the library
// ends its thread, a tune under way or not, and its thread-local data does not keep it loaded.
TEST(Unload, LeavesNothingBehind) {
  const std::ptrdiff_t threads = SettledThreads();
  for (const bool release : {true, true, false}) {
    const Library library;
    ASSERT_NE(library.file, nullptr) << dlerror();
    const auto obtain = library.Find<CRFManager*(const char*, bool, void*)>(
        "_ZN10CRFManager11GetInstanceEPKcbP10_Eo_Opaque");
    const auto listen = library.Find<bool(CRFManager*, IEventListener*)>(
        "_ZN10CRFManager22RegisterRFEventHandlerEP14IEventListener");
    const auto tune =
        library.Find<bool(CRFManager*, int, int, int, int)>("_ZN10CRFManager13TuneRFChannelEiiii");
    const auto give_back = library.Find<void()>("_ZN10CRFManager15ReleaseInstanceEv");
    ASSERT_TRUE(obtain != nullptr && listen != nullptr && tune != nullptr && give_back != nullptr);

    EventLog log;
    std::thread([&] {
      CRFManager* manager = obtain("", false, nullptr);
      EXPECT_TRUE(listen(manager, &log));
      EXPECT_TRUE(tune(manager, 5, 1, 1, 4097));
      EXPECT_TRUE(log.WaitFor(1));
      EXPECT_TRUE(tune(manager, 5, 1, 1, 4097));
    }).join();
    EXPECT_TRUE(ThreadsComeTo(threads + 1));
    if (release) {
      give_back();
    }
    EXPECT_EQ(dlclose(library.file), 0);
    EXPECT_EQ(dlopen(RF_MANAGER_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    EXPECT_TRUE(ThreadsComeTo(threads));
    EXPECT_EQ(log.events(), std::vector<Event>({kOneTuned}));
  }
}

}  // namespace
