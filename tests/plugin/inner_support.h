#ifndef TESTS_PLUGIN_INNER_SUPPORT_H_
#define TESTS_PLUGIN_INNER_SUPPORT_H_

#include <string>

#include "IPlaybackEventListener.h"
#include "journal.h"

namespace lumivex::test {

// A listener of a host that knows nothing but the order of its operations: an object whose first
// word points at a table of functions. Calls appear in the journal as "listener position(...)".
class RawListener {
 public:
  void* const* table = kTable;  // has to come first

  explicit RawListener(int number = 1) : number_(number) {}

  IPlaybackEventListener* get() { return reinterpret_cast<IPlaybackEventListener*>(this); }

  bool answer = true;

 private:
  static bool Note(void* self, const std::string& call) {
    const auto* const listener = static_cast<const RawListener*>(self);
    const int number = listener->number_;
    Journal::Get().Add("listener" + (number == 1 ? "" : std::to_string(number)) + " " + call);
    return listener->answer;
  }
  static bool OnError(void* self, int type, int extra) {
    return Note(self, "2(" + std::to_string(type) + ", " + std::to_string(extra) + ")");
  }
  static bool OnInfo(void* self, int type, int param1, int param2) {
    return Note(self, "3(" + std::to_string(type) + ", " + std::to_string(param1) + ", " +
                          std::to_string(param2) + ")");
  }
  static bool OnDRMInfo(void* self, int type, const std::string& data) {
    return Note(self, "4(" + std::to_string(type) + ", " + Quote(data) + ")");
  }
  static bool OnTimedText(void* self, const std::string& text) {
    return Note(self, "5(" + Quote(text) + ")");
  }

  inline static void* const kTable[] = {nullptr,  // nobody but its owner deletes it
                                        nullptr,
                                        reinterpret_cast<void*>(&OnError),
                                        reinterpret_cast<void*>(&OnInfo),
                                        reinterpret_cast<void*>(&OnDRMInfo),
                                        reinterpret_cast<void*>(&OnTimedText)};

  int number_;
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_INNER_SUPPORT_H_
