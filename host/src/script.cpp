#include "host/script.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "host/commands.h"
#include "host/vars.h"
#include "utf8.h"

namespace lumivex::host {

namespace {

constexpr std::chrono::milliseconds kDefaultTimeout{10000};
constexpr std::string_view kBlanks = " \t\r";
constexpr double kMaxWait = 24.0 * 60 * 60 * 1000;

// Where a member of a JSON object starts in the text.
struct Member {
  std::string key;
  std::size_t key_at;
  std::size_t value_at;
};

// The column of a byte, counting characters as an editor does.
std::size_t ColumnOf(std::string_view line, std::size_t offset) {
  const std::string_view before = line.substr(0, offset);
  return 1 + static_cast<std::size_t>(std::count_if(before.begin(), before.end(), [](char c) {
           return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
         }));
}

// Calls visit(offset, depth) for each character outside strings and each opening quote, until it
// returns false. Depth is the number of open brackets.
template <class Visit>
void ScanTokens(std::string_view text, Visit visit) {
  std::size_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (!visit(i, depth)) {
      return;
    }
    if (c == '{' || c == '[') {
      ++depth;
    } else if ((c == '}' || c == ']') && depth > 0) {
      --depth;
    } else if (c == '"') {
      for (++i; i < text.size() && text[i] != '"'; ++i) {
        i += text[i] == '\\' ? 1 : 0;
      }
    }
  }
}

std::optional<std::size_t> FindTooDeep(std::string_view text) {
  std::optional<std::size_t> found;
  ScanTokens(text, [&](std::size_t i, std::size_t depth) {
    if (depth == static_cast<std::size_t>(kMaxDepth) && (text[i] == '{' || text[i] == '[')) {
      found = i;
    }
    return !found;
  });
  return found;
}

// The text must be a valid JSON object.
std::vector<Member> MembersOf(std::string_view text) {
  std::vector<Member> members;
  bool at_key = true;
  bool at_value = false;
  ScanTokens(text, [&](std::size_t i, std::size_t depth) {
    const char c = text[i];
    if (depth != 1 || c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      return true;
    }
    if (c == ',') {
      at_key = true;
    } else if (c == ':' && !at_value) {
      at_value = true;
    } else if (at_key && c == '"') {
      std::size_t end = i + 1;
      while (text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
      }
      members.push_back({Json::parse(text.substr(i, end + 1 - i)).get<std::string>(), i, i});
      at_key = false;
    } else if (at_value) {
      members.back().value_at = i;
      at_value = false;
    }
    return true;
  });
  return members;
}

// The parser's message, without its name and position.
std::string ReasonOf(std::string what) {
  for (const char* const mark : {"] ", ", column ", ": ", " - "}) {
    const std::size_t at = what.find(mark);
    what.erase(0, at == std::string::npos ? 0 : at + std::strlen(mark));
  }
  return "invalid JSON: " + what;
}

class LineReader {
 public:
  // line must not be blank.
  explicit LineReader(std::string_view line) : line_(line) {}

