#include "reader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "contract.h"

namespace lumivex::test {

namespace {

using host::Json;

constexpr int kMaxDepth = 60;

template <class Table>
auto& Pick(const Table& table, char byte) {
  return table[static_cast<unsigned char>(byte) % table.size()];
}

const std::vector<std::string>& Keys() {
  static const std::vector<std::string> keys = [] {
    std::vector<std::string> all;
    for (const Command& command : Commands()) {
      for (const auto& [key, value] : command.message.items()) {
        all.push_back(key);
      }
    }
    return all;
  }();
  return keys;
}

}  // namespace

bool Reader::AtEnd() {
  text_.remove_prefix(std::min(text_.find_first_not_of(" \t\r\n,:"), text_.size()));
  return text_.empty();
}

bool Reader::TakeIf(char wanted) {
  if (AtEnd() || text_.front() != wanted) {
    return false;
  }
  text_.remove_prefix(1);
  return true;
}

char Reader::Take() {
  if (text_.empty()) {
    return '\0';
  }
  const char c = text_.front();
  text_.remove_prefix(1);
  return c;
}

std::string Reader::String() {
  std::string text;
  for (char c = Take(); c != '"'; c = Take()) {
    if (text_.empty()) {
      break;
    }
    text += c == '\\' ? Take() : c;
  }
  return text;
}

std::string Reader::Key() {
  const char c = Take();
  std::string key = c == '"' ? String() : c == '$' ? Pick(Keys(), Take()) : std::string(1, c);
  std::replace_if(
      key.begin(), key.end(), [](char byte) { return byte < 0; }, '?');
  return key;
}

Json Reader::Number() {
  const std::size_t length = std::min(text_.find_first_not_of("+-.0123456789eE"), text_.size());
  const std::string digits(text_.substr(0, length));
  text_.remove_prefix(length);
  const double number = std::strtod(digits.c_str(), nullptr);
  const bool whole = digits.find_first_of(".eE") == std::string::npos &&
                     std::abs(number) <= std::numeric_limits<int32_t>::max();
  return whole ? Json(static_cast<int32_t>(number)) : Json(number);
}

void Reader::ReadMembers(Json* object, int depth) {
  while (!AtEnd() && !TakeIf('}')) {
    const std::string key = Key();
    (*object)[key] = Value(depth + 1);
  }
}

Json Reader::Value(int depth) {
  static const std::vector<Json> kValues = {
      0,         1,         2,          3,   4,   -1,   0.5,    -0.9,
      INT32_MAX, INT32_MIN, 4294967295, 3e9, 1e9, 1080, 65535,  16777217,
      true,      false,     Json(),     "",  "a", "2",  "%s%n", std::string("a\0b", 3),
      "\xff",    "\xc3\xa9"};
  if (AtEnd() || depth == kMaxDepth) {
    Take();
    return {};
  }
  if (std::string_view("-.0123456789").find(text_.front()) != std::string_view::npos) {
    return Number();
  }
  const char c = Take();
  switch (c) {
    case 'n':
      return {};
    case 't':
    case 'f':
      return c == 't';
    case 'I':
      return std::numeric_limits<double>::infinity();
    case 'N':
      return std::nan("");
    case '"':
      return String();
    case '$':
      return Pick(kValues, Take());
    case '[': {
      Json array = Json::array();
      while (!AtEnd() && !TakeIf(']')) {
        array.push_back(Value(depth + 1));
      }
      return array;
    }
    case '@': {
      static const std::vector<std::string> kModules = {kPlayer, kTuner, "another", ""};
      Json request = Pick(Commands(), Take()).message;
      const auto module = static_cast<unsigned char>(Take());
      if (module % 8 < kModules.size()) {
        request["moduleName"] = kModules[module % 8];
      }
      if (TakeIf('{')) {
        ReadMembers(&request, depth);
      }
      return request;
    }
    case '{': {
      Json object = Json::object();
      ReadMembers(&object, depth);
      return object;
    }
    default:
      return static_cast<unsigned char>(c);
  }
}

}  // namespace lumivex::test
