#ifndef FUZZ_COMMON_ANSWERS_H_
#define FUZZ_COMMON_ANSWERS_H_

// A platform that may answer anything, for programs that send anything. What it answers is made of
// bytes that the program supplies. answers.cpp also has the log and the application's id.

#include <atomic>
#include <string>

namespace lumivex::test {

// Any thread.
class Answers {
 public:
  Answers() = default;
  Answers(const Answers&) = delete;
  Answers& operator=(const Answers&) = delete;
  virtual ~Answers() = default;

  virtual unsigned int Byte() = 0;  // 0 is success everywhere
  bool Success() { return Byte() % 8 != 7; }
  int Number();
  // Any bytes; remembers when they were not UTF-8.
  std::string Text();
  bool TakeGaveBadText() { return gave_bad_text_.exchange(false); }

 private:
  std::atomic<bool> gave_bad_text_{false};
};

// The program's own, and defined by it.
Answers& Say();

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_ANSWERS_H_
