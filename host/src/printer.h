#ifndef HOST_PRINTER_H_
#define HOST_PRINTER_H_

#include <chrono>
#include <string>

#include "host/json.h"

namespace lumivex::host {

// Writes what the page sees, each line at once: JSON lines for programs, or for people with the
// message sent, the time a reply took and the time of an event since the start. One thread.
class Printer {
 public:
  enum class Style { kJson, kPlain, kColour };
  using Duration = std::chrono::steady_clock::duration;

  Printer(int descriptor, Style style) : descriptor_(descriptor), style_(style) {}
  // JSON lines unless descriptor is a terminal; colour unless NO_COLOR or a dumb terminal says no.
  static Style StyleFor(int descriptor);

  // All answer false when the output cannot be written any more; errno says why.
  bool Sent(const Json& message);  // says nothing in JSON lines
  bool Reply(const Json& reply, Duration took);
  bool Event(const Json& event, Duration since_start);

 private:
  bool Write(std::string line);
  std::string Mark(const char* sign, const char* colour) const;

  const int descriptor_;
  const Style style_;
};

// One line of JSON; what is not UTF-8 is replaced.
std::string ToLine(const Json& json);

}  // namespace lumivex::host

#endif  // HOST_PRINTER_H_
