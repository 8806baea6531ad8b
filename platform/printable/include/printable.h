#ifndef PRINTABLE_H_
#define PRINTABLE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace lumivex {

// Text as it may reach a terminal, or a file that people read. What could command the terminal,
// break the line or turn the direction of reading becomes an escape: "\n"; \u and four digits for
// the other control characters (C0, DEL, C1) and the bidirectional ones; \x and two for a byte that
// is not UTF-8. JSON text on one line stays the same JSON.
std::string Printable(std::string_view text);

// The character that text begins with. Of length 0 when the text is empty or does not begin with
// UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF.
struct Utf8Character {
  unsigned int code;
  std::size_t length;  // bytes
};
Utf8Character FirstCharacter(std::string_view text);

}  // namespace lumivex

#endif  // PRINTABLE_H_
