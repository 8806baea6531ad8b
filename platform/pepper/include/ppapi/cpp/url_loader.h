#ifndef PPAPI_CPP_URL_LOADER_H_
#define PPAPI_CPP_URL_LOADER_H_

#include "ppapi/cpp/resource.h"

#pragma GCC visibility push(default)

namespace pp {

// A document for a plug-in that shows whole documents. The plug-ins of this platform only hold it.
class URLLoader : public Resource {
 public:
  explicit URLLoader(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_URL_LOADER_H_
