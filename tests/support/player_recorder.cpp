#include "player_recorder.h"

#include <array>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "journal.h"

namespace lumivex::test {

namespace {

using MessageCallback = int (*)(int id, void* record, void* user);
using PositionCallback = void (*)(unsigned long position, void* user);
constexpr std::size_t kOperations = 78;

struct Player {
  void* const* table = nullptr;
  int number = 0;
  MessageCallback message = nullptr;
  void* message_user = nullptr;
  PositionCallback position = nullptr;
  void* position_user = nullptr;
};

Player players[2000];  // never freed: a stale call finds its object
int players_used = 0;

PlayerRecorder& Answers() {
  return PlayerRecorder::Get();
}

bool Fills(int position, bool success) {
  return success && Answers().silent.count(position) == 0;
}

// Records a call; the result is what an operation that answers success has to say.
bool Call(void* self, int position, const std::string& arguments) {
  const int number = static_cast<Player*>(self)->number;
  Journal::Get().Add("player" + (number == 1 ? "" : std::to_string(number)) + " " +
                     std::to_string(position) + "(" + arguments + ")");
  if (Answers().on_call) {
    Answers().on_call(position);
  }
  return Answers().failing.count(position) == 0;
}

std::string Text(int value) {
  return std::to_string(value);
}

std::string Held(const int* output) {
  return "*" + std::to_string(*output);
}

void Fill(int* output, int position, bool success) {
  if (Fills(position, success)) {
    *output = Answers().number;
  }
}

template <int kPosition>
int Unexpected(void* self) {
  Call(self, kPosition, "unexpected");
  return 0;
}

template <int kPosition>
bool NoArguments(void* self) {
  return Call(self, kPosition, "");
}

template <int kPosition>
bool OneInteger(void* self, int value) {
  return Call(self, kPosition, Text(value));
}

template <int kPosition>
bool OneOutput(void* self, int* output) {
  const bool success = Call(self, kPosition, Held(output));
  Fill(output, kPosition, success);
  return success;
}

template <int kPosition>
bool StreamOutput(void* self, int stream_type, int* output) {
  const bool success = Call(self, kPosition, Text(stream_type) + ", " + Held(output));
  Fill(output, kPosition, success);
  return success;
}

void Delete(void* self) {
  Call(self, 1, "");
  --Answers().alive;
  if (Answers().on_delete) {
    Answers().on_delete();
  }
}

bool InitPlayer(void* self, const char* url, unsigned int time_offset) {
  return Call(self, 6, Quote(url) + ", " + std::to_string(time_offset));
}

int SetDrmInfo(
    void* self, const char* name, int name_length, const char* data, int data_length, int last) {
  const bool success =
      Call(self, 14,
           Quote(std::string(name, static_cast<std::size_t>(name_length))) + ", " +
               Quote(std::string(data, static_cast<std::size_t>(data_length))) + ", " + Text(last));
  return success ? 0 : Answers().drm_failure;
}

bool GetResolution(void* self, int* width, int* height) {
  const bool success = Call(self, 15, Held(width) + ", " + Held(height));
  if (Fills(15, success)) {
    *width = Answers().width;
    *height = Answers().height;
  }
  return success;
}

bool SetPlaySpeed(void* self, float speed) {
  return Call(self, 25, std::to_string(static_cast<double>(speed)));
}

bool GetAvailableBitrates(void* self, std::vector<unsigned int>* bitrates) {
  const bool success = Call(self, 30, "*" + std::to_string(bitrates->size()) + " bitrates");
  if (Fills(30, true)) {  // on failure too: the plug-in must not look at them then
    *bitrates = Answers().bitrates;
  }
  return success;
}

bool GetStreamLanguageCode(
    void* self, int stream_type, int index, std::string* language, std::string* further) {
  const bool success = Call(
      self, 36,
      Text(stream_type) + ", " + Text(index) + ", *" + Quote(*language) + ", *" + Quote(*further));
  if (Fills(36, true)) {
    *language = Answers().language;
    *further = "for nobody";
  }
  return success;
}

bool StartSubtitle(void* self, const char* path, int last) {
  return Call(self, 46, Quote(path) + ", " + Text(last));
}

bool SetPositionCallback(void* self, PositionCallback callback, void* user) {
  const bool success = Call(self, 52, "");
  if (success) {
    static_cast<Player*>(self)->position = callback;
    static_cast<Player*>(self)->position_user = user;
    Answers().position_callback = callback;
    Answers().position_user = user;
  }
  return success;
}

bool SetMessageCallback(void* self, MessageCallback callback, void* user) {
  const bool success = Call(self, 53, "");
  if (success) {
    static_cast<Player*>(self)->message = callback;
    static_cast<Player*>(self)->message_user = user;
    Answers().message_callback = callback;
    Answers().message_user = user;
  }
  return success;
}

bool SetAttribute(void* self, int first, ...) {
  std::string text = Text(first);
  va_list arguments;
  va_start(arguments, first);
  while (const char* name = va_arg(arguments, const char*)) {
    const void* value = va_arg(arguments, const void*);
    const int size = va_arg(arguments, int);
    text += std::string(", ") + name + ":";
    for (int at = 0; at + 4 <= size; at += 4) {
      std::int32_t word = 0;
      std::memcpy(&word, static_cast<const char*>(value) + at, sizeof word);
      text += " " + std::to_string(word);
    }
    text += " (" + std::to_string(size) + ")";
  }
  va_end(arguments);
  return Call(self, 75, text);
}

bool SetStreamId(void* self, int stream_type, int index) {
  return Call(self, 77, Text(stream_type) + ", " + Text(index));
}

template <std::size_t... kPositions>
std::array<void*, kOperations> MakeTable(std::index_sequence<kPositions...>) {
  std::array<void*, kOperations> table = {
      reinterpret_cast<void*>(&Unexpected<static_cast<int>(kPositions)>)...};
  const auto set = [&table](std::size_t position, auto* function) {
    table[position] = reinterpret_cast<void*>(function);
  };
  set(1, &Delete);
  set(3, &OneInteger<3>);
  set(6, &InitPlayer);
  set(10, &OneInteger<10>);
  set(11, &NoArguments<11>);
  set(14, &SetDrmInfo);
  set(15, &GetResolution);
  set(17, &NoArguments<17>);
  set(18, &NoArguments<18>);
  set(20, &OneInteger<20>);
  set(23, &OneInteger<23>);
  set(24, &OneInteger<24>);
  set(25, &SetPlaySpeed);
  set(27, &OneOutput<27>);
  set(28, &OneOutput<28>);
  set(30, &GetAvailableBitrates);
  set(32, &StreamOutput<32>);
  set(33, &StreamOutput<33>);
  set(36, &GetStreamLanguageCode);
  set(46, &StartSubtitle);
  set(52, &SetPositionCallback);
  set(53, &SetMessageCallback);
  set(75, &SetAttribute);
  set(77, &SetStreamId);
  return table;
}

}  // namespace

MessageRecord::MessageRecord(const char* data, std::uint32_t percent, std::int32_t value) {
  std::memset(bytes_, 0x5a, sizeof bytes_);  // whatever is read besides shows
  std::memcpy(bytes_, &data, sizeof data);
  std::memcpy(bytes_ + 8, &percent, sizeof percent);
  std::memcpy(bytes_ + 432, &value, sizeof value);
}

void PlayerRecorder::Reset() {
  Get() = PlayerRecorder();
  players_used = 0;
}

PlayerRecorder& PlayerRecorder::Get() {
  static PlayerRecorder recorder;
  return recorder;
}

void* PlayerRecorder::Create() {
  static const std::array<void*, kOperations> table =
      MakeTable(std::make_index_sequence<kOperations>());
  Journal::Get().Add("player Create");
  if (!creates) {
    return nullptr;
  }
  ++alive;
  Player* const player = &players[players_used++];
  *player = Player{};
  player->table = table.data();
  player->number = players_used;
  return player;
}

int PlayerRecorder::Message(int id, void* record, int player) {
  const Player& from = players[player - 1];
  return from.message(id, record, from.message_user);
}

void PlayerRecorder::Position(unsigned long position, int player) {
  const Player& from = players[player - 1];
  from.position(position, from.position_user);
}

}  // namespace lumivex::test

// What the staged player library calls.
extern "C" __attribute__((visibility("default"))) void* LumivexTestCreatePlayer() {
  return lumivex::test::PlayerRecorder::Get().Create();
}

extern "C" __attribute__((visibility("default"))) void LumivexTestPlayerLibrary(const char* what) {
  lumivex::test::Journal::Get().Add(std::string("player library ") + what);
}
