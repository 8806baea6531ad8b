#ifndef FUZZ_READER_H_
#define FUZZ_READER_H_

#include <string>
#include <string_view>

#include "host/json.h"

namespace lumivex::test {

// Reads values out of any bytes. The text is JSON for the most part, with these liberties:
//   commas, colons and blanks say nothing; what is missing at the end is made up
//   I N        infinity, not a number; 2.0 stays a double
//   @ab{...}   a request: the contract's row a, of its own module or of another, by b, with other
//              members in the place of its own or besides
//   $a         one of the keys, numbers or texts that matter
//   any other  byte is an integer
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool AtEnd();
  bool TakeIf(char wanted);  // after what says nothing
  host::Json Value(int depth = 0);

 private:
  char Take();
  std::string String();
  std::string Key();
  host::Json Number();
  void ReadMembers(host::Json* object, int depth);

  std::string_view text_;
};

}  // namespace lumivex::test

#endif  // FUZZ_READER_H_
