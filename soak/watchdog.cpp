#include "watchdog.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace lumivex::soak {

namespace {

// No step takes a second, sanitized and on a busy machine.
constexpr std::chrono::seconds kPatience{20};
constexpr std::size_t kLongestText = 200;

}  // namespace

Watchdog& Watchdog::Get() {
  static Watchdog watchdog;
  return watchdog;
}

Watchdog::Step::Step(std::string what) {
  Watchdog& dog = Get();
  const std::lock_guard<std::mutex> lock(dog.mutex_);
  entry_ = dog.steps_.insert(dog.steps_.end(), {std::move(what), Clock::now()});
}

Watchdog::Step::~Step() {
  Watchdog& dog = Get();
  const std::lock_guard<std::mutex> lock(dog.mutex_);
  dog.steps_.erase(entry_);
}

Watchdog::~Watchdog() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_ended_ = true;
  }
  ended_.notify_all();
  thread_.join();
}

void Watchdog::Watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!ended_.wait_for(lock, std::chrono::seconds(1), [this] { return is_ended_; })) {
    const Clock::time_point now = Clock::now();
    if (!steps_.empty() && now - steps_.front().since > kPatience) {  // the oldest
      Complain(now);
      std::abort();
    }
  }
}

void Watchdog::Complain(Clock::time_point now) {
  std::fprintf(stderr, "\nHANGS: nothing has moved for %d s; under way are, the oldest first:\n",
               static_cast<int>(kPatience.count()));
  for (const Entry& entry : steps_) {
    std::string text = entry.what.substr(0, kLongestText);
    for (char& c : text) {
      c = std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '?';
    }
    std::fprintf(stderr, "  %6.1f s  %s\n",
                 std::chrono::duration<double>(now - entry.since).count(), text.c_str());
  }
}

}  // namespace lumivex::soak
