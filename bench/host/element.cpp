#include "element.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_message_handler.h"

namespace lumivex::bench {

namespace {

using host::Browser;
using host::Json;
using host::OwnedVar;
using host::Page;

// The last registered handler, for Ask.
struct Registered {
  PP_Instance instance;
  void* user_data;
  const PPP_MessageHandler* handler;
};
Registered registered;

decltype(&PPP_InitializeModule) initialize;

const PPB_Messaging* Messaging() {
  return static_cast<const PPB_Messaging*>(Browser::GetInterface(PPB_MESSAGING_INTERFACE));
}

int32_t RegisterMessageHandler(PP_Instance instance,
                               void* user_data,
                               const PPP_MessageHandler* handler,
                               PP_Resource loop) {
  registered = {instance, user_data, handler};
  return Messaging()->RegisterMessageHandler(instance, user_data, handler, loop);
}

// The browser's own tables, except for the registration of handlers.
const void* GetInterface(const char* name) {
  static PPB_Messaging messaging;
  if (std::strcmp(name, PPB_MESSAGING_INTERFACE) != 0) {
    return Browser::GetInterface(name);
  }
  messaging = *Messaging();
  messaging.RegisterMessageHandler = &RegisterMessageHandler;
  return &messaging;
}

int32_t Initialize(PP_Module module, PPB_GetInterface) {
  return initialize(module, &GetInterface);
}

template <class Function>
void FindEntry(void* library, const char* name, Function** entry) {
  *entry = reinterpret_cast<Function*>(dlsym(library, name));
}

}  // namespace

const char* PathOf(Plugin plugin) {
  return plugin == Plugin::kEcho ? LUMIVEX_BENCH_ECHO : LUMIVEX_BENCH_PLUGIN;
}

void Fail(const std::string& problem) {
  std::fprintf(stderr, "lumivex-bench: %s\n", problem.c_str());
  std::exit(1);
}

Session::Session(Plugin plugin) {
  library_ = dlopen(PathOf(plugin), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) {
    Fail(dlerror());
  }
  host::ModuleEntry entry{&Initialize, nullptr, nullptr};
  FindEntry(library_, "PPP_InitializeModule", &initialize);
  FindEntry(library_, "PPP_GetInterface", &entry.get_interface);
  FindEntry(library_, "PPP_ShutdownModule", &entry.shutdown);
  std::string error;
  if (!browser_.LoadModule(entry, &error)) {
    Fail(error);
  }
}

Session::~Session() {
  browser_.Unload();
  for (const std::string& defect : browser_.Defects()) {
    Fail(defect);
  }
  dlclose(library_);
}

std::unique_ptr<Page> Session::CreatePage(Browser::EventCallback on_event) {
  std::string error;
  std::unique_ptr<Page> page = browser_.CreatePage({}, &error, std::move(on_event));
  if (page == nullptr) {
    Fail(error);
  }
  return page;
}

Element::Element(Plugin plugin, Browser::EventCallback on_event)
    : plugin_(plugin), session_(plugin), page_(session_.CreatePage(std::move(on_event))) {
  // Obtains the tuner, which its commands need.
  Check(Json::parse(
            R"({"moduleName": "lumivexrfmanager", "command": "SetChannelType", "channelType": 0})"),
        0);
}

OwnedVar Element::Var(const Json& json) {
  return {&vars(), vars().FromJson(json).value()};
}

OwnedVar Element::Ask(PP_Var message) {
  PP_Var response = host::UndefinedVar();
  registered.handler->HandleBlockingMessage(registered.instance, registered.user_data, &message,
                                            &response);
  return {&vars(), response};
}

void Element::Check(const Json& message, int code) {
  const Page::Answer answer = page_->SendBlocking(message);
  const auto found = answer.value.find("code");
  const bool good = answer.outcome == Page::Outcome::kAnswered &&
                    (plugin_ == Plugin::kEcho ? answer.value == message
                                              : found != answer.value.end() && *found == code);
  if (!good) {
    Fail("unexpected reply " + answer.value.dump() + " to " + message.dump());
  }
}

}  // namespace lumivex::bench
