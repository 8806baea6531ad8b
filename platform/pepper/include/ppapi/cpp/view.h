#ifndef PPAPI_CPP_VIEW_H_
#define PPAPI_CPP_VIEW_H_

#include "ppapi/cpp/resource.h"

#pragma GCC visibility push(default)

namespace pp {

// How and where the element is shown. The plug-ins of this platform only hold it.
class View : public Resource {
 public:
  explicit View(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_VIEW_H_
