#ifndef TESTS_SUPPORT_PLAYER_RECORDER_H_
#define TESTS_SUPPORT_PLAYER_RECORDER_H_

// The media player library's side, made by hand: an object whose first word points at a table of
// 78 functions. It knows positions and arguments only and nothing of the plug-in's declarations, so
// that an operation at the wrong position shows as another call than the expected one.
//
// A call appears in the journal as "player position(arguments)"; *x is what an output held. From
// the second player on, its number stands behind the word.

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace lumivex::test {

// What the library passes with a message, by offset.
class MessageRecord {
 public:
  MessageRecord(const char* data, std::uint32_t percent, std::int32_t value);
  void* get() { return bytes_; }

 private:
  alignas(8) unsigned char bytes_[440];
};

struct PlayerRecorder {
  static PlayerRecorder& Get();
  static void Reset();  // to what it was at first, the numbering included

  void* Create();  // the library's entry point

  // A message or a position from the library, on the calling thread, to the player of that number.
  int Message(int id, void* record = nullptr, int player = 1);
  void Position(unsigned long position, int player = 1);

  // What the library answers.
  bool creates = true;
  std::set<int> failing;  // positions
  std::set<int> silent;   // positions that answer success and leave their outputs alone
  int drm_failure = -5;   // of the position that answers a number
  int width = 1280;
  int height = 720;
  int number = 4711;  // of every other integer output
  std::vector<unsigned int> bitrates = {64, 128, 256};
  std::string language = "eng";

  // Called inside each operation, on the plug-in's thread.
  std::function<void(int position)> on_call;
  // Called while a player is being deleted, as the library ends its threads there.
  std::function<void()> on_delete;

  int alive = 0;  // players

  // What the last player was given.
  int (*message_callback)(int id, void* record, void* user) = nullptr;
  void* message_user = nullptr;
  void (*position_callback)(unsigned long position, void* user) = nullptr;
  void* position_user = nullptr;
};

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_PLAYER_RECORDER_H_
