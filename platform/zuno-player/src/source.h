#ifndef PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_
#define PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_

#include <gst/gst.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace zuno {

// The URI of a source given as a file path (absolute, or relative to the working directory), a
// "file:" or an "http:"/"https:" address. Nothing when the text names no source at all: empty, or
// a file address of another host. Any other scheme is taken for a path.
std::optional<std::string> SourceUri(const std::string& source);

bool IsNetworkUri(const std::string& uri);

// False for what is no regular file (devices, pipes and folders block or never end) or may not be
// read. Of servers nothing is known before they are asked.
bool IsReadable(const std::string& uri);

// By its name, it lists the parts of an adaptive medium.
bool NamesPlaylist(const std::string& uri);

// Nothing when the source cannot be read in time, or is longer than `limit` bytes. Blocks the
// caller for at most `timeout`. A range is for HTTP, as "bytes=0-99".
std::optional<std::string> FetchText(const std::string& uri,
                                     std::size_t limit,
                                     std::chrono::milliseconds timeout,
                                     const char* range = nullptr);

// Gives up on a server that does not answer, early enough for InitPlayer to say so, and keeps
// servers that cannot send from any place on from being asked to. Called with every source element
// before it starts, by playbin itself as well.
void SetUpSource(GstElement* owner, GstElement* source);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_
