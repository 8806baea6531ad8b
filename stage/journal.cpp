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

constexpr char kPrefix[] = "%s: %s(%d) > ";  // file, function, line

// The letters of log lines by "buffer/priority/tag file".
constexpr std::pair<const char*, const char*> kSources[] = {
    {"0/3/LUMIVEX_PPLUGIN LumivexMessageHandler.cpp", "h"},
    {"0/6/LUMIVEX_PPLUGIN LumivexMessageHandler.cpp", "H"},
    {"0/3/ZunoPlayerAdapter ZunoPlayerAdapter.cpp", "a"},
    {"0/6/ZunoPlayerAdapter ZunoPlayerAdapter.cpp", "A"},
    {"0/3/LUMIVEX_PPLUGIN ZunoPlayerEventListener.cpp", "l"},
    {"0/3/LUMIVEX_PPLUGIN LumivexEventListener.cpp", "t"},
    {"2/6/KPP_BASE LumivexMessageHandler.h", "K"}};

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

}  // namespace lumivex::test

// The platform log, in the place of the library's.
int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  using lumivex::test::kPrefix;
  va_list arguments;
  va_start(arguments, format);
  std::string source = std::to_string(buffer) + "/" + std::to_string(priority) + "/" + tag;
  std::string place;
  if (std::strncmp(format, kPrefix, sizeof kPrefix - 1) == 0) {
    format += sizeof kPrefix - 1;
    source += std::string(" ") + va_arg(arguments, const char*);
    place = va_arg(arguments, const char*);
    place += va_arg(arguments, int) > 0 ? " " : " (without a line) ";
  }
  char* message = nullptr;
  const int length = vasprintf(&message, format, arguments);
  va_end(arguments);
  for (const auto& [name, letter] : lumivex::test::kSources) {
    source = source == name ? letter : source;
  }
  lumivex::test::Journal::Get().Add(source + ":" + place + message, format);
  std::free(message);
  return length;
}
