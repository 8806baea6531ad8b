#ifndef PPAPI_CPP_INPUT_EVENT_H_
#define PPAPI_CPP_INPUT_EVENT_H_

#include "ppapi/cpp/resource.h"

#pragma GCC visibility push(default)

namespace pp {

// A key, mouse or touch event. The plug-ins of this platform only hold it.
class InputEvent : public Resource {
 public:
  explicit InputEvent(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_INPUT_EVENT_H_
