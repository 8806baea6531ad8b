#include <array>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "player_library.h"
#include "stage.h"

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

Player made[1000];  // never freed: a stale call finds its object

Player& PlayerOf(void* self) {
  return *static_cast<Player*>(self);
}

Answer Call(void* self, int position, const std::string& arguments) {
  return Enter("player", PlayerOf(self).number, std::to_string(position), arguments);
}

std::string Text(int value) {
  return std::to_string(value);
}

std::string Held(const int* output) {
  return "*" + std::to_string(*output);
}

bool Fill(int* output, const Answer& answer) {
  if (answer.fills) {
    *output = answer.number;
  }
  return answer.success;
}

template <int kPosition>
int Unexpected(void* self) {
  Call(self, kPosition, "unexpected");
  return 0;
}

template <int kPosition>
bool NoArguments(void* self) {
  return Call(self, kPosition, "").success;
}

template <int kPosition>
bool OneInteger(void* self, int value) {
  return Call(self, kPosition, Text(value)).success;
}

template <int kPosition>
bool OneOutput(void* self, int* output) {
  return Fill(output, Call(self, kPosition, Held(output)));
}

template <int kPosition>
bool StreamOutput(void* self, int stream_type, int* output) {
  return Fill(output, Call(self, kPosition, Text(stream_type) + ", " + Held(output)));
}

void Delete(void* self) {
  Call(self, 1, "");
  PlayerOf(self).message = nullptr;  // nothing is reported any more
  PlayerOf(self).position = nullptr;
  --Stage::Get().players;
}

bool InitPlayer(void* self, const char* url, unsigned int time_offset) {
  return Call(self, 6, Quote(url) + ", " + std::to_string(time_offset)).success;
}

int SetDrmInfo(
    void* self, const char* name, int name_length, const char* data, int data_length, int last) {
  const Answer answer =
      Call(self, 14,
           Quote(std::string(name, static_cast<std::size_t>(name_length))) + ", " +
               Quote(std::string(data, static_cast<std::size_t>(data_length))) + ", " + Text(last));
  return answer.success ? 0 : -5;
}

bool GetResolution(void* self, int* width, int* height) {
  const Answer answer = Call(self, 15, Held(width) + ", " + Held(height));
  if (answer.fills) {
    *width = answer.width;
    *height = answer.height;
  }
  return answer.success;
}

bool SetPlaySpeed(void* self, float speed) {
  return Call(self, 25, std::to_string(static_cast<double>(speed))).success;
}

bool GetAvailableBitrates(void* self, std::vector<unsigned int>* bitrates) {
  const Answer answer = Call(self, 30, "*" + std::to_string(bitrates->size()) + " bitrates");
  if (answer.fills) {
    *bitrates = answer.bitrates;
  }
  return answer.success;
}

bool GetStreamLanguageCode(
    void* self, int stream_type, int index, std::string* language, std::string* further) {
  const Answer answer = Call(
      self, 36,
      Text(stream_type) + ", " + Text(index) + ", *" + Quote(*language) + ", *" + Quote(*further));
  if (answer.fills) {
    *language = answer.text;
    *further = "for nobody";
  }
  return answer.success;
}

bool StartSubtitle(void* self, const char* path, int last) {
  return Call(self, 46, Quote(path) + ", " + Text(last)).success;
}

bool SetPositionCallback(void* self, PositionCallback callback, void* user) {
  const Answer answer = Call(self, 52, "");
  if (answer.success) {
    PlayerOf(self).position = Stage::Get().position_callback = callback;
    PlayerOf(self).position_user = Stage::Get().position_user = user;
  }
  return answer.success;
}

bool SetMessageCallback(void* self, MessageCallback callback, void* user) {
  const Answer answer = Call(self, 53, "");
  if (answer.success) {
    PlayerOf(self).message = Stage::Get().message_callback = callback;
    PlayerOf(self).message_user = Stage::Get().message_user = user;
  }
  return answer.success;
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
  return Call(self, 75, text).success;
}

bool SetStreamId(void* self, int stream_type, int index) {
  return Call(self, 77, Text(stream_type) + ", " + Text(index)).success;
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

void* CreatePlayer() {
  static const std::array<void*, kOperations> table =
      MakeTable(std::make_index_sequence<kOperations>());
  Stage& stage = Stage::Get();
  if (!Enter("player", 1, "Create", "").success) {
    return nullptr;
  }
  ++stage.players;
  Player* const player = &made[stage.players_made++];
  *player = Player{};
  player->table = table.data();
  player->number = stage.players_made;
  return player;
}

int Stage::Message(int id, void* record, int number) {
  const EventScope scope;
  const Player& from = made[number - 1];
  return from.message(id, record, from.message_user);
}

void Stage::Position(unsigned long position, int number) {
  const EventScope scope;
  const Player& from = made[number - 1];
  from.position(position, from.position_user);
}

bool Stage::Hears(int number) const {
  return number <= players_made && made[number - 1].message != nullptr &&
         made[number - 1].position != nullptr;
}

}  // namespace lumivex::test
