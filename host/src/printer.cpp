#include "printer.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace lumivex::host {

namespace {

std::string Seconds(Printer::Duration duration) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", std::chrono::duration<double>(duration).count());
  return text;
}

}  // namespace

std::string ToLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Printer::Style Printer::StyleFor(int descriptor) {
  if (isatty(descriptor) == 0) {
    return Style::kJson;
  }
  const char* const no_colour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool plain = (no_colour != nullptr && *no_colour != '\0') || terminal == nullptr ||
                     std::strcmp(terminal, "dumb") == 0;
  return plain ? Style::kPlain : Style::kColour;
}

bool Printer::Sent(const Json& message) {
  return style_ == Style::kJson || Write(Mark(">", "36") + ToLine(message));
}

bool Printer::Reply(const Json& reply, Duration took) {
  return style_ == Style::kJson ? Write(ToLine({{"reply", reply}}))
                                : Write(Mark("<", "32") + ToLine(reply) + "  " + Seconds(took));
}

bool Printer::Event(const Json& event, Duration since_start) {
  return style_ == Style::kJson
             ? Write(ToLine({{"event", event}}))
             : Write(Mark("*", "33") + ToLine(event) + "  at " + Seconds(since_start));
}

std::string Printer::Mark(const char* sign, const char* colour) const {
  return style_ == Style::kColour ? std::string("\033[") + colour + "m" + sign + "\033[0m "
                                  : std::string(sign) + " ";
}

bool Printer::Write(std::string line) {
  line += '\n';
  for (std::size_t done = 0; done < line.size();) {
    const ssize_t size = write(descriptor_, line.data() + done, line.size() - done);
    if (size < 0 && errno != EINTR) {
      return false;
    }
    done += size < 0 ? 0 : static_cast<std::size_t>(size);
  }
  return true;
}

}  // namespace lumivex::host
