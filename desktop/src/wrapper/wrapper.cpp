// The plug-in that the engine loads. It loads the real one and passes it the engine's tables, and
// one more that only televisions have.

#include <cstring>
#include <string>

#include "../channel.h"
#include "extension_system.h"
#include "plugin_library.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "recorder.h"
#include "report.h"

namespace {

lumivex::desktop::PluginLibrary plugin;  // the real one

// Set before the plug-in is initialised, then read-only: the plug-in may ask on any thread.
PPB_GetInterface engine_interface = nullptr;
const PPB_ExtensionSystem_Quorvel_0_1* extension_system = nullptr;
const PPB_Messaging* recorder = nullptr;

const void* GetBrowserInterface(const char* name) {
  if (std::strcmp(name, PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1) == 0) {
    return extension_system;
  }
  if (recorder != nullptr && std::strcmp(name, PPB_MESSAGING_INTERFACE) == 0) {
    return recorder;
  }
  return engine_interface(name);
}

// The plug-in's own table, which CountedInstances wraps to report the number of elements.
const PPP_Instance* plugin_instances = nullptr;
int instances = 0;

PP_Bool DidCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]) {
  const PP_Bool created = plugin_instances->DidCreate(instance, argc, argn, argv);
  lumivex::desktop::ReportInstances(++instances);
  return created;
}

void DidDestroy(PP_Instance instance) {
  plugin_instances->DidDestroy(instance);
  lumivex::desktop::ReportInstances(--instances);
}

const void* CountedInstances(const void* table) {
  static PPP_Instance counted;
  plugin_instances = static_cast<const PPP_Instance*>(table);
  counted = *plugin_instances;
  counted.DidCreate = DidCreate;
  counted.DidDestroy = DidDestroy;
  return &counted;
}

int32_t Refuse(const std::string& problem) {
  lumivex::desktop::ReportProblem(problem);
  plugin = {};
  return PP_ERROR_FAILED;
}

}  // namespace

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface get_browser_interface) {
  lumivex::desktop::OpenReport();
  engine_interface = get_browser_interface;
  extension_system = lumivex::desktop::MakeExtensionSystem(get_browser_interface);
  recorder = lumivex::desktop::MakeRecorder(get_browser_interface);
  const std::string problem = plugin.Load(lumivex::desktop::kPluginVariable);
  if (!problem.empty()) {
    return Refuse(problem);
  }
  const int32_t result = plugin.initialize(module, GetBrowserInterface);
  return result == PP_OK ? result : Refuse("the plug-in refused to start");
}

const void* PPP_GetInterface(const char* name) {
  const void* table = plugin.get_interface == nullptr ? nullptr : plugin.get_interface(name);
  const bool is_instances = std::strcmp(name, PPP_INSTANCE_INTERFACE) == 0;
  return table != nullptr && is_instances ? CountedInstances(table) : table;
}

void PPP_ShutdownModule() {
  if (plugin.shutdown != nullptr) {
    plugin.shutdown();
  }
  lumivex::desktop::ReportStop();
}
