#ifndef PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_
#define PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_

#include <gst/gst.h>

#include <string>

// The only places where our own code reads memory that one of GStreamer's threads has written.
// GStreamer hands it over under locks that ThreadSanitizer does not see (tests/support/tsan.supp).
namespace zuno::handover {

GstMessageType TypeOf(const GstMessage* message);
// Posted by an element that reads the medium from its file or server.
bool IsFromSource(const GstMessage* message);

struct Error {
  GQuark domain;
  int code;
};
Error ErrorOf(GstMessage* message);

// The bytes of a buffer; empty when they cannot be read.
std::string TextOf(GstBuffer* buffer);

}  // namespace zuno::handover

#endif  // PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_
