#ifndef PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_
#define PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_

#include <gst/gst.h>

#include <string>
#include <utility>

#include "cues.h"
#include "messages.h"

// The only places where our own code reads memory that one of GStreamer's threads has written.
// GStreamer hands it over under locks that ThreadSanitizer does not see (tests/support/tsan.supp).
namespace zuno::handover {

GstMessageType TypeOf(const GstMessage* message);

// The message that tells of an error while a medium from the network, or a local one, plays; and
// what happened, for people.
std::pair<Message, std::string> ErrorOf(GstMessage* message, bool network);

// The bytes of a buffer; empty when they cannot be read.
std::string TextOf(GstBuffer* buffer);
// The text of a sample, in time of the medium.
Cue CueOf(GstSample* sample);
// The number that its buffer carries for an offset.
int TrackOf(GstSample* sample);

}  // namespace zuno::handover

#endif  // PLATFORM_ZUNO_PLAYER_SRC_HANDOVER_H_
