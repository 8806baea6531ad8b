#include "drm.h"

#include <string_view>

#include "source.h"

namespace zuno {
namespace {

constexpr char kPlaceholder[] = "zuno-player has no DRM; challenge for: ";

bool IsText(std::string_view data) {
  return data.find('\0') == std::string_view::npos;
}

bool AnyData(std::string_view /*data*/) {
  return true;
}

bool IsLicense(std::string_view data) {
  return !data.empty();
}

bool IsServerAddress(std::string_view data) {
  return IsText(data) && IsNetworkUri(std::string(data));
}

struct Property {
  std::string_view name;
  bool (*accepts)(std::string_view data);
  bool asks_for_challenge;
};

constexpr Property kProperties[] = {
    {"PROPERTY_REQUEST_CHALLENGE_DATA", AnyData, true},
    {"PROPERTY_SET_DRM_LICENSE", IsLicense, false},
    {"PROPERTY_LICENSE_SERVER", IsServerAddress, false},
    {"PROPERTY_WMDRM_COOKIE", IsText, false},
};

}  // namespace

DrmResult CheckDrmProperty(const char* name,
                           int name_length,
                           const char* data,
                           int data_length,
                           std::optional<std::string>* challenge) {
  if (name == nullptr || name_length <= 0) {
    return kDrmUnknownProperty;
  }
  const std::string_view wanted(name, static_cast<std::size_t>(name_length));
  for (const Property& property : kProperties) {
    if (property.name != wanted) {
      continue;
    }
    if (data_length < 0 || (data == nullptr && data_length > 0)) {
      return kDrmBadData;
    }
    const std::string_view value(data_length == 0 ? "" : data,
                                 static_cast<std::size_t>(data_length));
    if (!property.accepts(value)) {
      return kDrmBadData;
    }
    if (property.asks_for_challenge) {
      *challenge = kPlaceholder + std::string(value);
    }
    return kDrmAccepted;
  }
  return kDrmUnknownProperty;
}

}  // namespace zuno
