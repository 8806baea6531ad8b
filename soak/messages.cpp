#include "messages.h"

#include <array>
#include <sstream>

#include "promises.h"

namespace lumivex::soak {

namespace {

constexpr std::array<const char*, 20> kNumbers = {
    "0",  "1", "2",   "3",    "4",          "2",           "4",     "100",   "1920", "1080",
    "-1", "7", "2.0", "-0.5", "2147483647", "-2147483648", "1e300", "65535", "I",    "N"};
constexpr std::array<const char*, 6> kTexts = {
    "\"http://a/film.mp4\"", "\"eng\"", "\"\"", "\"h\xc3\xa9%s%n\"", "\"\xff\"", "\"\\\"quoted\""};
constexpr std::array<const char*, 4> kPlain = {"u", "n", "t", "f"};

std::string RandomValue(Random* random, int depth = 0) {
  switch (random->Below(depth < 4 ? 16 : 12)) {
    case 12:
      return "[" + RandomValue(random, depth + 1) + RandomValue(random, depth + 1) + "]";
    case 13:
      return "{$" + std::string(1, static_cast<char>(random->Below(128))) +
             RandomValue(random, depth + 1) + "}";
    case 14:
      return std::string(random->Below(100), '[');  // deep, or deeper than a reader goes
    case 15:
      return '"' + std::string(random->Below(3000), 'x') + '"';
    case 0:
    case 1:
      return random->Pick(kPlain);
    case 2:
    case 3:
    case 4:
      return random->Pick(kTexts);
    default:
      return std::string(random->Pick(kNumbers)) + " ";
  }
}

}  // namespace

std::string RandomMessage(Random* random) {
  if (random->OneIn(16)) {
    return RandomValue(random);
  }
  if (random->OneIn(16)) {
    return "{\"moduleName\"" + RandomValue(random) + "\"command\"" + RandomValue(random) + "}";
  }
  // MessageReader takes the bytes modulo the number of commands and modules.
  const unsigned int which = random->Below(static_cast<unsigned int>(test::kCommands.size()));
  const auto command = static_cast<char>(which + test::kCommands.size());
  const auto module = static_cast<char>('0' + random->Below(4));
  std::string text = {'@', command, module, '{'};
  std::istringstream keys(test::kCommands[which].keys);
  for (std::string key; keys >> key;) {
    const bool is_text = key.front() == '"';
    if (!random->OneIn(24)) {
      text += '"' + key.substr(is_text ? 1 : 0) + '"';
      text += is_text && !random->OneIn(16) ? random->Pick(kTexts)
              : random->OneIn(8)            ? RandomValue(random)
                                            : std::string(random->Pick(kNumbers)) + " ";
    }
  }
  for (const char* key : {"\"scalingMode\"", "\"timeOffset\"", "\"another\""}) {
    if (random->OneIn(3)) {
      text += key + RandomValue(random);
    }
  }
  return text + '}';
}

}  // namespace lumivex::soak
