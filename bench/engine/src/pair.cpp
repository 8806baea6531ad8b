// One plug-in for the engine that loads two, so that both run in the same process: the speed of two
// processes differs more than the two plug-ins do. An element's type selects the plug-in. Messages
// do not pass through here: each plug-in registers its own handler with the engine.

#include <cstring>
#include <map>
#include <string>

#include "channel.h"
#include "names.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "wrapper/extension_system.h"
#include "wrapper/plugin_library.h"
#include "wrapper/report.h"

namespace {

using lumivex::desktop::PluginLibrary;

// All on the plug-in's main thread, except the two tables, which are set before the plug-ins are
// initialised and then read-only.
PluginLibrary plugin;
PluginLibrary echo;
std::map<PP_Instance, const PPP_Instance*> instances;
PPB_GetInterface engine_interface = nullptr;
const PPB_ExtensionSystem_Quorvel_0_1* extension_system = nullptr;

const void* GetBrowserInterface(const char* name) {
  if (std::strcmp(name, PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1) == 0) {
    return extension_system;
  }
  return engine_interface(name);
}

const PPP_Instance* InstancesOf(const PluginLibrary& library) {
  return static_cast<const PPP_Instance*>(library.get_interface(PPP_INSTANCE_INTERFACE));
}

PP_Bool DidCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]) {
  bool is_echo = false;
  for (uint32_t i = 0; i < argc; ++i) {
    is_echo = is_echo || (std::strcmp(argn[i], "type") == 0 &&
                          std::strcmp(argv[i], lumivex::bench::kEchoMimeType) == 0);
  }
  const PPP_Instance* const table = InstancesOf(is_echo ? echo : plugin);
  instances[instance] = table;
  lumivex::desktop::ReportInstances(static_cast<int>(instances.size()));
  return table->DidCreate(instance, argc, argn, argv);
}

void DidDestroy(PP_Instance instance) {
  instances[instance]->DidDestroy(instance);
  instances.erase(instance);
  lumivex::desktop::ReportInstances(static_cast<int>(instances.size()));
}

void DidChangeView(PP_Instance instance, PP_Resource view) {
  instances[instance]->DidChangeView(instance, view);
}

void DidChangeFocus(PP_Instance instance, PP_Bool has_focus) {
  instances[instance]->DidChangeFocus(instance, has_focus);
}

PP_Bool HandleDocumentLoad(PP_Instance instance, PP_Resource loader) {
  return instances[instance]->HandleDocumentLoad(instance, loader);
}

constexpr PPP_Instance kInstances = {DidCreate, DidDestroy, DidChangeView, DidChangeFocus,
                                     HandleDocumentLoad};

// Returns the problem, or "".
std::string Start(PluginLibrary* library, const char* variable, PP_Module module) {
  std::string problem = library->Load(variable);
  if (problem.empty() && library->initialize(module, GetBrowserInterface) != PP_OK) {
    problem = std::string("the plug-in in ") + variable + " refused to start";
  }
  return problem;
}

}  // namespace

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface get_browser_interface) {
  lumivex::desktop::OpenReport();
  engine_interface = get_browser_interface;
  extension_system = lumivex::desktop::MakeExtensionSystem(get_browser_interface);
  std::string problem = Start(&plugin, lumivex::desktop::kPluginVariable, module);
  if (problem.empty()) {
    problem = Start(&echo, lumivex::bench::kEchoVariable, module);
  }
  if (!problem.empty()) {
    lumivex::desktop::ReportProblem(problem);
    return PP_ERROR_FAILED;
  }
  return PP_OK;
}

const void* PPP_GetInterface(const char* name) {
  return std::strcmp(name, PPP_INSTANCE_INTERFACE) == 0 ? &kInstances : nullptr;
}

void PPP_ShutdownModule() {
  for (const PluginLibrary* library : {&echo, &plugin}) {
    if (library->shutdown != nullptr) {  // it was loaded
      library->shutdown();
    }
  }
  lumivex::desktop::ReportStop();
}
