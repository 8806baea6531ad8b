#ifndef PLATFORM_ZUNO_PLAYER_SRC_BITRATES_H_
#define PLATFORM_ZUNO_PLAYER_SRC_BITRATES_H_

#include <string>
#include <vector>

namespace zuno {

// The bits per second of each variant of an HLS master playlist, or of each video representation
// of a DASH manifest, in the text's order. Empty for anything else, a playlist of segments
// included.
std::vector<unsigned int> VariantBitrates(const std::string& manifest);

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_BITRATES_H_
