#ifndef PPAPI_CPP_MESSAGE_LOOP_H_
#define PPAPI_CPP_MESSAGE_LOOP_H_

#include <cstdint>

#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/resource.h"

#pragma GCC visibility push(default)

namespace pp {

// A queue of work that one thread runs. Results are PP_OK or a PP_ERROR_ value.
class MessageLoop : public Resource {
 public:
  MessageLoop();  // no loop
  explicit MessageLoop(const InstanceHandle& instance);
  MessageLoop(PassRef, PP_Resource loop);
  explicit MessageLoop(PP_Resource loop);

  static MessageLoop GetCurrent();  // is_null() on a thread without a loop

  int32_t AttachToCurrentThread();
  int32_t Run();  // returns when the loop is told to quit
  int32_t PostWork(const PP_CompletionCallback& callback, int64_t delay_ms = 0);
  int32_t PostQuit(bool should_destroy);
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_MESSAGE_LOOP_H_
