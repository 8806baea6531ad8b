#include "utf8.h"

#include <cstdint>
#include <cstring>

#include "printable.h"

namespace lumivex::host {

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    // Most text is ASCII, so check eight bytes at a time.
    std::uint64_t eight = 0;
    if (text.size() >= sizeof eight) {
      std::memcpy(&eight, text.data(), sizeof eight);
      if ((eight & 0x8080808080808080U) == 0) {
        text.remove_prefix(sizeof eight);
        continue;
      }
    }
    const std::size_t length = FirstCharacter(text).length;
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace lumivex::host
