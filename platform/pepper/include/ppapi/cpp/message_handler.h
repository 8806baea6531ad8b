#ifndef PPAPI_CPP_MESSAGE_HANDLER_H_
#define PPAPI_CPP_MESSAGE_HANDLER_H_

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

namespace pp {

// Receives a page's messages on the thread that runs the message loop given at registration
// (Instance::RegisterMessageHandler).
class MessageHandler {
 public:
  virtual ~MessageHandler() = default;
  virtual void HandleMessage(InstanceHandle instance, const Var& message) = 0;
  // The result is the reply that the page waits for.
  virtual Var HandleBlockingMessage(InstanceHandle instance, const Var& message) = 0;
  // The handler is not called any more.
  virtual void WasUnregistered(InstanceHandle instance) = 0;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_MESSAGE_HANDLER_H_
