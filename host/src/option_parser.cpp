#include "host/option_parser.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "printable.h"

namespace lumivex::host {

namespace fs = std::filesystem;

void OpenStandardStreams() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  close(descriptor);
}

OptionParser::OptionParser(const std::string& program,
                           const std::string& description,
                           const std::string& footer)
    : CLI::App(description, program) {
  option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  set_version_flag("--version", program + " " LUMIVEX_VERSION);
  this->footer(footer);
  failure_message([program](const CLI::App* app, const CLI::Error& error) {
    return program + ": " + Printable(error.what()) + "\nRun with " +
           app->get_help_ptr()->get_name() + " for more information.\n";
  });
}

void OptionParser::AddPluginOptions(PluginOptions* options) {
  add_option("--plugin", options->plugin, "plug-in library (default: the one in the staged tree)")
      ->option_text("FILE")
      ->check(CLI::ExistingFile);
  add_option("--sysroot", options->sysroot, "staged tree for device paths")
      ->option_text("DIR")
      ->check(CLI::ExistingDirectory);
  add_option_function<std::vector<std::string>>(
      "--deny",
      [options](const std::vector<std::string>& names) {
        for (const std::string& name : names) {
          options->denied.insert(name == "player" ? "lumivexplayer" : "lumivexrfmanager");
        }
      },
      "deny a privilege: player or rf-manager; may be repeated")
      ->option_text("PRIVILEGE")
      ->check(CLI::IsMember({"player", "rf-manager"}))
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  add_option(
      "--log", options->log_level,
      "show the platform's log from this level on: verbose,\ndebug, info, warn, error, fatal")
      ->option_text("LEVEL")
      ->check(CLI::IsMember({"verbose", "debug", "info", "warn", "error", "fatal"}));
  add_flag(
      "--sound", [](std::int64_t /*count*/) { setenv("LUMIVEX_AUDIO_SINK", "autoaudiosink", 0); },
      "play sound through the desktop's default output\n(default: silent)");
  callback([options] {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path staged = own.parent_path() / "sysroot";
    if (options->sysroot.empty() && fs::is_directory(staged, error)) {
      options->sysroot = staged;
    } else if (!options->sysroot.empty()) {
      options->sysroot = fs::absolute(options->sysroot);
    }
    // dlopen would search the system's folders for a bare file name.
    options->plugin =
        fs::absolute(options->plugin.empty() ? options->sysroot + "/usr/lib/liblumivex-pplugin.so"
                                             : options->plugin);
  });
}

void OptionParser::Read(int argc, char** argv) {
  try {
    for (int i = 1; i < argc; ++i) {
      const std::string argument = argv[i];
      // The library would take the next argument as the value.
      if (argument.rfind("--", 0) == 0 && argument.find('=') == argument.size() - 1) {
        throw CLI::ArgumentMismatch(argument + " needs a value");
      }
    }
    parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::exit(exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage);
  }
}

}  // namespace lumivex::host
