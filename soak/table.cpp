#include "table.h"

#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <string>

namespace lumivex::soak {

Table::Table() : is_terminal_(isatty(STDOUT_FILENO) == 1) {}

void Table::PrintHead() const {
  std::string codes;
  for (const int code : Counts::kCodes) {
    const std::string text = "code " + std::to_string(code);
    codes += std::string(10 - text.size(), ' ') + text;
  }
  std::printf("%7s %8s %9s %3s %3s %4s %5s %8s %10s%s %9s %9s\n", "time s", "rss KiB", "heap B",
              "thr", "fds", "vars", "loops", "elements", "messages", codes.c_str(), "events/s",
              "dropped/s");
}

void Table::PrintRow(const Work& work, const Figures& figures) {
  ClearProgress();
  std::string replies;
  for (const int64_t count : work.replies) {
    const std::string text = std::to_string(count);
    replies += std::string(text.size() < 10 ? 10 - text.size() : 1, ' ') + text;
  }
  const double seconds = work.seconds - last_.seconds;
  std::printf("%7.1f %8" PRId64 " %9" PRId64 " %3" PRId64 " %3" PRId64 " %4" PRId64 " %5" PRId64
              " %8" PRId64 " %10" PRId64 "%s %9.0f %9.0f\n",
              work.seconds, figures[kResident] / 1024, figures[kHeap], figures[kThreads],
              figures[kHandles], figures[kVars], figures[kResources], work.opened, work.messages,
              replies.c_str(), static_cast<double>(work.events - last_.events) / seconds,
              static_cast<double>(work.dropped - last_.dropped) / seconds);
  std::fflush(stdout);
  last_ = work;
}

void Table::PrintLivingHeap(double seconds, std::size_t elements, int64_t bytes) {
  ClearProgress();
  std::printf("%7.1f %8s %9" PRId64 "  with %zu elements that stay, at rest\n", seconds, "", bytes,
              elements);
  std::fflush(stdout);
}

void Table::PrintProgress(const Work& work, double seconds_in_all) {
  if (is_terminal_) {
    ClearProgress();
    std::printf("%7.1f of %.0f s, %" PRId64 " elements, %" PRId64 " messages, %" PRId64 " events",
                work.seconds, seconds_in_all, work.opened, work.messages, work.events);
    std::fflush(stdout);
    has_progress_ = true;
  }
}

void Table::ClearProgress() {
  if (has_progress_) {
    std::fputs("\r\033[K", stdout);
    has_progress_ = false;
  }
}

}  // namespace lumivex::soak
