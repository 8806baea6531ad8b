#ifndef PRINTABLE_H_
#define PRINTABLE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace lumivex {

// Text for a terminal, or a file that people read. Whatever could control the terminal, break the
// line or change the reading direction is escaped: "\n"; \u and four digits for the other control
// characters (C0, DEL, C1) and the bidirectional ones; \x and two digits for a byte that is not
// UTF-8. JSON on one line keeps its meaning.
std::string Printable(std::string_view text);

// The first character of the text. Its length is 0 if the text is empty or does not start with
// UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF.
struct Utf8Character {
  unsigned int code;
  std::size_t length;  // bytes
};
Utf8Character FirstCharacter(std::string_view text);

}  // namespace lumivex

#endif  // PRINTABLE_H_
