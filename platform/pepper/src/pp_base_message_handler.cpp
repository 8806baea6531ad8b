#include "ppapi/quorvel/pp_base_message_handler.h"

#include <utility>

#include "ppapi/cpp/var_dictionary.h"

namespace {

pp::VarDictionary Reply(int32_t code,
                        const pp::Var& value,
                        const std::string& errorName,
                        const std::string& errorMessage) {
  pp::VarDictionary reply;
  reply.Set("code", code);
  reply.Set("value", value);
  reply.Set("errorName", errorName);
  reply.Set("errorMessage", errorMessage);
  return reply;
}

}  // namespace

PPBaseMessageHandler::~PPBaseMessageHandler() = default;

void PPBaseMessageHandler::HandleMessage(pp::InstanceHandle instance, const pp::Var& message) {
  HandleMessageImpl(instance, message);
}

pp::Var PPBaseMessageHandler::HandleBlockingMessage(pp::InstanceHandle instance,
                                                    const pp::Var& message) {
  return HandleBlockingMessageImpl(instance, message);
}

void PPBaseMessageHandler::WasUnregistered(pp::InstanceHandle) {}

// The platform's binary interface passes these by value.
// NOLINTBEGIN(performance-unnecessary-value-param)
pp::Var PPBaseMessageHandler::createMessage(int32_t code,
                                            pp::Var value,
                                            std::string errorName,
                                            std::string errorMessage) {
  return Reply(code, value, errorName, errorMessage);
}

void PPBaseMessageHandler::responseData(pp::Instance instance,
                                        std::string name,
                                        int32_t code,
                                        pp::Var value,
                                        std::string errorName,
                                        std::string errorMessage) {
  pp::VarDictionary reply = Reply(code, value, errorName, errorMessage);
  reply.Set("name", name);
  instance.PostMessage(reply);
}
// NOLINTEND(performance-unnecessary-value-param)
