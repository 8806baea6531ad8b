#include "ppapi/cpp/module.h"

#include <atomic>
#include <cstring>
#include <exception>

#include "interfaces.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/url_loader.h"
#include "ppapi/cpp/view.h"

namespace pp {

namespace {

// Written on the plug-in's main thread when the library is initialised and shut down.
std::atomic<Module*> current_module{nullptr};

Instance* Find(PP_Instance instance) {
  return Module::Get() == nullptr ? nullptr : Module::Get()->InstanceForPPInstance(instance);
}

PP_Bool DidCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]) {
  if (Module::Get() == nullptr) {
    return PP_FALSE;
  }
  try {
    if (Module::Get()->InternalCreate(instance, argc, argn, argv)) {
      return PP_TRUE;
    }
  } catch (const std::exception&) {  // out of memory or threads
  }
  Module::Get()->InternalDestroy(instance);
  return PP_FALSE;
}

void DidDestroy(PP_Instance instance) {
  if (Module::Get() != nullptr) {
    Module::Get()->InternalDestroy(instance);
  }
}

void DidChangeView(PP_Instance instance, PP_Resource view) {
  if (Instance* target = Find(instance)) {
    target->DidChangeView(View(view));
  }
}

void DidChangeFocus(PP_Instance instance, PP_Bool has_focus) {
  if (Instance* target = Find(instance)) {
    target->DidChangeFocus(has_focus == PP_TRUE);
  }
}

PP_Bool HandleDocumentLoad(PP_Instance instance, PP_Resource loader) {
  Instance* target = Find(instance);
  return target != nullptr && target->HandleDocumentLoad(URLLoader(loader)) ? PP_TRUE : PP_FALSE;
}

void HandleMessage(PP_Instance instance, PP_Var message) {
  if (Instance* target = Find(instance)) {
    target->HandleMessage(Var(message));
  }
}

constexpr PPP_Instance kInstance = {&DidCreate, &DidDestroy, &DidChangeView, &DidChangeFocus,
                                    &HandleDocumentLoad};
constexpr PPP_Messaging kMessaging = {&HandleMessage};

}  // namespace

Module::Module() = default;

Module::~Module() = default;

Module* Module::Get() {
  return current_module.load(std::memory_order_acquire);
}

bool Module::Init() {
  return true;
}

const void* Module::GetBrowserInterface(const char* interface_name) const {
  return get_browser_interface_ == nullptr ? nullptr : get_browser_interface_(interface_name);
}

Instance* Module::InstanceForPPInstance(PP_Instance instance) const {
  const auto found = instances_.find(instance);
  return found == instances_.end() ? nullptr : found->second.get();
}

bool Module::InternalInit(PP_Module module, PPB_GetInterface get_browser_interface) {
  pp_module_ = module;
  get_browser_interface_ = get_browser_interface;
  FetchInterfaces(*this);
  return Init();
}

bool Module::InternalCreate(PP_Instance instance,
                            uint32_t argc,
                            const char* argn[],
                            const char* argv[]) {
  std::unique_ptr<Instance> created(CreateInstance(instance));
  if (created == nullptr) {
    return false;
  }
  Instance* const target = created.get();
  instances_[instance] = std::move(created);
  return target->Init(argc, argn, argv);
}

void Module::InternalDestroy(PP_Instance instance) {
  instances_.erase(instance);
}

}  // namespace pp

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface get_browser_interface) {
  if (pp::Module::Get() != nullptr || get_browser_interface == nullptr) {
    return PP_ERROR_FAILED;
  }
  pp::Module* created = pp::CreateModule();
  if (created == nullptr) {
    return PP_ERROR_FAILED;
  }
  pp::current_module.store(created, std::memory_order_release);
  if (!created->InternalInit(module, get_browser_interface)) {
    PPP_ShutdownModule();
    return PP_ERROR_FAILED;
  }
  return PP_OK;
}

void PPP_ShutdownModule(void) {
  delete pp::current_module.exchange(nullptr);
}

const void* PPP_GetInterface(const char* interface_name) {
  if (interface_name == nullptr) {
    return nullptr;
  }
  if (std::strcmp(interface_name, PPP_INSTANCE_INTERFACE) == 0) {
    return &pp::kInstance;
  }
  if (std::strcmp(interface_name, PPP_MESSAGING_INTERFACE) == 0) {
    return &pp::kMessaging;
  }
  return nullptr;
}
