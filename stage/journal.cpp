#include "journal.h"

#include <dlog.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace lumivex::test {

namespace {

constexpr char kPrefix[] = "%s: %s(%d) > ";
constexpr char kHandlerTag[] = "LUMIVEX_PPLUGIN";
constexpr char kAdapterTag[] = "ZunoPlayerAdapter";

thread_local bool is_in_event = false;

}  // namespace

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Journal& Journal::Get() {
  static Journal& journal = *new Journal;  // outlives the threads that may still log at exit
  return journal;
}

void Journal::Add(std::string text, std::string format) {
  if (paused_) {
    return;
  }
  char name[16] = {};
  prctl(PR_GET_NAME, name);
  const std::lock_guard<std::mutex> lock(mutex_);
  entries_.push_back({std::move(text), std::move(format), name, gettid(), is_in_event});
}

std::vector<Journal::Entry> Journal::TakeEntries() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(entries_, {});
}

Lines Journal::Take() {
  Lines texts;
  for (Entry& entry : TakeEntries()) {
    texts.push_back(std::move(entry.text));
  }
  return texts;
}

void Journal::Pause(bool paused) {
  paused_ = paused;
}

EventScope::EventScope() : was_in_event_(std::exchange(is_in_event, true)) {}

EventScope::~EventScope() {
  is_in_event = was_in_event_;
}

std::string LogLine(int buffer,
                    int priority,
                    const std::string& tag,
                    const std::string& file,
                    const std::string& function,
                    const std::string& message) {
  std::string line = std::to_string(buffer);
  line.reserve(tag.size() + file.size() + function.size() + message.size() + 16);
  line.append("/").append(std::to_string(priority)).append("/").append(tag).append(" ");
  return line.append(file).append(" ").append(function).append(": ").append(message);
}

std::string Quote(const std::string& bytes) {
  std::string text = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isprint(byte) != 0) {
      text += c;
    } else {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", byte);
      text += escape;
    }
  }
  return text + "\"";
}

std::string H(const std::string& function, const std::string& message) {
  return LogLine(0, 3, kHandlerTag, "LumivexMessageHandler.cpp", function, message);
}

std::string HE(const std::string& function, const std::string& message) {
  return LogLine(0, 6, kHandlerTag, "LumivexMessageHandler.cpp", function, message);
}

std::string A(const std::string& function, const std::string& message) {
  return LogLine(0, 3, kAdapterTag, "ZunoPlayerAdapter.cpp", function, message);
}

std::string AE(const std::string& function, const std::string& message) {
  return LogLine(0, 6, kAdapterTag, "ZunoPlayerAdapter.cpp", function, message);
}

std::string L(const std::string& function, const std::string& message) {
  return LogLine(0, 3, kHandlerTag, "ZunoPlayerEventListener.cpp", function, message);
}

std::string T(const std::string& function, const std::string& message) {
  return LogLine(0, 3, kHandlerTag, "LumivexEventListener.cpp", function, message);
}

std::string Line(const std::string& text, const std::string& function) {
  if (text.size() < 2 || (text[1] != ':' && text[1] != ' ')) {
    return text;
  }
  const std::size_t space = text.find(' ');
  const std::string in = text[1] == ':' ? text.substr(2, space - 2) : function;
  const std::string message = text.substr(space + 1);
  switch (text[0]) {
    case 'h':
      return H(in, message);
    case 'H':
      return HE(in, message);
    case 'a':
      return A(in, message);
    case 'A':
      return AE(in, message);
    case 'l':
      return L(in, message);
    case 't':
      return T(in, message);
    case 'K':
      return LogLine(2, 6, "KPP_BASE", "LumivexMessageHandler.h", "CLumivexPluginInstance",
                     "[PluginLogging] " + message);
    default:
      return text;
  }
}

Lines Script(const std::string& text, const std::string& function) {
  Lines lines = Split(text);
  for (std::string& line : lines) {
    line = Line(line, function);
  }
  return lines;
}

}  // namespace lumivex::test

// The platform log, in the place of the library's.
int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  using lumivex::test::Journal;
  using lumivex::test::kPrefix;
  va_list arguments;
  va_start(arguments, format);
  va_list leading;
  va_copy(leading, arguments);
  char* formatted = nullptr;
  const int length = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  const std::string text = formatted;
  std::free(formatted);
  if (std::strncmp(format, kPrefix, sizeof kPrefix - 1) != 0) {
    va_end(leading);
    Journal::Get().Add("log line without its place: " + text, format);
    return length;
  }
  const std::string file = va_arg(leading, const char*);
  const std::string function = va_arg(leading, const char*);
  const int line = va_arg(leading, int);
  va_end(leading);
  const std::size_t prefix =
      file.size() + function.size() + std::to_string(line).size() + std::strlen(": () > ");
  std::string entry =
      lumivex::test::LogLine(buffer, priority, tag, file, function, text.substr(prefix));
  entry += line > 0 ? "" : " (from no source line)";
  Journal::Get().Add(std::move(entry), format);
  return length;
}
