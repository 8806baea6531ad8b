#ifndef FUZZ_COMMON_MESSAGE_READER_H_
#define FUZZ_COMMON_MESSAGE_READER_H_

#include <string>
#include <string_view>

#include "host/vars.h"

namespace lumivex::test {

// Reads messages out of any bytes. The text is JSON for the most part, with these liberties:
//   commas, colons and blanks say nothing; what is missing at the end is made up
//   u I N      undefined, infinity, not a number; 2.0 stays a double
//   @ab{...}   an object that has a moduleName, from b, and a command, from a
//   $a         one of the known keys
//   any other  byte is an int32
class MessageReader {
 public:
  MessageReader(host::VarTable* vars, std::string_view text) : vars_(vars), text_(text) {}

  bool AtEnd();
  bool TakeIf(char wanted);  // after what says nothing
  host::OwnedVar Value(int depth = 0);

 private:
  char Take();
  std::string String();
  std::string Key();
  host::OwnedVar Number();
  void Set(PP_Var dictionary, const std::string& key, PP_Var value);

  host::VarTable* const vars_;
  std::string_view text_;
};

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_MESSAGE_READER_H_
