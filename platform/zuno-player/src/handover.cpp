#include "handover.h"

#include "gst_ptr.h"

namespace zuno::handover {
namespace {

constexpr struct {
  GQuark (*domain)();
  int code;
  Message message;
} kErrors[] = {{gst_resource_error_quark, GST_RESOURCE_ERROR_NOT_FOUND, kMessageSourceError},
               {gst_resource_error_quark, GST_RESOURCE_ERROR_OPEN_READ, kMessageSourceError},
               {gst_resource_error_quark, GST_RESOURCE_ERROR_READ, kMessageSourceError},
               {gst_resource_error_quark, GST_RESOURCE_ERROR_SEEK, kMessageSourceError},
               {gst_resource_error_quark, GST_RESOURCE_ERROR_NOT_AUTHORIZED, kMessageSourceError},
               {gst_core_error_quark, GST_CORE_ERROR_MISSING_PLUGIN, kMessageCodecError},
               {gst_stream_error_quark, GST_STREAM_ERROR_CODEC_NOT_FOUND, kMessageCodecError},
               {gst_stream_error_quark, GST_STREAM_ERROR_DECODE, kMessageDecodeError},
               {gst_stream_error_quark, GST_STREAM_ERROR_DECRYPT, kMessageEncryptedError},
               {gst_stream_error_quark, GST_STREAM_ERROR_DECRYPT_NOKEY, kMessageEncryptedError}};

}  // namespace

GstMessageType TypeOf(const GstMessage* message) {
  return GST_MESSAGE_TYPE(message);
}

std::pair<Message, std::string> ErrorOf(GstMessage* message, bool network) {
  GError* error = nullptr;
  char* details = nullptr;
  gst_message_parse_error(message, &error, &details);
  const ErrorPtr owned(error);
  const CharPtr owned_details(details);
  GstObject* source = GST_MESSAGE_SRC(message);
  const CharPtr name(source == nullptr ? nullptr : gst_object_get_name(source));
  const std::string text = std::string(name == nullptr ? "" : name.get()) + ": " + error->message +
                           " (" + (details == nullptr ? "" : details) + ")";
  // A source that cannot reach its server may say no more than that its stream has failed.
  if (network && (error->domain == GST_RESOURCE_ERROR ||
                  (source != nullptr && GST_OBJECT_FLAG_IS_SET(source, GST_ELEMENT_FLAG_SOURCE)))) {
    return {kMessageNetworkError, text};
  }
  for (const auto& row : kErrors) {
    if (error->domain == row.domain() && error->code == row.code) {
      return {row.message, text};
    }
  }
  return {error->domain == GST_STREAM_ERROR ? kMessageFormatError : kMessageOtherError, text};
}

std::string TextOf(GstBuffer* buffer) {
  GstMapInfo map;
  if (buffer == nullptr || gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) {
    return {};
  }
  std::string text(map.data, map.data + map.size);
  gst_buffer_unmap(buffer, &map);
  return text;
}

Cue CueOf(GstSample* sample) {
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  GstClockTime start = 0;
  gst_segment_to_stream_time_full(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                  GST_BUFFER_PTS(buffer), &start);
  Cue cue = {static_cast<std::int64_t>(start / GST_MSECOND), kOpenEnd, TextOf(buffer)};
  if (GST_BUFFER_DURATION_IS_VALID(buffer)) {
    cue.end_ms =
        cue.start_ms + static_cast<std::int64_t>(GST_BUFFER_DURATION(buffer) / GST_MSECOND);
  }
  return cue;
}

int TrackOf(GstSample* sample) {
  return static_cast<int>(GST_BUFFER_OFFSET(gst_sample_get_buffer(sample)));
}

}  // namespace zuno::handover