  ScriptLine Read() const {
    if (const std::optional<std::size_t> deep = FindTooDeep(line_)) {
      return Error(*deep, "nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    // The parser would take it for the end.
    if (const std::size_t nul = line_.find('\0'); nul != std::string_view::npos) {
      return Error(nul, "invalid JSON: a NUL byte");
    }
    const std::size_t start = line_.find_first_not_of(kBlanks);
    if (line_[start] >= 'A' && line_[start] <= 'Z') {
      return ReadShortForm(start);
    }
    Json value;
    try {
      value = Json::parse(line_);
    } catch (const Json::parse_error& error) {
      return Error(error.byte == 0 ? 0 : error.byte - 1, ReasonOf(error.what()));
    } catch (const Json::exception& error) {  // a number that is too large
      const std::string what = error.what();
      const std::size_t quote = what.find('\'');
      const std::size_t at = quote == std::string::npos
                                 ? std::string::npos
                                 : line_.find(what.substr(quote + 1, what.rfind('\'') - quote - 1));
      return Error(at == std::string::npos ? 0 : at, ReasonOf(what));
    }
    if (value.is_object()) {
      for (const auto& [key, member] : value.items()) {
        if (!key.empty() && key.front() == '$') {
          return ReadDirective(key, value);
        }
      }
    }
    return SendAction{std::move(value)};
  }

 private:
  ScriptError Error(std::size_t offset, std::string reason) const {
    return {ColumnOf(line_, offset), std::move(reason)};
  }

  // COMMAND NAME=VALUE...; a value that is not JSON is text.
  ScriptLine ReadShortForm(std::size_t at) const {
    std::size_t end = std::min(line_.find_first_of(kBlanks, at), line_.size());
    const std::string name(line_.substr(at, end - at));
    const Command* const command = FindCommand(name);
    if (command == nullptr) {
      return Error(at, "unknown command \"" + name + "\"");
    }
    Json message = {{"moduleName", command->module}, {"command", command->name}};
    for (;;) {
      const std::size_t start = line_.find_first_not_of(kBlanks, end);
      if (start == std::string_view::npos) {
        return SendAction{std::move(message)};
      }
      end = EndOfArgument(start);
      const std::string_view argument = line_.substr(start, end - start);
      const std::size_t sign = std::min(argument.find('='), argument.size());
      const std::string key(argument.substr(0, sign));
      if (std::find(command->arguments.begin(), command->arguments.end(), key) ==
          command->arguments.end()) {
        return Error(start, "unknown argument \"" + key + "\"; " + DescriptionOf(*command));
      }
      if (sign == argument.size()) {
        return Error(start, "argument \"" + key + "\" needs a value");
      }
      const std::string value(argument.substr(sign + 1));
      Json json = Json::parse(value, nullptr, false);
      if (json.is_discarded() && (!IsUtf8(value) || value.rfind('"', 0) == 0)) {
        return Error(start + sign + 1, "invalid value: neither JSON nor UTF-8 text");
      }
      message[key] = json.is_discarded() ? Json(value) : std::move(json);
    }
  }

  // Blanks do not end the argument inside quotation marks.
  std::size_t EndOfArgument(std::size_t start) const {
    bool quoted = false;
    for (std::size_t i = start; i < line_.size(); ++i) {
      if (line_[i] == '"') {
        quoted = !quoted;
      } else if (quoted && line_[i] == '\\') {
        ++i;
      } else if (!quoted && kBlanks.find(line_[i]) != std::string_view::npos) {
        return i;
      }
    }
    return line_.size();
  }

  static std::string DescriptionOf(const Command& command) {
    std::string text(command.name);
    const char* separator = " takes ";
    for (const std::string_view argument : command.arguments) {
      text += std::exchange(separator, ", ");
      text += argument;
    }
    return command.arguments.empty() ? text + " takes no arguments" : text;
  }

  ScriptLine ReadDirective(std::string name, const Json& value) const {
    const std::vector<Member> members = MembersOf(line_);
    if (name == "$expect" && value.contains("$waitFor")) {
      name = "$waitFor";
    }
    const bool is_wait_for = name == "$waitFor";
    if (!is_wait_for && name != "$expect" && name != "$post" && name != "$wait") {
      return Error(Find(members, name).key_at,
                   "unknown directive \"" + name + "\"; known: $expect, $post, $wait, $waitFor");
    }
    for (const Member& member : members) {
      if (member.key != name &&
          !(is_wait_for && (member.key == "timeout" || member.key == "$expect"))) {
        return Error(member.key_at, "\"" + member.key + "\" cannot be combined with " + name);
      }
    }
    for (const char* key : {"$waitFor", "$expect"}) {
      if (value.contains(key) && !value.at(key).is_object()) {
        return Error(Find(members, key).value_at, std::string(key) +
                                                      " must be an object, part of " +
                                                      (is_wait_for ? "an event" : "a reply"));
      }
    }
    const Json& argument = value.at(name);
    if (name == "$post") {
      return PostAction{argument};
    }
    if (name == "$expect") {
      return ExpectAction{argument};
    }
    std::optional<std::chrono::milliseconds> time = kDefaultTimeout;
    const char* const time_key = is_wait_for ? "timeout" : "$wait";
    if (value.contains(time_key) && !(time = ToTime(value.at(time_key)))) {
      return Error(Find(members, time_key).value_at,
                   std::string(time_key) + " must be in milliseconds, at most one day");
    }
    if (!is_wait_for) {
      return WaitAction{*time};
    }
    return WaitForAction{
        argument, *time,
        value.contains("$expect") ? std::optional(value.at("$expect")) : std::nullopt};
  }

  // If a key is repeated, the last one counts.
  static Member Find(const std::vector<Member>& members, const std::string& key) {
    const auto found = std::find_if(members.rbegin(), members.rend(),
                                    [&key](const Member& m) { return m.key == key; });
    return found == members.rend() ? Member{key, 0, 0} : *found;
  }

  static std::optional<std::chrono::milliseconds> ToTime(const Json& value) {
    if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > kMaxWait) {
      return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<int64_t>(std::ceil(value.get<double>())));
  }

  const std::string_view line_;
};

}  // namespace

ScriptLine ReadScriptLine(std::string_view line) {
  // A byte order mark.
  const std::string_view mark = "\xef\xbb\xbf";
  if (line.substr(0, mark.size()) == mark) {
    line.remove_prefix(mark.size());
  }
  const std::size_t start = line.find_first_not_of(kBlanks);
  if (start == std::string_view::npos || line[start] == '#' || line.substr(start, 2) == "//") {
    return NoAction{};
  }
  return LineReader(line).Read();
}

bool Matches(const Json& wanted, const Json& event) {
  if (!wanted.is_object() || !event.is_object()) {
    return wanted == event;
  }
  for (const auto& [key, value] : wanted.items()) {
    if (!event.contains(key) || !Matches(value, event.at(key))) {
      return false;
    }
  }
  return true;
}

}  // namespace lumivex::host
