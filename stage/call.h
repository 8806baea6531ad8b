#ifndef STAGE_CALL_H_
#define STAGE_CALL_H_

// A call to the player or the tuner: how its arguments appear in the journal, and how the outputs,
// the pointers among them, are filled in.

#include <string>
#include <type_traits>
#include <vector>

#include "stage.h"

namespace lumivex::test {

inline std::string Show(const char* text) {
  return Quote(text);
}
inline std::string Show(const std::string& text) {
  return Quote(text);
}
inline std::string Show(bool value) {
  return value ? "true" : "false";
}
inline std::string Show(const std::vector<unsigned int>& bitrates) {
  return std::to_string(bitrates.size()) + " bitrates";
}
template <class Number,
          class = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
std::string Show(Number value) {
  return std::to_string(value);
}
template <class Output>
std::string Show(Output* output) {
  return "*" + Show(*output);
}

template <class Input>
void Fill(const Answer&, Input) {}
inline void Fill(const Answer& answer, std::string* output) {
  *output = answer.text;
}
inline void Fill(const Answer& answer, std::vector<unsigned int>* output) {
  *output = answer.bitrates;
}
template <class Number>
void Fill(const Answer& answer, Number* output) {
  *output = static_cast<Number>(answer.number);
}
inline void Fill(const Answer&, const char*) {}

template <class... Arguments>
Answer Call(const char* who, int number, const std::string& name, Arguments... arguments) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + Show(arguments)), ...);
  Answer answer = Enter(who, number, name, text);
  if (answer.fills) {
    (Fill(answer, arguments), ...);
  }
  return answer;
}

}  // namespace lumivex::test

#endif  // STAGE_CALL_H_
