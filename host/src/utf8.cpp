#include "utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lumivex::host {

bool IsUtf8(std::string_view text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (std::size_t i = 0; i < text.size();) {
    // Most texts are ASCII: eight bytes at a time.
    std::uint64_t eight = 0;
    while (text.size() - i >= sizeof eight) {
      std::memcpy(&eight, text.data() + i, sizeof eight);
      if ((eight & 0x8080808080808080U) != 0) {
        break;
      }
      i += sizeof eight;
    }
    if (i == text.size()) {
      break;
    }
    const unsigned char lead = byte(i);
    std::size_t length = 0;
    // The second byte is what tells overlong forms, surrogates and the range's end.
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (lead < 0x80) {
      length = 1;
    } else if (lead >= 0xc2 && lead <= 0xdf) {
      length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
      length = 3;
      low = lead == 0xe0 ? 0xa0 : 0x80;
      high = lead == 0xed ? 0x9f : 0xbf;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
      length = 4;
      low = lead == 0xf0 ? 0x90 : 0x80;
      high = lead == 0xf4 ? 0x8f : 0xbf;
    }
    if (length == 0 || length > text.size() - i) {
      return false;
    }
    for (std::size_t k = 1; k < length; ++k) {
      if (byte(i + k) < (k == 1 ? low : 0x80) || byte(i + k) > (k == 1 ? high : 0xbf)) {
        return false;
      }
    }
    i += length;
  }
  return true;
}

}  // namespace lumivex::host
