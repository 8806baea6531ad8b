#ifndef DESKTOP_SRC_WRAPPER_PLUGIN_LIBRARY_H_
#define DESKTOP_SRC_WRAPPER_PLUGIN_LIBRARY_H_

#include <string>

#include "ppapi/c/ppp.h"

namespace lumivex::desktop {

// A plug-in's library and its entry points; null until loaded. It is never unloaded. All on the
// plug-in's main thread.
struct PluginLibrary {
  decltype(&PPP_InitializeModule) initialize = nullptr;
  decltype(&PPP_ShutdownModule) shutdown = nullptr;
  decltype(&PPP_GetInterface) get_interface = nullptr;

  // Loads the library that the environment variable names. Returns the problem, or "".
  std::string Load(const char* variable);
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_PLUGIN_LIBRARY_H_
