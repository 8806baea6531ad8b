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

#include "IZunoPlayer.h"
#include "host/browser.h"

namespace lumivex::fuzz {

// Bytes taken round and round; 0 when there are none, which is success everywhere. Set while no
// thread of the plug-in runs.
class Answers {
 public:
  void Set(std::string_view bytes);
  unsigned int Byte();
  bool Success() { return Byte() % 8 != 7; }
  int Number();
  // Any bytes; remembers when they were not UTF-8.
  std::string Text();
  bool TakeGaveBadText() { return gave_bad_text_.exchange(false); }

 private:
  std::string bytes_;
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> gave_bad_text_{false};
};

class FakePlayer;

struct Platform {
  static Platform& Get();

  Answers answers;
  bool events_from_calls = false;    // player and tuner report back from inside their operations
  std::vector<FakePlayer*> players;  // alive, in the order of creation
  std::atomic<int> libraries{0};     // opened and not closed
  std::atomic<int> tuners{0};        // obtained and not given back
};

class FakePlayer final : public IZunoPlayer {
 public:
  FakePlayer();
  FakePlayer(const FakePlayer&) = delete;
  FakePlayer& operator=(const FakePlayer&) = delete;
  ~FakePlayer() override;

  bool InitPlayer(const char* url, unsigned int) override { return Call(url); }
  bool Play(int) override { return Call(); }
  bool Stop() override { return Call(); }
  int SetDrmInfo(
      const char* name, int name_length, const char* data, int data_length, int) override;
  bool GetResolution(int* width, int* height) override;
  bool Pause() override { return Call(); }
  bool Resume() override { return Call(); }
  bool Seek(int) override { return Call(); }
  bool SetPlaySpeed(float) override { return Call(); }
  bool GetCurrentPosition(int* msec) override { return Fill(msec); }
  bool GetDuration(int* msec) override { return Fill(msec); }
  bool GetAvailableBitrates(std::vector<unsigned int>* bitrates) override;
  bool GetTotalNumOfStreamID(int, int* count) override { return Fill(count); }
  bool GetCurrentStreamID(int, int* index) override { return Fill(index); }
  bool GetStreamLanguageCode(int, int, std::string* language, std::string* further) override;
  bool StartSubtitle(const char* path, int) override { return Call(path); }
  bool SetCurrentPositionCallback(PositionCallback callback, void* user) override;
  bool SetMessageCallback(MessageCallback callback, void* user) override;
  bool SetAttribute(int, ...) override { return Call(); }
  bool SetStreamID(int, int) override { return Call(); }

  MessageCallback message = nullptr;
  void* message_user = nullptr;
  PositionCallback position = nullptr;
  void* position_user = nullptr;
  // What GetResolution answered; none: it failed.
  std::vector<std::optional<std::pair<int, int>>> resolutions;

 private:
  bool Call(const char* text = nullptr);
  bool Fill(int* output);
};

// The plug-in that is linked into the program.
void LoadPlugin(host::Browser* browser);
// Unloads it, and checks that everything that it took was given back.
void UnloadPlugin(host::Browser* browser);

}  // namespace lumivex::fuzz

#endif  // FUZZ_PLATFORM_H_
