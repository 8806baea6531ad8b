#include "player_library.h"

#include <dlfcn.h>

#include <atomic>
#include <cstring>

namespace {

using lumivex::test::OnLibraryCall;

constexpr char kPath[] = "/usr/lib/libzuno-player.so";

std::atomic<void*> library{nullptr};    // the handle that was given out last
thread_local bool has_refused = false;  // a dlopen, and gave no reason yet

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define LUMIVEX_EXPORTED extern "C" __attribute__((visibility("default")))

LUMIVEX_EXPORTED void* Create() {
  return lumivex::test::CreatePlayer();
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): libc names its own __file
LUMIVEX_EXPORTED void* dlopen(const char* path, int mode) {
  static auto* const next = Next<void*(const char*, int)>("dlopen");
  if (path == nullptr || std::strcmp(path, kPath) != 0) {
    return next(path, mode);
  }
  has_refused = !OnLibraryCall("dlopen " + std::string(path) + " " + std::to_string(mode));
  if (has_refused) {
    return nullptr;
  }
  // The program itself has the entry point, the C library has none.
  library = next(OnLibraryCall("dlsym") ? nullptr : "libc.so.6", mode);
  return library;
}

LUMIVEX_EXPORTED char* dlerror() {
  static auto* const next = Next<char*()>("dlerror");
  static char reason[] = "no such file";
  if (!has_refused) {
    return next();
  }
  has_refused = false;
  return OnLibraryCall("dlerror") ? reason : nullptr;
}

LUMIVEX_EXPORTED int dlclose(void* handle) {
  static auto* const next = Next<int(void*)>("dlclose");
  const bool fails = handle == library && !OnLibraryCall("dlclose");
  const int result = next(handle);
  return fails ? -1 : result;
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
