#include "printable.h"

#include <algorithm>
#include <cstdio>

namespace lumivex {

namespace {

bool IsControl(unsigned int code) {
  const auto within = [code](unsigned int first, unsigned int last) {
    return code >= first && code <= last;
  };
  return within(0, 0x1f) || within(0x7f, 0x9f) || code == 0x61c || within(0x200e, 0x200f) ||
         within(0x202a, 0x202e) || within(0x2066, 0x2069);
}

}  // namespace

Utf8Character FirstCharacter(std::string_view text) {
  constexpr Utf8Character kNone = {0, 0};
  constexpr unsigned int kMinCode[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
  const unsigned int lead = text.empty() ? 0x80 : static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xc0 ? 0
                             : lead < 0xe0 ? 2
                             : lead < 0xf0 ? 3
                             : lead < 0xf8 ? 4
                                           : 0;
  if (length == 0 || length > text.size()) {
    return kNone;
  }
  unsigned int code = length == 1 ? lead : lead & (0x7fU >> length);
  for (const char c : text.substr(1, length - 1)) {
    const unsigned int next = static_cast<unsigned char>(c);
    if ((next & 0xc0) != 0x80) {
      return kNone;
    }
    code = code << 6 | (next & 0x3f);
  }
  const bool is_valid =
      code >= kMinCode[length] && (code < 0xd800 || code > 0xdfff) && code <= 0x10ffff;
  return is_valid ? Utf8Character{code, length} : kNone;
}

std::string Printable(std::string_view text) {
  std::string printable;
  const auto escape = [&printable](const char* format, unsigned int number) {
    char form[8];
    std::snprintf(form, sizeof form, format, number);
    printable += form;
  };
  for (std::size_t taken = 0; !text.empty(); text.remove_prefix(taken)) {
    const auto [code, length] = FirstCharacter(text);
    taken = std::max<std::size_t>(length, 1);
    if (length == 0) {
      escape("\\x%02x", static_cast<unsigned char>(text[0]));
    } else if (code == '\n') {
      printable += "\\n";
    } else if (IsControl(code)) {
      escape("\\u%04x", code);
    } else {
      printable += text.substr(0, length);
    }
  }
  return printable;
}

}  // namespace lumivex
