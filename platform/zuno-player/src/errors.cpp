#include "errors.h"

#include <algorithm>

namespace zuno {

Message MessageOfError(const handover::Error& error, bool network) {
  // A source that cannot reach its server may say no more than that its stream has failed.
  if (network && (error.from_source || error.domain == GST_RESOURCE_ERROR)) {
    return kMessageNetworkError;
  }
  if (error.domain == GST_RESOURCE_ERROR) {
    const auto codes = {GST_RESOURCE_ERROR_NOT_FOUND, GST_RESOURCE_ERROR_OPEN_READ,
                        GST_RESOURCE_ERROR_READ, GST_RESOURCE_ERROR_SEEK,
                        GST_RESOURCE_ERROR_NOT_AUTHORIZED};
    const bool reading = std::find(codes.begin(), codes.end(), error.code) != codes.end();
    return reading ? kMessageSourceError : kMessageOtherError;
  }
  if (error.domain != GST_STREAM_ERROR) {
    const bool missing =
        error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN;
    return missing ? kMessageCodecError : kMessageOtherError;
  }
  switch (error.code) {
    case GST_STREAM_ERROR_CODEC_NOT_FOUND:
      return kMessageCodecError;
    case GST_STREAM_ERROR_DECODE:
      return kMessageDecodeError;
    case GST_STREAM_ERROR_DECRYPT:
    case GST_STREAM_ERROR_DECRYPT_NOKEY:
      return kMessageEncryptedError;
    default:
      return kMessageFormatError;
  }
}

}  // namespace zuno
