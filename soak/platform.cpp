#include "platform.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>

#include "answering_player.h"
#include "answering_tuner.h"
#include "answers.h"
#include "check.h"
#include "gate.h"
#include "random.h"
#include "watchdog.h"

namespace lumivex::soak {

namespace {

// Streams of random numbers from here on are the threads'; those of the elements lie below.
constexpr uint64_t kFirstThreadStream = uint64_t{1} << 40;

class RandomAnswers final : public test::Answers {
 public:
  unsigned int Byte() override {
    thread_local Random random(Platform::seed, kFirstThreadStream + threads_++);
    return random.Below(256);
  }

 private:
  std::atomic<uint64_t> threads_{0};
};

class Player final : public test::AnsweringPlayer {
 public:
  Player();
  ~Player() override;

  // To any player, on the calling thread; false when none is free for it.
  static bool ReportToAny(Random* random);

 private:
  void Report(bool is_position);

  test::Gate messages_;
  test::Gate positions_;
};

std::mutex mutex;
std::vector<Player*>& players = *new std::vector<Player*>;  // guarded by mutex; alive

Player::Player() : AnsweringPlayer(Platform::owner) {
  const std::lock_guard<std::mutex> lock(mutex);
  players.push_back(this);
}

Player::~Player() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    players.erase(std::find(players.begin(), players.end(), this));
  }
  messages_.Shut();
  positions_.Shut();
}

bool Player::ReportToAny(Random* random) {
  const bool is_position = random->OneIn(3);
  Player* player = nullptr;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (players.empty()) {
      return false;
    }
    player = random->Pick(players);
    if (!(is_position ? player->positions_ : player->messages_).TryEnter()) {
      return false;
    }
  }
  player->Report(is_position);
  return true;
}

void Player::Report(bool is_position) {
  const std::string whose = " of the player of element " + std::to_string(tag_);
  if (is_position) {
    const Watchdog::Step step("a position" + whose);
    const Callbacks to = callbacks();
    if (to.position != nullptr) {
      to.position(static_cast<unsigned long>(tag_), to.position_user);
      ++Platform::reported;
    }
    positions_.Leave();
    return;
  }
  const Watchdog::Step step("a message" + whose);
  const std::optional<int> result = ReportMessage();
  test::Check(!result || *result == 1 || *result == -1, "a message's result",
              std::to_string(result.value_or(0)));
  Platform::reported += result == 1 ? 1 : 0;
  messages_.Leave();
}

}  // namespace

int64_t Platform::Players() {
  const std::lock_guard<std::mutex> lock(mutex);
  return static_cast<int64_t>(players.size());
}

EventThreads::EventThreads(int count, Pause* pause) : pause_(pause) {
  for (int i = 0; i < count; ++i) {
    threads_.emplace_back([this, i] { Run(static_cast<unsigned int>(i)); });
  }
}

EventThreads::~EventThreads() {
  is_ended_ = true;
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

void EventThreads::Run(unsigned int number) const {
  Random random(Platform::seed, kFirstThreadStream - 1 - number);
  while (!is_ended_) {
    for (unsigned int burst = random.Below(20); burst > 0; --burst) {
      const Pause::Step pausable(pause_);
      if (random.OneIn(6)) {
        const Watchdog::Step step("an event of the tuner");
        test::AnsweringTuner::Report();
      } else {
        Player::ReportToAny(&random);
      }
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random.Below(500)));
  }
}

}  // namespace lumivex::soak

lumivex::test::Answers& lumivex::test::Say() {
  static soak::RandomAnswers& answers = *new soak::RandomAnswers;
  return answers;
}

// What the staged player library calls.
extern "C" __attribute__((visibility("default"))) void* LumivexTestCreatePlayer() {
  using lumivex::soak::Player;
  return lumivex::test::Say().Success() ? static_cast<IZunoPlayer*>(new Player) : nullptr;
}

extern "C" __attribute__((visibility("default"))) void LumivexTestPlayerLibrary(const char* what) {
  lumivex::soak::Platform::libraries += std::strcmp(what, "loaded") == 0 ? 1 : -1;
}
