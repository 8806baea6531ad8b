// The platform log on a desktop: one printable line per call.
//
//   LUMIVEX_DLOG       lowest level to show: verbose, debug, info, warn, error, fatal or a
//   priority's
//                      number; unset or empty: none
//   LUMIVEX_DLOG_FILE  file to append to instead of standard error
//
// Both are read once, at the first line.

#include "dlog.h"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "printable.h"

namespace {

constexpr int kQuiet = INT_MAX;

struct Level {
  const char* name;
  char letter;
  int priority;
};

// The platform's scale of priorities.
constexpr Level kLevels[] = {
    {"verbose", 'V', 2}, {"debug", 'D', DLOG_DEBUG}, {"info", 'I', 4},
    {"warn", 'W', 5},    {"error", 'E', DLOG_ERROR}, {"fatal", 'F', 7},
};

int LowestPriority() {
  const char* wanted = std::getenv("LUMIVEX_DLOG");
  if (wanted == nullptr || *wanted == '\0') {
    return kQuiet;
  }
  for (const Level& level : kLevels) {
    if (std::strcmp(wanted, level.name) == 0) {
      return level.priority;
    }
  }
  char* end = nullptr;
  const long number = std::strtol(wanted, &end, 10);
  if (*end == '\0' && number >= 0 && number < INT_MAX) {
    return static_cast<int>(number);
  }
  std::fprintf(stderr, "dlog: unknown log level \"%s\" in LUMIVEX_DLOG; showing errors\n",
               lumivex::Printable(wanted).c_str());
  return DLOG_ERROR;
}

int OpenOutput() {
  const char* path = std::getenv("LUMIVEX_DLOG_FILE");
  if (path == nullptr || *path == '\0') {
    return STDERR_FILENO;
  }
  const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) {
    std::fprintf(stderr, "dlog: %s: %s; logging to standard error\n",
                 lumivex::Printable(path).c_str(), std::strerror(errno));
    return STDERR_FILENO;
  }
  return file;
}

char LetterOf(int priority) {
  for (const Level& level : kLevels) {
    if (level.priority == priority) {
      return level.letter;
    }
  }
  return '?';
}

}  // namespace

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  static const int lowest = LowestPriority();
  if (priority < lowest || lowest == kQuiet) {
    return 0;
  }
  static const int output = OpenOutput();

  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::vector<char> text(length < 0 ? 1 : static_cast<std::size_t>(length) + 1, '\0');
  if (length >= 0) {
    std::vsnprintf(text.data(), text.size(), format, again);
    if (length > 0 && text[text.size() - 2] == '\n') {
      text[text.size() - 2] = '\0';
    }
  }
  va_end(again);
  if (length < 0) {
    return length;
  }

  std::string line = "[" + std::to_string(buffer) + "] " + LetterOf(priority) + "/";
  line += lumivex::Printable(tag == nullptr ? "" : tag) + ": ";
  line += lumivex::Printable(text.data()) + '\n';
  // A single write keeps the lines of concurrent callers apart.
  return static_cast<int>(write(output, line.data(), line.size()));
}
