#ifndef HOST_PRINTER_H_
#define HOST_PRINTER_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "host/json.h"

namespace lumivex::host {

// Writes what the page sees, each line at once: JSON lines for programs, or for people with the
// lines of the script, the time a reply took and the time of an event since the start. One thread.
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
  // JSON lines unless descriptor is a terminal; colour unless NO_COLOR or a dumb terminal says no.
  static Style StyleFor(int descriptor);

  // All answer false when the output cannot be written any more; errno says why.
  bool Note(const std::string& line);  // of the script; this and Sent say nothing in JSON lines
  bool Sent(const Json& message);
  bool Reply(const Exchange& exchange);
  bool Event(const Json& event, Duration since_start);

 private:
  bool Write(std::string line);
  std::string Mark(const char* sign, const char* colour) const;

  const int descriptor_;
  const Style style_;
};

// One printable line of JSON; what is not UTF-8 is replaced.
std::string ToLine(const Json& json);

}  // namespace lumivex::host

#endif  // HOST_PRINTER_H_
