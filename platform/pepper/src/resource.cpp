#include "ppapi/cpp/resource.h"

#include <utility>

#include "interfaces.h"

namespace pp {

Resource::Resource(PP_Resource resource) : pp_resource_(resource) {
  if (resource != 0 && Browser().core != nullptr) {
    Browser().core->AddRefResource(resource);
  }
}

Resource::Resource(const Resource& other) : Resource(other.pp_resource_) {}

Resource& Resource::operator=(const Resource& other) {
  Resource copy(other);
  std::swap(pp_resource_, copy.pp_resource_);
  return *this;
}

Resource::~Resource() {
  if (pp_resource_ != 0 && Browser().core != nullptr) {
    Browser().core->ReleaseResource(pp_resource_);
  }
}

}  // namespace pp
