#include "handover.h"

#include "gst_ptr.h"

namespace zuno::handover {

GstMessageType TypeOf(const GstMessage* message) {
  return GST_MESSAGE_TYPE(message);
}

Error ErrorOf(GstMessage* message) {
  GError* error = nullptr;
  char* details = nullptr;
  gst_message_parse_error(message, &error, &details);
  const ErrorPtr owned(error);
  const CharPtr owned_details(details);
  GstObject* source = GST_MESSAGE_SRC(message);
  const CharPtr name(source == nullptr ? nullptr : gst_object_get_name(source));
  return {error->domain, error->code,
          source != nullptr && GST_OBJECT_FLAG_IS_SET(source, GST_ELEMENT_FLAG_SOURCE),
          std::string(name == nullptr ? "" : name.get()) + ": " + error->message + " (" +
              (details == nullptr ? "" : details) + ")"};
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

}  // namespace zuno::handover
