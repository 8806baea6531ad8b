#ifndef PPAPI_CPP_RESOURCE_H_
#define PPAPI_CPP_RESOURCE_H_

#include "ppapi/c/pp_resource.h"
#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

namespace pp {

// Owns one reference to an object of the browser.
class Resource {
 public:
  Resource() = default;
  Resource(const Resource& other);
  Resource& operator=(const Resource& other);
  virtual ~Resource();

  bool is_null() const { return pp_resource_ == 0; }
  PP_Resource pp_resource() const { return pp_resource_; }

 protected:
  explicit Resource(PP_Resource resource);  // adds a reference of its own
  Resource(PassRef, PP_Resource resource) : pp_resource_(resource) {}

 private:
  PP_Resource pp_resource_ = 0;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_RESOURCE_H_
