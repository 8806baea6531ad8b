#include "options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "log_level.h"

namespace lumivex::desktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kUsage =
    R"(usage: lumivex-desktop [options] [PAGE]

Opens PAGE, a file or an address, in a window of a real browser engine in which
<embed type="application/x-lumivex"> is the plug-in. Without PAGE it opens the example page.

  --deny PRIVILEGE   refuse a privilege: player or rf-manager; may be given again
  --window-id ID     the window that the plug-in shows the picture in: own (this one, the default),
                     the number of another X11 window, or none
  --plugin FILE      the plug-in library; by default the one in the staged tree
  --sysroot DIR      the staged tree that device paths are looked up in
  --log LEVEL        show the platform's log from this level on: verbose, debug, info, warn, error
                     or fatal
  --size WxH         the size of the page in pixels; 1920x1080 by default
  --screenshot FILE  write what the window shows to a PNG file and close
  --after MS         take the screenshot so long after the page has loaded; 2000 by default
  --help, --version

F5 loads the page again, F11 fills the screen, Ctrl+Q closes. What the page writes to its console
goes to standard output. The plug-in runs with all rights of the user, because it opens players,
files and windows: open only pages that you trust.

Exit status: 0 the window was closed; 1 wrong usage, or something is missing; 2 there is no screen;
3 the page could not be loaded; 4 the plug-in could not be loaded, or its process crashed.
A signal gives 128 + n.
)";

int Complain(const std::string& problem) {
  std::fprintf(stderr, "lumivex-desktop: %s; see lumivex-desktop --help\n", problem.c_str());
  return kFailed;
}

bool ReadNumber(const char* first, const char* last, std::int32_t* number) {
  const auto [rest, error] = std::from_chars(first, last, *number);
  return error == std::errc() && rest == last;
}

bool ReadNumber(const std::string& text, std::int32_t* number) {
  return ReadNumber(text.data(), text.data() + text.size(), number);
}

bool ReadSize(const std::string& text, CommandLine* line) {
  const std::size_t cross = text.find('x');
  const char* const end = text.data() + text.size();
  return cross != std::string::npos && ReadNumber(text.data(), text.data() + cross, &line->width) &&
         ReadNumber(text.data() + cross + 1, end, &line->height) && line->width > 0 &&
         line->height > 0;
}

bool ReadWindowId(const std::string& text, CommandLine* line) {
  line->own_window = text == "own";
  line->window_id.reset();
  if (text == "own" || text == "none") {
    return true;
  }
  std::int32_t id = 0;
  if (!ReadNumber(text, &id)) {
    return false;
  }
  line->window_id = id;
  return true;
}

bool ReadPrivilege(const std::string& text, CommandLine* line) {
  if (text == "player") {
    line->denied.insert("lumivexplayer");
  } else if (text == "rf-manager") {
    line->denied.insert("lumivexrfmanager");
  } else {
    return false;
  }
  return true;
}

// What an option's argument has to be; null when it is.
const char* Read(int option, const std::string& argument, CommandLine* line) {
  std::int32_t number = 0;
  switch (option) {
    case 'd':
      return ReadPrivilege(argument, line) ? nullptr : "no privilege: player or rf-manager";
    case 'w':
      return ReadWindowId(argument, line) ? nullptr : "no window id: own, a number or none";
    case 'p':
      line->plugin = argument;
      return nullptr;
    case 'r':
      line->sysroot = argument;
      return nullptr;
    case 'l':
      line->log_level = argument;
      return LogPriority(argument) < INT_MAX ? nullptr : "no log level";
    case 's':
      return ReadSize(argument, line) ? nullptr : "no size such as 1920x1080";
    case 'f':
      line->screenshot = argument;
      return nullptr;
    case 'a':
      if (!ReadNumber(argument, &number) || number < 0) {
        return "no number of milliseconds";
      }
      line->screenshot_after_ms = number;
      return nullptr;
    default:
      return "no option";
  }
}

// Where the files are when they are not named: beside this program in the build tree.
bool Complete(CommandLine* line) {
  std::error_code error;
  const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
  if (line->sysroot.empty()) {
    const fs::path staged = own.parent_path() / "sysroot";
    line->sysroot = fs::is_directory(staged, error) ? staged.string() : "";
  } else if (!fs::is_directory(line->sysroot, error)) {
    Complain(line->sysroot + " is no folder");
    return false;
  } else {
    line->sysroot = fs::canonical(line->sysroot, error).string();
  }
  if (line->plugin.empty()) {
    line->plugin = line->sysroot + "/usr/lib/liblumivex-pplugin.so";
  }
  line->wrapper = own / LUMIVEX_WRAPPER_NAME;
  line->device_paths = own / LUMIVEX_DEVICE_PATHS;
  for (std::string* file : {&line->plugin, &line->wrapper, &line->device_paths}) {
    if (!fs::is_regular_file(*file, error)) {
      Complain(*file + " is missing");
      return false;
    }
    *file = fs::canonical(*file, error).string();
  }
  if (line->page.empty()) {
    line->page = own / LUMIVEX_EXAMPLE_PAGE;
  }
  if (line->page.find("://") == std::string::npos && line->page.rfind("data:", 0) != 0) {
    if (!fs::is_regular_file(line->page, error)) {
      std::fprintf(stderr, "lumivex-desktop: %s is no file\n", line->page.c_str());
      return false;
    }
    line->page = fs::canonical(line->page, error).string();
  }
  return true;
}

}  // namespace

std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int* status) {
  static constexpr std::array<option, 11> kOptions = {{
      {"deny", required_argument, nullptr, 'd'},
      {"window-id", required_argument, nullptr, 'w'},
      {"plugin", required_argument, nullptr, 'p'},
      {"sysroot", required_argument, nullptr, 'r'},
      {"log", required_argument, nullptr, 'l'},
      {"size", required_argument, nullptr, 's'},
      {"screenshot", required_argument, nullptr, 'f'},
      {"after", required_argument, nullptr, 'a'},
      {"help", no_argument, nullptr, 'h'},
      {"version", no_argument, nullptr, 'v'},
      {nullptr, 0, nullptr, 0},
  }};
  CommandLine line;
  *status = kFailed;
  opterr = 0;
  // The colon tells a missing argument from an unknown option.
  for (int found = 0; (found = getopt_long(argc, argv, ":", kOptions.data(), nullptr)) != -1;) {
    if (found == 'h' || found == 'v') {
      std::fputs(found == 'h' ? kUsage : "lumivex-desktop " LUMIVEX_VERSION "\n", stdout);
      *status = kDone;
      return std::nullopt;
    }
    const std::string given = argv[optind - 1];
    if (found == '?' || found == ':') {
      Complain(given + (found == '?' ? " is no option" : " needs an argument"));
      return std::nullopt;
    }
    const std::string argument = optarg == nullptr ? "" : optarg;
    if (const char* problem = Read(found, argument, &line); problem != nullptr) {
      Complain("\"" + argument + "\" is " + problem);
      return std::nullopt;
    }
  }
  if (argc - optind > 1) {
    Complain("only one page can be opened");
    return std::nullopt;
  }
  if (optind < argc) {
    line.page = argv[optind];
  }
  return Complete(&line) ? std::optional<CommandLine>(line) : std::nullopt;
}

}  // namespace lumivex::desktop
