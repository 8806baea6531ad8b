#ifndef PLATFORM_ZUNO_PLAYER_SRC_HLS_PLAYLIST_H_
#define PLATFORM_ZUNO_PLAYER_SRC_HLS_PLAYLIST_H_

#include <string>
#include <vector>

namespace zuno {

// The BANDWIDTH of each variant of an HLS master playlist, in bits per second and in the
// playlist's order. Empty for anything else, a playlist of segments included.
std::vector<unsigned int> VariantBitrates(const std::string& playlist);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_HLS_PLAYLIST_H_
