#include "answers.h"

#include <CRFManager.h>
#include <dlog.h>

#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>

namespace lumivex::test {

namespace {

constexpr std::array<int, 16> kNumbers = {1,    0,     2,       3,       4,  7,       1280, 720,
                                          1080, 65535, INT_MAX, INT_MIN, -1, 1 << 24, 99,   100};
constexpr std::size_t kGoodTexts = 5;
const std::array<std::string, 8> kTexts = {"eng",
                                           "",
                                           "h\xc3\xa9%s%n",
                                           std::string("a\0b", 3),
                                           std::string(5000, 'x'),
                                           "\xff",
                                           "\xed\xa0\x80",
                                           "cut\xc3"};

}  // namespace

int Answers::Number() {
  return kNumbers[Byte() % kNumbers.size()];
}

std::string Answers::Text() {
  const std::size_t which = Byte() % kTexts.size();
  if (which >= kGoodTexts) {
    gave_bad_text_ = true;
  }
  return kTexts[which];
}

}  // namespace lumivex::test

// Formats what it is given, so that a wrong argument shows.
int __dlog_print(int, int, const char*, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return length;
}

int CAppUtil::GetKelvoAppIDByPID(int, char* buffer, int size) {
  using lumivex::test::Say;
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s", Say().Text().c_str());
  return Say().Success() ? 0 : -1;
}
