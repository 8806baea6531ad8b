#include "journal.h"

#include <dlog.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace lumivex::test {

namespace {

constexpr char kPrefix[] = "%s: %s(%d) > ";
constexpr char kHandlerTag[] = "LUMIVEX_PPLUGIN";
constexpr char kAdapterTag[] = "ZunoPlayerAdapter";

}  // namespace

Journal& Journal::Get() {
  static Journal& journal = *new Journal;  // outlives the threads that may still log at exit
  return journal;
}

void Journal::Add(std::string text, std::string format) {
  char name[16] = {};
  prctl(PR_GET_NAME, name);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!paused_) {
    entries_.push_back({std::move(text), std::move(format), name, gettid()});
  }
}

std::vector<Journal::Entry> Journal::TakeEntries() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(entries_, {});
}

std::vector<std::string> Journal::Take() {
  std::vector<std::string> texts;
  for (Entry& entry : TakeEntries()) {
    texts.push_back(std::move(entry.text));
  }
  return texts;
}

void Journal::Pause(bool paused) {
  const std::lock_guard<std::mutex> lock(mutex_);
  paused_ = paused;
}

std::string LogLine(int buffer,
                    int priority,
                    const std::string& tag,
                    const std::string& file,
                    const std::string& function,
                    const std::string& message) {
  return std::to_string(buffer) + "/" + std::to_string(priority) + "/" + tag + " " + file + " " +
         function + ": " + message;
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

}  // namespace lumivex::test

// The platform log, in the place of the library's.
int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  using lumivex::test::Journal;
  using lumivex::test::kPrefix;
  const std::string whole_format = format;
  va_list arguments;
  va_start(arguments, format);
  va_list leading;
  va_copy(leading, arguments);
  char text[4096];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (whole_format.compare(0, sizeof kPrefix - 1, kPrefix) != 0) {
    va_end(leading);
    Journal::Get().Add("log line without its place: " + whole_format, whole_format);
    return length;
  }
  const std::string file = va_arg(leading, const char*);
  const std::string function = va_arg(leading, const char*);
  const int line = va_arg(leading, int);
  va_end(leading);
  const std::string prefix = file + ": " + function + "(" + std::to_string(line) + ") > ";
  std::string entry = lumivex::test::LogLine(buffer, priority, tag, file, function,
                                             std::string(text).substr(prefix.size()));
  if (line <= 0) {
    entry += " (from no source line)";
  }
  Journal::Get().Add(std::move(entry), whole_format);
  return Journal::Get().log_fails ? -1 : length;
}
