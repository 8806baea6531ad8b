#ifndef STAGE_STAGE_H_
#define STAGE_STAGE_H_

// The scripted platform, in place of its libraries: media player library, tuner service and log.
// Every call of the plug-in appears in the journal.
//
// The player is made by hand: an object whose first word points at a table of 78 functions. It
// knows positions and arguments only and nothing of the plug-in's declarations, so an operation at
// the wrong position shows as a different call.
//
// A call appears as "player position(arguments)" or "tuner Name(arguments)"; *x is what an output
// held. From the second player or tuner on, its number follows the word. What the plug-in does with
// the player library appears as "dlopen path mode", "player Create" and so on.

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "journal.h"

namespace lumivex::test {

// The record that the library passes with a message, by offset.
class MessageRecord {
 public:
  MessageRecord(const char* data, std::uint32_t percent, std::int32_t value);
  void* get() { return bytes_; }

 private:
  alignas(8) unsigned char bytes_[440];
};

// The result of a call, for whichever outputs it has. A call that fails still fills them in: the
// plug-in must not look at them then.
struct Answer {
  bool success;
  bool fills;  // else a call succeeds without its outputs
  int number;
  int width;
  int height;
  std::string text;
  std::vector<unsigned int> bitrates;
};

struct Stage {
  static Stage& Get();
  static void Reset();  // to what it was at first, the numbering included

  // What is answered to a call, named as in the journal without its number and arguments: "player
  // 20", "tuner SetChType", "dlopen". Set answer to decide otherwise, on any thread.
  Answer Decide(const std::string& call) const;
  std::function<Answer(const std::string& call)> answer;
  std::set<std::string> failing;
  std::set<std::string> silent;  // do not fill in their outputs
  Answer player = {true, true, 4711, 1280, 720, "eng", {64, 128, 256}};
  Answer tuner = {true, true, 3, 0, 0, "deu", {}};

  // Called inside each call, on the plug-in's thread; "player 1" is a player's end.
  std::function<void(const std::string& call)> on_call;

  // A message or a position of a player, or an event of a tuner, by their numbers; on the calling
  // thread. By the position in the listener's table.
  int Message(int id, void* record = nullptr, int number = 1);
  void Position(unsigned long position, int number = 1);
  void Event(unsigned int type, int param1, const std::string& param2, int number = 1);
  bool Hears(int number) const;    // both of its callbacks are set
  bool Listens(int number) const;  // a listener is registered; for one tuner at a time

  // Held by the plug-in.
  std::atomic<int> players{0};
  std::atomic<int> tuners{0};
  std::atomic<int> libraries{0};
  int players_made = 0;
  int tuners_made = 0;

  using MessageCallback = int (*)(int id, void* record, void* user);
  using PositionCallback = void (*)(unsigned long position, void* user);
  struct Player {
    void* const* table = nullptr;  // comes first
    MessageCallback message = nullptr;
    void* message_user = nullptr;
    PositionCallback position = nullptr;
    void* position_user = nullptr;
  };
  std::array<Player, 1000> made;           // the players by their numbers, from 1 on
  std::array<void*, 1000> listeners = {};  // of the tuners
};

// For the stage itself: enters a call into the journal and decides it.
Answer Enter(const char* who, int number, const std::string& name, const std::string& arguments);

}  // namespace lumivex::test

#endif  // STAGE_STAGE_H_
