#include "figures.h"

#include <malloc.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#ifdef __SANITIZE_ADDRESS__
#define LUMIVEX_ADDRESS_SANITIZED 1
#else
#define LUMIVEX_ADDRESS_SANITIZED 0
#endif
#if LUMIVEX_ADDRESS_SANITIZED || defined(__SANITIZE_THREAD__)
#define LUMIVEX_SANITIZED 1
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // in no header of the compiler's
#else
#define LUMIVEX_SANITIZED 0
#endif

namespace lumivex::soak {

namespace {

constexpr int64_t kAllowedHeap = 4 << 10;
// AddressSanitizer keeps a note at exit for each static object of a library, also when the library
// is long unloaded.
constexpr int64_t kAllowedHeapPerLoad = LUMIVEX_ADDRESS_SANITIZED ? 512 : 0;
// Sanitizers remember what was freed and who wrote where, so theirs says nothing.
constexpr int64_t kAllowedResident = LUMIVEX_SANITIZED ? INT64_MAX : 8 << 20;

int64_t EntriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

}  // namespace

const std::array<Rule, kFigures> kRules = {{
    {"heap in use, bytes", kAllowedHeap, false},
    {"resident, bytes", kAllowedResident, false},
    {"threads", 0, true},
    {"handles", 0, true},
    {"live vars", 0, true},
    {"live resources", 0, true},
    {"defects", 0, true},
    {"players", 0, true},
    {"player library loaded", 0, true},
    {"tuner instances", 0, true},
    {"plug-in library loaded", 0, true},
    {"events lost", 0, true},
}};

int64_t HeapBytes() {
#if LUMIVEX_SANITIZED
  return static_cast<int64_t>(__sanitizer_get_current_allocated_bytes());
#else
  const struct mallinfo2 info = mallinfo2();
  return static_cast<int64_t>(info.uordblks + info.hblkhd);
#endif
}

int64_t ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  int64_t size = 0;
  int64_t resident = 0;
  file >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

int64_t Threads() {
  return EntriesOf("/proc/self/task");
}

int64_t Handles() {
  return EntriesOf("/proc/self/fd");
}

bool HoldsNow(const Figures& base, const Figures& now) {
  for (std::size_t i = 0; i < kRules.size(); ++i) {
    if (kRules[i].at_each_point && now[i] != base[i]) {
      return false;
    }
  }
  return true;
}

bool Judge(const Figures& base, const Figures& first, const Figures& last, int64_t loads) {
  bool all_flat = true;
  std::printf("\n%-24s %12s %12s %12s\n", "", "first", "last", "may grow by");
  for (std::size_t i = 0; i < kRules.size(); ++i) {
    const Rule& rule = kRules[i];
    const int64_t from = rule.at_each_point ? base[i] : first[i];
    const int64_t allowed = rule.allowed + (i == kHeap ? loads * kAllowedHeapPerLoad : 0);
    const bool flat = rule.at_each_point ? last[i] == from : last[i] - from <= allowed;
    all_flat = all_flat && flat;
    std::printf("%-24s %12" PRId64 " %12" PRId64 " %12s  %s\n", rule.name, from, last[i],
                allowed == INT64_MAX ? "any" : std::to_string(allowed).c_str(),
                flat ? "flat" : "NOT FLAT");
  }
  return all_flat;
}

}  // namespace lumivex::soak
