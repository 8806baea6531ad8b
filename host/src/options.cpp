#include "options.h"

namespace lumivex::host {

namespace {

constexpr const char* kDescription =
    R"(A page with one plug-in element and no window: sends the messages of SCRIPT, or of standard
input, to the plug-in and prints what the page would see.)";

constexpr const char* kFooter =
    R"(A line of the script is a JSON value, sent as a blocking message, or one of
  {"$post": message}                       a message that has no answer
  {"$wait": ms}                            waits
  {"$waitFor": {...}, "timeout": ms}       waits for an event that has these members, 10 s unless
                                           told; looks at the events since the one last waited for,
                                           the newest 10,000 of them
  {"$expect": {...}}                       wants the last reply to have these members; beside
                                           $waitFor, the event
or short for a command's message, as SeekTo msec=900; what is no JSON behind = is text.
Blank lines and lines that begin with # or // are skipped. On a terminal without SCRIPT
there is a prompt: Tab completes commands and arguments, the arrow keys bring lines back.

Prints {"line": n, "ms": t, "reply": ..., "request": ...} and {"event": ..., "ms": t}, one a line, with
the line of the script and the time since the start; on a terminal a form for people.

Exit status: 0 done; 1 no plug-in, or a message that got no answer in time; 2 a line is wrong; 3 a
wait ran out; 4 the plug-in did something wrong, as leaking a value; 5 a reply or event is not what
$expect says; 64 wrong usage. A signal gives 128 + n. When the plug-in has not ended 5 s after the
script or a signal, the program ends without it, with the same status, or 4 instead of 0.)";

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
  CommandLine line;
  OptionParser parser("lumivex-host", kDescription, kFooter);
  parser.add_option("SCRIPT", line.script, "script to play; - is standard input");
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
          "the application's window, or none; 1 by default")
      ->option_text("ID")
      ->check(CLI::IsMember({"none"}) | CLI::TypeValidator<int32_t>());
  parser.add_option("--log-file", line.log_file, "append the log to FILE, not to standard error")
      ->option_text("FILE");
  parser
      .add_option("--timeout", line.timeout,
                  "how long the plug-in may take to start or to answer\na message; 60 by default")
      ->option_text("SECONDS")
      ->check(CLI::Range(1, 86400));
  parser.add_flag(
      "--check", line.check,
      "report on each layer below the page, and play SCRIPT as\na clip if one is given");
  parser.add_flag("--json", line.json, "print JSON lines, also on a terminal");
  parser.Read(argc, argv);
  return line;
}

}  // namespace lumivex::host
