#include "host/browser.h"

#include <dlfcn.h>

#include <utility>

#include "runtime.h"

namespace lumivex::host {

namespace {

constexpr PP_Module kModule = 1;

void SetError(std::string* error, std::string text) {
  if (error != nullptr) {
    *error = std::move(text);
  }
}

std::string LastDlError() {
  const char* const text = dlerror();
  return text == nullptr ? "unknown reason" : text;
}

template <class Function>
Function FindEntry(void* library, const char* name) {
  return reinterpret_cast<Function>(dlsym(library, name));
}

}  // namespace

Browser::Browser(Options options) : runtime_(std::make_shared<Runtime>(std::move(options))) {
  runtime_->Serve();
}

Browser::Browser() : Browser(Options()) {}

Browser::~Browser() {
  Unload();
  runtime_->StopServing();
}

bool Browser::Load(const std::string& path, std::string* error) {
  runtime_->RequireMainThread("Browser::Load");
  if (module_) {
    SetError(error, "a plug-in is already loaded");
    return false;
  }
  library_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) {
    SetError(error, LastDlError());
    return false;
  }
  ModuleEntry entry{};
  entry.initialize = FindEntry<decltype(entry.initialize)>(library_, "PPP_InitializeModule");
  entry.get_interface = FindEntry<decltype(entry.get_interface)>(library_, "PPP_GetInterface");
  entry.shutdown = FindEntry<decltype(entry.shutdown)>(library_, "PPP_ShutdownModule");
  if (LoadModule(entry, error)) {
    return true;
  }
  dlclose(std::exchange(library_, nullptr));
  return false;
}

bool Browser::LoadModule(const ModuleEntry& entry, std::string* error) {
  runtime_->RequireMainThread("Browser::LoadModule");
  if (module_) {
    SetError(error, "a plug-in is already loaded");
    return false;
  }
  if (entry.initialize == nullptr || entry.get_interface == nullptr) {
    SetError(error, entry.initialize == nullptr ? "the library does not export PPP_InitializeModule"
                                                : "the library does not export PPP_GetInterface");
    return false;
  }
  if (const int32_t result = entry.initialize(kModule, &Browser::GetInterface); result != 0) {
    SetError(error, "PPP_InitializeModule returned " + std::to_string(result));
    return false;
  }
  runtime_->plugin_instance =
      static_cast<const PPP_Instance*>(entry.get_interface(PPP_INSTANCE_INTERFACE));
  if (runtime_->plugin_instance == nullptr) {
    SetError(error, std::string("the plug-in has no interface ") + PPP_INSTANCE_INTERFACE);
    if (entry.shutdown != nullptr) {
      entry.shutdown();
    }
    return false;
  }
  runtime_->plugin_messaging =
      static_cast<const PPP_Messaging*>(entry.get_interface(PPP_MESSAGING_INTERFACE));
  module_ = entry;
  return true;
}

bool Browser::Unload(std::string* error) {
  if (!module_) {
    return true;
  }
  runtime_->RequireMainThread("Browser::Unload");
  for (const std::shared_ptr<PageState>& page : runtime_->Pages()) {
    runtime_->ClosePage(page.get());
  }
  if (module_->shutdown != nullptr) {
    module_->shutdown();
  }
  module_.reset();
  runtime_->plugin_messaging = nullptr;
  bool closed = true;
  if (library_ != nullptr && dlclose(std::exchange(library_, nullptr)) != 0) {
    SetError(error, LastDlError());
    closed = false;
  }
  for (const std::string& line : DescribeLive()) {
    runtime_->defects.Record("leaked: " + line);
  }
  return closed;
}

std::unique_ptr<Page> Browser::CreatePage(const Attributes& attributes,
                                          std::string* error,
                                          EventCallback on_event) {
  runtime_->RequireMainThread("Browser::CreatePage");
  if (!module_) {
    SetError(error, "no plug-in is loaded");
    return nullptr;
  }
  std::vector<const char*> names;
  std::vector<const char*> values;
  for (const auto& [name, value] : attributes) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  const std::shared_ptr<PageState> state = runtime_->AddPage(std::move(on_event));
  if (runtime_->plugin_instance->DidCreate(state->instance(), static_cast<uint32_t>(names.size()),
                                           names.data(), values.data()) != PP_TRUE) {
    // The plug-in has no instance, so DidDestroy must not be called.
    state->SetClosed();
    state->SetHandler(nullptr);
    SetError(error, "the plug-in refused to create an instance");
    return nullptr;
  }
  return std::unique_ptr<Page>(new Page(runtime_, state));
}

void Browser::RunMainLoop() {
  runtime_->RequireMainThread("Browser::RunMainLoop");
  runtime_->loops.main_loop()->Run();
}

void Browser::QuitMainLoop() {
  runtime_->loops.main_loop()->PostQuit(false);
}

void Browser::RunPending() {
  runtime_->RequireMainThread("Browser::RunPending");
  runtime_->loops.main_loop()->RunPending();
}

void Browser::PostToMainThread(std::function<void()> work) {
  runtime_->loops.main_loop()->Post(std::move(work));
}

VarTable& Browser::vars() {
  return runtime_->vars;
}

const void* Browser::GetInterface(const char* name) {
  Runtime* const runtime = Runtime::Current();
  return runtime == nullptr ? nullptr : runtime->GetInterface(name);
}

std::vector<std::string> Browser::Defects() const {
  return runtime_->defects.All();
}

int64_t Browser::LiveVars() const {
  return runtime_->vars.Live();
}

int64_t Browser::LiveResources() const {
  return runtime_->loops.References();
}

std::vector<std::string> Browser::DescribeLive() {
  std::vector<std::string> lines = runtime_->vars.DescribeLive();
  if (LiveVars() > static_cast<int64_t>(lines.size())) {
    lines.push_back("... " + std::to_string(LiveVars()) + " vars in total");
  }
  for (std::string& line : runtime_->loops.DescribeLive()) {
    lines.push_back(std::move(line));
  }
  return lines;
}

std::vector<SyncCall> Browser::GenericSyncCalls() const {
  return runtime_->SyncCalls();
}

void Browser::WithholdInterface(const std::string& name) {
  runtime_->Withhold(name);
}

void Browser::ForceRegisterResult(std::optional<int32_t> result) {
  runtime_->ForceRegisterResult(result);
}

int Browser::InterfaceRequests(const std::string& name) const {
  return runtime_->InterfaceRequests(name);
}

}  // namespace lumivex::host
