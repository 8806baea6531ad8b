#ifndef PPAPI_CPP_INSTANCE_HANDLE_H_
#define PPAPI_CPP_INSTANCE_HANDLE_H_

#include "ppapi/c/pp_instance.h"

#pragma GCC visibility push(default)

namespace pp {

class Instance;

// Names an instance without keeping it alive.
class InstanceHandle {
 public:
  InstanceHandle(Instance* instance);  // NOLINT(google-explicit-constructor): Pepper's way
  explicit InstanceHandle(PP_Instance instance) : pp_instance_(instance) {}

  PP_Instance pp_instance() const { return pp_instance_; }

 private:
  PP_Instance pp_instance_;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_INSTANCE_HANDLE_H_
