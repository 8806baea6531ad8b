#include "ppapi/cpp/message_loop.h"

#include "interfaces.h"
#include "ppapi/c/pp_errors.h"

namespace pp {

namespace {

PP_Resource NewLoop(const InstanceHandle& instance) {
  return Browser().message_loop == nullptr ? 0
                                           : Browser().message_loop->Create(instance.pp_instance());
}

}  // namespace

MessageLoop::MessageLoop() = default;

MessageLoop::MessageLoop(const InstanceHandle& instance) : Resource(PASS_REF, NewLoop(instance)) {}

MessageLoop::MessageLoop(PassRef, PP_Resource loop) : Resource(PASS_REF, loop) {}

MessageLoop::MessageLoop(PP_Resource loop) : Resource(loop) {}

// GetCurrent adds no reference; the constructor does.
MessageLoop MessageLoop::GetCurrent() {
  return MessageLoop(Browser().message_loop == nullptr ? 0 : Browser().message_loop->GetCurrent());
}

int32_t MessageLoop::AttachToCurrentThread() {
  return Browser().message_loop == nullptr
             ? PP_ERROR_NOINTERFACE
             : Browser().message_loop->AttachToCurrentThread(pp_resource());
}

int32_t MessageLoop::Run() {
  return Browser().message_loop == nullptr ? PP_ERROR_NOINTERFACE
                                           : Browser().message_loop->Run(pp_resource());
}

int32_t MessageLoop::PostWork(const PP_CompletionCallback& callback, int64_t delay_ms) {
  return Browser().message_loop == nullptr
             ? PP_ERROR_NOINTERFACE
             : Browser().message_loop->PostWork(pp_resource(), callback, delay_ms);
}

int32_t MessageLoop::PostQuit(bool should_destroy) {
  return Browser().message_loop == nullptr
             ? PP_ERROR_NOINTERFACE
             : Browser().message_loop->PostQuit(pp_resource(), should_destroy ? PP_TRUE : PP_FALSE);
}

}  // namespace pp
