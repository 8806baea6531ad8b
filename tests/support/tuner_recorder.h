#ifndef TESTS_SUPPORT_TUNER_RECORDER_H_
#define TESTS_SUPPORT_TUNER_RECORDER_H_

// The tuner service's side: every exported name of its library, in the place of the library's. A
// call appears in the journal as "tuner Name(arguments)"; *x is what an output held. From the
// second instance on, its number stands behind the word.

#include <functional>
#include <set>
#include <string>

namespace lumivex::test {

struct TunerRecorder {
  static TunerRecorder& Get();
  static void Reset();  // to what it was at first, the numbering included

  // An event from the service, on the calling thread, to the listener of the instance of that
  // number, by the position in the listener's table.
  void Event(unsigned int type, int param1, const std::string& param2, int instance = 1);

  // What the service answers.
  std::set<std::string> failing;  // names, "GetInstance" and "GetKelvoAppIDByPID" among them
  int number = 3;                 // of every integer output; also written on failure
  bool shown = true;
  std::string language = "deu";

  int held = 0;  // instances

  // Called while an instance is being released, as the service ends its thread there.
  std::function<void()> on_release;
};

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_TUNER_RECORDER_H_
