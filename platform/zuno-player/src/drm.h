#ifndef PLATFORM_ZUNO_PLAYER_SRC_DRM_H_
#define PLATFORM_ZUNO_PLAYER_SRC_DRM_H_

#include <optional>
#include <string>

namespace zuno {

// There is NO digital rights management here: nothing is ever decrypted and no licence is checked.
// An encrypted medium ends in an error whatever properties were set. What exists is the
// conversation: the properties are checked and accepted as a player with rights management would,
// and a challenge is answered with a placeholder, so that an application can be tried out.
enum DrmResult : int {
  kDrmAccepted = 0,
  kDrmUnknownProperty = 1,  // no name, or none of the four, byte for byte
  kDrmBadData = 2,          // null data with a length, a negative length, or data that the
                            // property cannot have: an empty licence, a licence server that is no
                            // http or https address, a NUL byte in an address or a cookie
};

// Neither text needs a terminator; the lengths count. *challenge is set when the property asks for
// one: the placeholder followed by the given data.
DrmResult CheckDrmProperty(const char* name,
                           int name_length,
                           const char* data,
                           int data_length,
                           std::optional<std::string>* challenge);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_DRM_H_
