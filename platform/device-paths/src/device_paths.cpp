#include "device_paths.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;

// Guarded by mutex. Never destroyed, because libraries may be opened while the process exits.
std::string& Root() {
  static std::string& root = *new std::string([] {
    const char* preset = std::getenv("LUMIVEX_SYSROOT");
    return std::string(preset == nullptr ? "" : preset);
  }());
  return root;
}

std::string Staged(const char* path) {
  const std::lock_guard<std::mutex> lock(mutex);
  return Root().empty() ? std::string() : Root() + path;
}

}  // namespace

void device_paths_set_root(const char* root) {
  const std::lock_guard<std::mutex> lock(mutex);
  Root() = root == nullptr ? "" : root;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc names its own __file
extern "C" __attribute__((visibility("default"))) void* dlopen(const char* path, int mode) {
  using Dlopen = void* (*)(const char*, int);
  static const auto next = reinterpret_cast<Dlopen>(dlsym(RTLD_NEXT, "dlopen"));
  if (path != nullptr && path[0] == '/') {
    const std::string staged = Staged(path);
    if (!staged.empty() && access(staged.c_str(), R_OK) == 0) {
      return next(staged.c_str(), mode);
    }
  }
  return next(path, mode);
}
