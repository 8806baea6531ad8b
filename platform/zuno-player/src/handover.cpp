#include "handover.h"

#include "gst_ptr.h"

namespace zuno::handover {

GstMessageType TypeOf(const GstMessage* message) {
  return GST_MESSAGE_TYPE(message);
}

bool IsFromSource(const GstMessage* message) {
  return GST_MESSAGE_SRC(message) != nullptr &&
         GST_OBJECT_FLAG_IS_SET(GST_MESSAGE_SRC(message), GST_ELEMENT_FLAG_SOURCE);
}

Error ErrorOf(GstMessage* message) {
  GError* error = nullptr;
  gst_message_parse_error(message, &error, nullptr);
  const ErrorPtr owned(error);
  return {error->domain, error->code};
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

}  // namespace zuno::handover
