#ifndef PPAPI_CPP_MODULE_H_
#define PPAPI_CPP_MODULE_H_

#include <cstdint>
#include <map>
#include <memory>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_module.h"
#include "ppapi/c/ppb.h"

#pragma GCC visibility push(default)

namespace pp {

class Instance;

// The loaded plug-in: one object per process, created by CreateModule when the browser loads the
// library and deleted when it unloads it, both on the plug-in's main thread.
class Module {
 public:
  Module();
  virtual ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // Null before the library was initialised and after it was shut down. Any thread may call it.
  static Module* Get();

  virtual bool Init();  // false refuses to load
  // A new instance, which the module then owns; null refuses the element.
  virtual Instance* CreateInstance(PP_Instance instance) = 0;

  PP_Module pp_module() const { return pp_module_; }
  // A table of the browser, or null. Any thread may call it.
  const void* GetBrowserInterface(const char* interface_name) const;
  // Null when the module has no such instance. Plug-in's main thread only.
  Instance* InstanceForPPInstance(PP_Instance instance) const;

  // Used by the library's entry points only. Plug-in's main thread.
  bool InternalInit(PP_Module module, PPB_GetInterface get_browser_interface);
  bool InternalCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]);
  void InternalDestroy(PP_Instance instance);

 private:
  PP_Module pp_module_ = 0;
  PPB_GetInterface get_browser_interface_ = nullptr;
  std::map<PP_Instance, std::unique_ptr<Instance>> instances_;  // plug-in's main thread
};

// Defined by the plug-in: a new module, or null on failure. Called once for each load.
Module* CreateModule();

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_MODULE_H_
