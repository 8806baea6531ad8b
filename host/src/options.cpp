#include "options.h"

#include <getopt.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "session.h"

namespace lumivex::host {

namespace {

constexpr const char* kUsage =
    R"(usage: lumivex-host [options] [SCRIPT]

Is a page with one plug-in element and no window: sends the messages of SCRIPT, or of standard
input, to the plug-in and prints what the page would see.

  --plugin FILE      the plug-in library; by default the one in the staged tree
  --sysroot DIR      the staged tree that device paths are looked up in
  --deny PRIVILEGE   refuse a privilege: player, rf-manager or a URI; may be given again
  --window-id N      the application's window, or none; 1 by default
  --log LEVEL        show the platform's log: verbose, debug, info, warn, error or fatal
  --log-file FILE    append the log to FILE instead of standard error
  --json             print JSON lines, also on a terminal
  --help, --version

A line of the script is a JSON value, sent as a blocking message, or one of
  {"$post": message}                       a message that has no answer
  {"$wait": ms}                            waits
  {"$waitFor": {...}, "timeout": ms}       waits for an event that has these members, 10 s unless
                                           told; looks at the events since the one last waited for
Blank lines and lines that begin with # or // are skipped.

Prints {"reply": ...} and {"event": ...}, one a line; on a terminal a form for people.

Exit status: 0 done; 1 wrong usage, no plug-in, or a message that got no answer; 2 a line is wrong;
3 a wait ran out; 4 the plug-in did something wrong, as leaking a value. A signal gives 128 + n.
)";

int Complain(const std::string& problem) {
  std::fprintf(stderr, "lumivex-host: %s; see lumivex-host --help\n", problem.c_str());
  return kFailed;
}

std::filesystem::path OwnFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

// The path or URI that is meant; empty when none is.
std::string PrivilegeOf(const std::string& name) {
  if (name == "player") {
    return "/privilege/lumivexplayer";
  }
  if (name == "rf-manager") {
    return "/privilege/lumivexrfmanager";
  }
  return name.find('/') == std::string::npos ? "" : name;
}

bool ReadWindowId(const char* text, std::optional<int32_t>* id) {
  if (text == nullptr) {
    return false;
  }
  if (std::strcmp(text, "none") == 0) {
    id->reset();
    return true;
  }
  int32_t number = 0;
  const char* const end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, number);
  *id = number;
  return error == std::errc() && rest == end;
}

bool IsLogLevel(const std::string& level) {
  static const std::set<std::string> kNames = {"verbose", "debug", "info",
                                               "warn",    "error", "fatal"};
  return kNames.count(level) > 0 ||
         (!level.empty() && level.find_first_not_of("0123456789") == std::string::npos);
}

}  // namespace

std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int* status) {
  enum Option { kPlugin = 256, kSysroot, kDeny, kWindowId, kLog, kLogFile, kJson, kHelp, kVersion };
  static constexpr std::array<option, 10> kOptions = {{
      {"plugin", required_argument, nullptr, kPlugin},
      {"sysroot", required_argument, nullptr, kSysroot},
      {"deny", required_argument, nullptr, kDeny},
      {"window-id", required_argument, nullptr, kWindowId},
      {"log", required_argument, nullptr, kLog},
      {"log-file", required_argument, nullptr, kLogFile},
      {"json", no_argument, nullptr, kJson},
      {"help", no_argument, nullptr, kHelp},
      {"version", no_argument, nullptr, kVersion},
      {nullptr, 0, nullptr, 0},
  }};
  CommandLine line;
  *status = kFailed;
  opterr = 0;
  // The colon tells a missing argument from an unknown option.
  for (int found = 0; (found = getopt_long(argc, argv, ":", kOptions.data(), nullptr)) != -1;) {
    const std::string argument = optarg == nullptr ? "" : optarg;
    switch (found) {
      case kPlugin:
        line.plugin = argument;
        break;
      case kSysroot:
        line.sysroot = argument;
        break;
      case kDeny:
        if (PrivilegeOf(argument).empty()) {
          Complain("\"" + argument + "\" is no privilege: player, rf-manager or a URI");
          return std::nullopt;
        }
        line.denied.insert(PrivilegeOf(argument));
        break;
      case kWindowId:
        if (!ReadWindowId(optarg, &line.window_id)) {
          Complain("\"" + argument + "\" is no window id: a number of 32 bits, or none");
          return std::nullopt;
        }
        break;
      case kLog:
        if (!IsLogLevel(argument)) {
          Complain("\"" + argument + "\" is no log level");
          return std::nullopt;
        }
        line.log_level = argument;
        break;
      case kLogFile:
        line.log_file = argument;
        break;
      case kJson:
        line.json = true;
        break;
      case kHelp:
        std::fputs(kUsage, stdout);
        *status = kDone;
        return std::nullopt;
      case kVersion:
        std::puts("lumivex-host " LUMIVEX_VERSION);
        *status = kDone;
        return std::nullopt;
      default:
        Complain(std::string(argv[optind - 1]) +
                 (found == ':' ? " wants an argument" : " is no option"));
        return std::nullopt;
    }
  }
  if (argc - optind > 1) {
    Complain("one script at a time");
    return std::nullopt;
  }
  if (optind < argc && std::strcmp(argv[optind], "-") != 0) {
    line.script = argv[optind];
  }

  std::error_code error;
  if (line.sysroot.empty()) {
    const std::filesystem::path staged = OwnFolder().parent_path() / "sysroot";
    line.sysroot = std::filesystem::is_directory(staged, error) ? staged.string() : "";
  } else if (!std::filesystem::is_directory(line.sysroot, error)) {
    Complain(line.sysroot + " is no folder");
    return std::nullopt;
  }
  if (!line.sysroot.empty()) {
    line.sysroot = std::filesystem::absolute(line.sysroot).string();
  }
  if (line.plugin.empty()) {
    line.plugin = line.sysroot + "/usr/lib/liblumivex-pplugin.so";
  }
  // A name alone would be searched for among the system's libraries.
  line.plugin = std::filesystem::absolute(line.plugin).string();
  return line;
}

}  // namespace lumivex::host
