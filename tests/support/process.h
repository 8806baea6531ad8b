#ifndef TESTS_SUPPORT_PROCESS_H_
#define TESTS_SUPPORT_PROCESS_H_

// Counts this process's threads and open files.

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <thread>

namespace lumivex::test {

inline std::ptrdiff_t CountEntries(const char* directory) {
  namespace fs = std::filesystem;
  return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}
inline std::ptrdiff_t CountThreads() {
  return CountEntries("/proc/self/task");
}
inline std::ptrdiff_t CountFiles() {
  return CountEntries("/proc/self/fd");
}

// A sanitizer starts a thread of its own along with the first one.
inline void StartFirstThread() {
  std::thread([] {}).join();
  usleep(20000);
}

// A joined thread may be listed for a moment longer.
inline bool ThreadsComeTo(std::ptrdiff_t count) {
  for (int i = 0; i < 10000 && CountThreads() != count; ++i) {
    usleep(1000);
  }
  return CountThreads() == count;
}

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_PROCESS_H_
