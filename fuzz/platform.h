#ifndef FUZZ_PLATFORM_H_
#define FUZZ_PLATFORM_H_

// The platform as the fuzzer has it: the log, the loader, the tuner service and the player library
// stand in the program itself and answer what the input says.

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "answering_player.h"
#include "answers.h"
#include "host/browser.h"

namespace lumivex::fuzz {

// Bytes taken round and round; 0 when there are none. Set while no thread of the plug-in runs.
class InputAnswers final : public test::Answers {
 public:
  void Set(std::string_view bytes);
  unsigned int Byte() override;

 private:
  std::string bytes_;
  std::atomic<std::size_t> next_{0};
};

class FakePlayer;

struct Platform {
  static Platform& Get();

  InputAnswers answers;
  bool events_from_calls = false;    // players report back from inside their operations
  std::vector<FakePlayer*> players;  // alive, in the order of creation
  std::atomic<int> libraries{0};     // opened and not closed
};

class FakePlayer final : public test::AnsweringPlayer {
 public:
  FakePlayer();
  ~FakePlayer() override;

  bool GetResolution(int* width, int* height) override;

  // What GetResolution answered; none: it failed.
  std::vector<std::optional<std::pair<int, int>>> resolutions;

 private:
  void OnCall() override;
};

// The plug-in that is linked into the program.
void LoadPlugin(host::Browser* browser);
// Unloads it, and checks that everything that it took was given back.
void UnloadPlugin(host::Browser* browser);

}  // namespace lumivex::fuzz

#endif  // FUZZ_PLATFORM_H_
