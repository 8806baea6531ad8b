#ifndef PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_
#define PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_

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

// The local path of a source, or nothing when it lies on the network.
std::optional<std::string> LocalPath(const std::string& source);

// Reads a source whose text must begin with `start`: as soon as it does not, nothing is read any
// further. Nothing when it cannot be read in time, or is longer than `limit` bytes. Blocks the
// caller for at most `timeout`.
std::optional<std::string> FetchText(const std::string& uri,
                                     const std::string& start,
                                     std::size_t limit,
                                     std::chrono::milliseconds timeout);

// Gives up on a server that does not answer, early enough for InitPlayer to say so. Connected to
// every source element before it starts; does nothing for sources that know no such limits.
void LimitNetworkWaits(void* element);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_SOURCE_H_
