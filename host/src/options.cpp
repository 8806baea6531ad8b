#include "options.h"

#include "host/option_parser.h"

namespace lumivex::host {

namespace {

constexpr const char* kDescription =
    R"(Runs a page with one plug-in element and no window: sends the messages in SCRIPT, or on standard
input, to the plug-in and prints what the page would see.)";

constexpr const char* kFooter =
    R"(Each line of the script is a JSON value, which is sent as a blocking message, or one of
  {"$post": message}                   send a message without a reply
  {"$wait": ms}                        wait
  {"$waitFor": {...}, "timeout": ms}   wait for an event that has these members (default: 10 s);
                                       looks at up to 10,000 events since the last one waited for
  {"$expect": {...}}                   check that the last reply has these members; beside
                                       $waitFor, that the event has
or a command in short form, such as SeekTo msec=900; a value that is not JSON is text.
Blank lines and lines that start with # or // are ignored. Without SCRIPT on a terminal there is a
prompt: Tab completes commands and arguments, the arrow keys recall earlier lines.

Each line of output is {"line": n, "ms": t, "reply": ..., "request": ...} or {"event": ..., "ms": t},
with the line of the script and the time since the start; on a terminal it is formatted for people.

Exit status:
  0      success
  1      the plug-in cannot be loaded, a message got no reply in time, input or output failed, or
         --check found a fault
  2      a line of the script is invalid
  3      $waitFor timed out
  4      the plug-in misbehaved, for example leaked a value
  5      a reply or event does not match $expect
  64     wrong usage
  128+n  ended by signal n
If the plug-in has not shut down 5 s after the script or a signal, the program exits without it, with
the same status, or 4 instead of 0.)";

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
  CommandLine line;
  OptionParser parser("lumivex-host", kDescription, kFooter);
  parser.add_option("SCRIPT", line.script, "script to play; - for standard input");
  parser.AddPluginOptions(&line);
  parser
      .add_option_function<std::string>(
          "--window-id",
          [&line](const std::string& id) {
            line.window_id.reset();
            if (id != "none") {
              line.window_id = std::stoi(id, nullptr, 0);
            }
          },
          "window of the application, or none (default: 1)")
      ->option_text("ID")
      ->check(CLI::IsMember({"none"}) | CLI::TypeValidator<int32_t>());
  parser
      .add_option("--log-file", line.log_file, "append the log to FILE instead of standard error")
      ->option_text("FILE");
  parser
      .add_option("--timeout", line.timeout,
                  "time for the plug-in to start and to reply to a\nmessage (default: 60)")
      ->option_text("SECONDS")
      ->check(CLI::Range(1, 86400));
  parser.add_flag("--check", line.check,
                  "check each layer below the page; SCRIPT, if given, is a\nclip to play");
  parser.add_flag("--json", line.json, "print JSON lines even on a terminal");
  parser.Read(argc, argv);
  return line;
}

}  // namespace lumivex::host
