#include <array>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "call.h"
#include "player_library.h"

namespace lumivex::test {

namespace {

constexpr std::size_t kOperations = 78;

Stage::Player& PlayerOf(void* self) {
  return *static_cast<Stage::Player*>(self);
}

int NumberOf(void* self) {
  return static_cast<int>(&PlayerOf(self) - Stage::Get().made.data()) + 1;
}

template <class... Arguments>
Answer CallAt(int position, void* self, Arguments... arguments) {
  return Call("player", NumberOf(self), std::to_string(position), arguments...);
}

template <int kPosition, class... Arguments>
bool Operation(void* self, Arguments... arguments) {
  return CallAt(kPosition, self, arguments...).success;
}

void Delete(void* self) {
  CallAt(1, self);
  PlayerOf(self).message = nullptr;  // nothing is reported any more
  PlayerOf(self).position = nullptr;
  --Stage::Get().players;
}

int SetDrmInfo(
    void* self, const char* name, int name_length, const char* data, int data_length, int last) {
  const Answer answer = CallAt(14, self, std::string(name, static_cast<std::size_t>(name_length)),
                               std::string(data, static_cast<std::size_t>(data_length)), last);
  return answer.success ? 0 : -5;
}

bool GetResolution(void* self, int* width, int* height) {
  const Answer answer = CallAt(15, self, width, height);
  if (answer.fills) {
    *width = answer.width;
    *height = answer.height;
  }
  return answer.success;
}

bool GetStreamLanguageCode(
    void* self, int stream_type, int index, std::string* language, std::string* further) {
  const Answer answer = CallAt(36, self, stream_type, index, language, further);
  *further = "for nobody";
  return answer.success;
}

bool SetPositionCallback(void* self, Stage::PositionCallback callback, void* user) {
  const bool success = CallAt(52, self).success;
  PlayerOf(self).position = success ? callback : nullptr;
  PlayerOf(self).position_user = user;
  return success;
}

bool SetMessageCallback(void* self, Stage::MessageCallback callback, void* user) {
  const bool success = CallAt(53, self).success;
  PlayerOf(self).message = success ? callback : nullptr;
  PlayerOf(self).message_user = user;
  return success;
}

bool SetAttribute(void* self, int first, ...) {
  std::string text = std::to_string(first);
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
  return Enter("player", NumberOf(self), "75", text).success;
}

template <std::size_t... kPositions>
std::array<void*, kOperations> MakeTable(std::index_sequence<kPositions...>) {
  std::array<void*, kOperations> table = {
      reinterpret_cast<void*>(&Operation<static_cast<int>(kPositions)>)...};
  const auto set = [&table](std::size_t position, auto* function) {
    table[position] = reinterpret_cast<void*>(function);
  };
  set(1, &Delete);
  set(3, &Operation<3, int>);
  set(6, &Operation<6, const char*, unsigned int>);
  set(10, &Operation<10, int>);
  set(14, &SetDrmInfo);
  set(15, &GetResolution);
  set(20, &Operation<20, int>);
  set(23, &Operation<23, int>);
  set(24, &Operation<24, int>);
  set(25, &Operation<25, float>);
  set(27, &Operation<27, int*>);
  set(28, &Operation<28, int*>);
  set(30, &Operation<30, std::vector<unsigned int>*>);
  set(32, &Operation<32, int, int*>);
  set(33, &Operation<33, int, int*>);
  set(36, &GetStreamLanguageCode);
  set(46, &Operation<46, const char*, int>);
  set(52, &SetPositionCallback);
  set(53, &SetMessageCallback);
  set(75, &SetAttribute);
  set(77, &Operation<77, int, int>);
  return table;
}

}  // namespace

MessageRecord::MessageRecord(const char* data, std::uint32_t percent, std::int32_t value) {
  std::memset(bytes_, 0x5a, sizeof bytes_);  // shows when anything else is read
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
  Stage::Player* const player = &stage.made[stage.players_made++];
  player->table = table.data();
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
  return made[number - 1].message != nullptr && made[number - 1].position != nullptr;
}

}  // namespace lumivex::test
