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

constexpr int64_t kNoLimit = INT64_MAX;

constexpr int64_t kAllowedHeap = 4 << 10;
// AddressSanitizer keeps a note at exit for each static object of a library, also when the library
// is long unloaded.
constexpr int64_t kAllowedHeapPerLoad = LUMIVEX_ADDRESS_SANITIZED ? 512 : 0;
// An element may hold a longer text than before, or the tuner by now.
constexpr int64_t kAllowedHeapPerElement = 1 << 10;
// Sanitizers remember what was freed and who wrote where, so theirs says nothing.
constexpr int64_t kAllowedResident = LUMIVEX_SANITIZED ? kNoLimit : 8 << 20;

struct Rule {
  const char* name;
  int64_t allowed;      // growth
  const char* unknown;  // why a figure was never looked at; null: it must hold at each quiet point,
                        // against the base line before all
};

constexpr const char* kEndedInWarmUp = "ended in the warm-up";

int64_t EntriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

constexpr std::array<Rule, kFigures> kRules = {{
    {"heap in use, bytes", kAllowedHeap, kEndedInWarmUp},
    {"heap of living elements, bytes", kAllowedHeap, "ended too early"},
    {"resident, bytes", kAllowedResident, kEndedInWarmUp},
    {"threads", 0, nullptr},
    {"handles", 0, nullptr},
    {"live vars", 0, nullptr},
    {"live resources", 0, nullptr},
    {"defects", 0, nullptr},
    {"players", 0, nullptr},
    {"player library loaded", 0, nullptr},
    {"tuner instances", 0, nullptr},
    {"plug-in library loaded", 0, nullptr},
    {"events lost", 0, nullptr},
}};

int64_t AllowedGrowth(std::size_t figure, int64_t loads, std::size_t elements) {
  const int64_t allowed = kRules[figure].allowed;
  switch (figure) {
    case kHeap:
      return allowed + loads * kAllowedHeapPerLoad;
    case kLivingHeap:
      return allowed + static_cast<int64_t>(elements) * kAllowedHeapPerElement;
    default:
      return allowed;
  }
}

std::string Text(int64_t number) {
  return number == kUnknown ? "-" : std::to_string(number);
}

}  // namespace

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
    if (kRules[i].unknown == nullptr && now[i] != base[i]) {
      return false;
    }
  }
  return true;
}

Verdict Judge(const Figures& base,
              const Figures& first,
              const Figures& last,
              int64_t loads,
              std::size_t elements) {
  bool all_flat = true;
  bool all_known = true;
  std::printf("\n%-30s %12s %12s %12s\n", "", "first", "last", "may grow by");
  for (std::size_t i = 0; i < kRules.size(); ++i) {
    const Rule& rule = kRules[i];
    const int64_t from = rule.unknown == nullptr ? base[i] : first[i];
    const int64_t allowed = AllowedGrowth(i, loads, elements);
    std::string fared = "flat";
    if (allowed == kNoLimit) {
      fared = "not judged: a sanitizer's own";
    } else if (rule.unknown != nullptr && (from == kUnknown || last[i] == kUnknown)) {
      fared = std::string("not judged: ") + rule.unknown;
      all_known = false;
    } else if (rule.unknown == nullptr ? last[i] != from : last[i] - from > allowed) {
      fared = "NOT FLAT";
      all_flat = false;
    }
    std::printf("%-30s %12s %12s %12s  %s\n", rule.name, Text(from).c_str(), Text(last[i]).c_str(),
                allowed == kNoLimit ? "-" : Text(allowed).c_str(), fared.c_str());
  }
  if (!all_flat) {
    return Verdict::kNotFlat;
  }
  return all_known ? Verdict::kFlat : Verdict::kNotJudged;
}

}  // namespace lumivex::soak
