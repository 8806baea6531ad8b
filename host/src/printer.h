#ifndef HOST_PRINTER_H_
#define HOST_PRINTER_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "host/json.h"

namespace lumivex::host {

// Writes what the page sees, line by line: JSON lines, or for people, who also see the script's
// lines and how long each reply took. One thread.
class Printer {
 public:
  enum class Style { kJson, kPlain, kColour };
  using Duration = std::chrono::steady_clock::duration;

  struct Exchange {
    const Json& request;
    std::size_t line;  // of the script
    const Json& reply;
    Duration took;
    Duration since_start;
  };

  Printer(int descriptor, Style style) : descriptor_(descriptor), style_(style) {}
  // JSON lines unless descriptor is a terminal; no colour if NO_COLOR is set or the terminal is
  // dumb.
  static Style StyleFor(int descriptor);

  // All return false if the output cannot be written; errno has the reason.
  bool Note(const std::string& line);  // this and Sent print nothing in JSON lines
  bool Sent(const Json& message);
  bool Reply(const Exchange& exchange);
  bool Event(const Json& event, Duration since_start);

 private:
  bool Write(std::string line);
  std::string Mark(const char* sign, const char* colour) const;

  const int descriptor_;
  const Style style_;
};

// One printable line of JSON. Invalid UTF-8 is replaced.
std::string ToLine(const Json& json);

}  // namespace lumivex::host

#endif  // HOST_PRINTER_H_
