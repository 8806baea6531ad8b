#ifndef PPAPI_CPP_VIEW_H_
#define PPAPI_CPP_VIEW_H_

#include "ppapi/cpp/resource.h"

#pragma GCC visibility push(default)

namespace pp {

// How and where the element is shown. Only held, never looked into, by the plug-ins of this
// platform.
class View : public Resource {
 public:
  explicit View(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_VIEW_H_
