#ifndef PPAPI_QUORVEL_PP_BASE_MESSAGE_HANDLER_H_
#define PPAPI_QUORVEL_PP_BASE_MESSAGE_HANDLER_H_

#include <cstdint>
#include <string>

#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

// The television's base class of message handlers: passes each message to a hook and packs replies.
//
// A reply is the dictionary {"code": int, "value": any, "errorName": string,
// "errorMessage": string}; code 0 is success.
class PPBaseMessageHandler : public pp::MessageHandler {
 public:
  ~PPBaseMessageHandler() override;

  void HandleMessage(pp::InstanceHandle instance, const pp::Var& message) override;
  pp::Var HandleBlockingMessage(pp::InstanceHandle instance, const pp::Var& message) override;
  void WasUnregistered(pp::InstanceHandle instance) override;

 protected:
  // The hooks, called on the thread of the handler's message loop.
  virtual void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) = 0;
  virtual pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance,
                                            const pp::Var& message) = 0;

  // A reply. Any thread may call it.
  pp::Var createMessage(int32_t code,
                        pp::Var value,
                        std::string errorName,
                        std::string errorMessage);
  // Posts a reply to the page of the instance, with the further key "name".
  void responseData(pp::Instance instance,
                    std::string name,
                    int32_t code,
                    pp::Var value,
                    std::string errorName,
                    std::string errorMessage);
};

#pragma GCC visibility pop

#endif  // PPAPI_QUORVEL_PP_BASE_MESSAGE_HANDLER_H_
