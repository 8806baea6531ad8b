#ifndef TESTS_SUPPORT_WAIT_UNTIL_H_
#define TESTS_SUPPORT_WAIT_UNTIL_H_

#include <chrono>
#include <thread>

// Polls until the condition is true or the time is up; returns the last result.
template <typename Condition>
bool WaitUntil(std::chrono::milliseconds limit, Condition condition) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

#endif  // TESTS_SUPPORT_WAIT_UNTIL_H_
