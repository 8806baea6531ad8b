#include "printer.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "printable.h"

namespace lumivex::host {

namespace {

std::string Seconds(Printer::Duration duration) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", std::chrono::duration<double>(duration).count());
  return text;
}

std::int64_t Milliseconds(Printer::Duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

}  // namespace

std::string ToLine(const Json& json) {
  return Printable(json.dump(-1, ' ', false, Json::error_handler_t::replace));
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

bool Printer::Note(const std::string& line) {
  return style_ == Style::kJson || Write(Mark("|", "90") + Printable(line));
}

bool Printer::Sent(const Json& message) {
  return style_ == Style::kJson || Write(Mark(">", "36") + ToLine(message));
}

bool Printer::Reply(const Exchange& exchange) {
  return style_ == Style::kJson
             ? Write(ToLine({{"request", exchange.request},
                             {"line", exchange.line},
                             {"reply", exchange.reply},
                             {"ms", Milliseconds(exchange.since_start)}}))
             : Write(Mark("<", "32") + ToLine(exchange.reply) + "  " + Seconds(exchange.took));
}

bool Printer::Event(const Json& event, Duration since_start) {
  return style_ == Style::kJson
             ? Write(ToLine({{"event", event}, {"ms", Milliseconds(since_start)}}))
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
