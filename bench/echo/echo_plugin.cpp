// The plug-in's lower bound: an element with a worker thread and a message handler like the
// plug-in's, which answers a blocking message with the message itself and posts any other one back.

#include <new>

#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/module.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"

namespace {

class EchoHandler : public pp::MessageHandler {
 public:
  void HandleMessage(pp::InstanceHandle instance, const pp::Var& message) override {
    pp::Instance(instance.pp_instance()).PostMessage(message);
  }
  pp::Var HandleBlockingMessage(pp::InstanceHandle, const pp::Var& message) override {
    return message;
  }
  void WasUnregistered(pp::InstanceHandle) override {}
};

class EchoInstance : public pp::Instance {
 public:
  explicit EchoInstance(PP_Instance instance)
      : pp::Instance(instance), thread_(pp::InstanceHandle(this)) {}

  bool Init(uint32_t, const char*[], const char*[]) override {
    return thread_.Start() && RegisterMessageHandler(&handler_, thread_.message_loop()) == PP_OK;
  }

 private:
  EchoHandler handler_;
  pp::SimpleThreadAwaitLoop thread_;  // destroyed before the handler
};

class EchoModule : public pp::Module {
 public:
  pp::Instance* CreateInstance(PP_Instance instance) override { return new EchoInstance(instance); }
};

}  // namespace

pp::Module* pp::CreateModule() {
  return new (std::nothrow) EchoModule();
}
