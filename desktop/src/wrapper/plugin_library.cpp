#include "plugin_library.h"

#include <dlfcn.h>

#include <cstdlib>

namespace lumivex::desktop {
namespace {

template <typename Function>
bool Find(void* library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  return *function != nullptr;
}

}  // namespace

std::string PluginLibrary::Load(const char* variable) {
  const char* path = std::getenv(variable);
  if (path == nullptr) {
    return std::string(variable) + " is not set";
  }
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    return dlerror();
  }
  if (!Find(library, "PPP_InitializeModule", &initialize) ||
      !Find(library, "PPP_ShutdownModule", &shutdown) ||
      !Find(library, "PPP_GetInterface", &get_interface)) {
    return std::string(path) + " is not a Pepper plug-in";
  }
  return "";
}

}  // namespace lumivex::desktop
