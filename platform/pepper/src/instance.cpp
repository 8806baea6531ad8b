#include "ppapi/cpp/instance.h"

#include <exception>

#include "interfaces.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"

namespace pp {

namespace {

// The browser's callbacks; user_data is the MessageHandler. No exception may reach the browser: a
// message whose handler throws gets an undefined reply.
void HandleMessage(PP_Instance instance, void* user_data, const PP_Var* message) {
  try {
    static_cast<MessageHandler*>(user_data)->HandleMessage(InstanceHandle(instance), Var(*message));
  } catch (const std::exception&) {
  }
}

void HandleBlockingMessage(PP_Instance instance,
                           void* user_data,
                           const PP_Var* message,
                           PP_Var* response) {
  try {
    *response = static_cast<MessageHandler*>(user_data)
                    ->HandleBlockingMessage(InstanceHandle(instance), Var(*message))
                    .Detach();
  } catch (const std::exception&) {
    *response = Var().Detach();
  }
}

void Destroy(PP_Instance instance, void* user_data) {
  static_cast<MessageHandler*>(user_data)->WasUnregistered(InstanceHandle(instance));
}

constexpr PPP_MessageHandler kMessageHandler = {&HandleMessage, &HandleBlockingMessage, &Destroy};

}  // namespace

InstanceHandle::InstanceHandle(Instance* instance) : pp_instance_(instance->pp_instance()) {}

Instance::Instance(PP_Instance instance) : pp_instance_(instance) {}

Instance::~Instance() = default;

bool Instance::Init(uint32_t, const char*[], const char*[]) {
  return true;
}

void Instance::DidChangeView(const View&) {}

void Instance::DidChangeView(const Rect&, const Rect&) {}

void Instance::DidChangeFocus(bool) {}

bool Instance::HandleInputEvent(const InputEvent&) {
  return false;
}

bool Instance::HandleDocumentLoad(const URLLoader&) {
  return false;
}

void Instance::HandleMessage(const Var&) {}

void Instance::PostMessage(const Var& message) {
  if (Browser().messaging != nullptr) {
    Browser().messaging->PostMessage(pp_instance_, message.pp_var());
  }
}

int32_t Instance::RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop) {
  return Browser().messaging == nullptr
             ? PP_ERROR_NOINTERFACE
             : Browser().messaging->RegisterMessageHandler(pp_instance_, handler, &kMessageHandler,
                                                           loop.pp_resource());
}

void Instance::UnregisterMessageHandler() {
  if (Browser().messaging != nullptr) {
    Browser().messaging->UnregisterMessageHandler(pp_instance_);
  }
}

}  // namespace pp
