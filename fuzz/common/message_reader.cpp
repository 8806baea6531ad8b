#include "message_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "promises.h"

namespace lumivex::test {

namespace {

constexpr int kDepth = 60;
constexpr std::array<const char*, 26> kKeys = {
    "moduleName", "command",      "url",   "timeOffset",
    "msec",       "speed",        "x",     "y",
    "width",      "height",       "index", "scalingMode",
    "trackType",  "URI",          "type",  "major",
    "minor",      "propertyData", "ptc",   "channelType",
    "programNum", "code",         "value", "transportStreamID",
    "showStatus", "subtitleMode",
};
constexpr std::array<const char*, 4> kModules = {"lumivexplayer", "lumivexrfmanager", "another",
                                                 ""};

template <class Table>
auto Pick(const Table& table, char byte) {
  return table[static_cast<unsigned char>(byte) % table.size()];
}

}  // namespace

bool MessageReader::AtEnd() {
  text_.remove_prefix(std::min(text_.find_first_not_of(" \t\r\n,:"), text_.size()));
  return text_.empty();
}

bool MessageReader::TakeIf(char wanted) {
  if (AtEnd() || text_.front() != wanted) {
    return false;
  }
  text_.remove_prefix(1);
  return true;
}

char MessageReader::Take() {
  if (text_.empty()) {
    return '\0';
  }
  const char c = text_.front();
  text_.remove_prefix(1);
  return c;
}

std::string MessageReader::String() {
  std::string text;
  for (char c = Take(); c != '"'; c = Take()) {
    if (text_.empty()) {
      break;
    }
    text += c == '\\' ? Take() : c;
  }
  return text;
}

std::string MessageReader::Key() {
  const char c = Take();
  return c == '"' ? String() : c == '$' ? std::string(Pick(kKeys, Take())) : std::string(1, c);
}

void MessageReader::Set(PP_Var dictionary, const std::string& key, PP_Var value) {
  const host::OwnedVar name(vars_, vars_->FromUtf8(key));
  if (name.get().type == PP_VARTYPE_STRING) {
    vars_->DictionarySet(dictionary, name.get(), value);
  }
}

host::OwnedVar MessageReader::Number() {
  const std::size_t length = std::min(text_.find_first_not_of("+-.0123456789eE"), text_.size());
  const std::string digits(text_.substr(0, length));
  text_.remove_prefix(length);
  const double number = std::strtod(digits.c_str(), nullptr);
  const bool whole = digits.find_first_of(".eE") == std::string::npos &&
                     std::abs(number) <= std::numeric_limits<int32_t>::max();
  return {vars_, whole ? host::IntVar(static_cast<int32_t>(number)) : host::DoubleVar(number)};
}

host::OwnedVar MessageReader::Value(int depth) {
  if (AtEnd() || depth == kDepth) {
    Take();
    return {vars_, host::NullVar()};
  }
  if (std::string_view("-.0123456789").find(text_.front()) != std::string_view::npos) {
    return Number();
  }
  const char c = Take();
  switch (c) {
    case 'u':
      return {vars_, host::UndefinedVar()};
    case 'n':
      return {vars_, host::NullVar()};
    case 't':
    case 'f':
      return {vars_, host::BoolVar(c == 't')};
    case 'I':
      return {vars_, host::DoubleVar(std::numeric_limits<double>::infinity())};
    case 'N':
      return {vars_, host::DoubleVar(std::nan(""))};
    case '"':
      return {vars_, vars_->FromUtf8(String())};
    case '$':
      return {vars_, vars_->FromUtf8(Pick(kKeys, Take()))};
    case '[': {
      host::OwnedVar array(vars_, vars_->CreateArray());
      for (uint32_t i = 0; !AtEnd() && !TakeIf(']'); ++i) {
        vars_->ArraySet(array.get(), i, Value(depth + 1).get());
      }
      return array;
    }
    case '@':
    case '{': {
      host::OwnedVar dictionary(vars_, vars_->CreateDictionary());
      if (c == '@') {
        const host::OwnedVar command(vars_, vars_->FromUtf8(Pick(kCommands, Take()).name));
        const host::OwnedVar module(vars_, vars_->FromUtf8(Pick(kModules, Take())));
        Set(dictionary.get(), "command", command.get());
        Set(dictionary.get(), "moduleName", module.get());
        if (!TakeIf('{')) {
          return dictionary;
        }
      }
      while (!AtEnd() && !TakeIf('}')) {
        const std::string key = Key();
        Set(dictionary.get(), key, Value(depth + 1).get());
      }
      return dictionary;
    }
    default:
      return {vars_, host::IntVar(static_cast<unsigned char>(c))};
  }
}

}  // namespace lumivex::test
