#include "options.h"

#include <QRegularExpression>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "channel.h"
#include "host/option_parser.h"

namespace lumivex::desktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDescription =
    R"(Opens PAGE in a window of a real browser engine in which <embed type="application/x-lumivex"> is
the plug-in. PAGE is a file (also page.html?x=1), a folder with an index.html, localhost:8080 or a
URL. Without PAGE it opens the example page.)";

constexpr const char* kFooter =
    R"(F5 reloads the page, F11 toggles full screen, Ctrl+Q quits. The page's console is printed as
SOURCE:LINE: LEVEL: MESSAGE, errors and warnings on standard error. The plug-in opens players, files
and windows with all rights of the user: open only pages that you trust.

Exit status:
  0      the window was closed
  1      a file is missing or cannot be written, or the port is not available
  2      there is no screen
  3      the page cannot be loaded
  4      the plug-in cannot be loaded, or its process or the page's crashed
  64     wrong usage
  128+n  ended by signal n)";

bool Matches(const QString& text, const char* pattern) {
  return QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption)
      .match(text)
      .hasMatch();
}

QUrl AddressOf(const std::string& page) {
  const QString text = QString::fromStdString(page);
  QUrl address;
  if (Matches(text, "^([a-z][a-z0-9+.-]*://|data:|about:)")) {
    address = text;
  } else {
    std::error_code error;
    const std::size_t end =
        fs::exists(page, error) ? page.size() : std::min(page.find_first_of("?#"), page.size());
    fs::path file = page.substr(0, end);
    if (fs::is_directory(file, error)) {
      file /= "index.html";
    }
    if (fs::is_regular_file(file, error)) {
      const QString rest = QString::fromStdString(page.substr(end));
      address = QUrl::fromLocalFile(QString::fromStdString(fs::canonical(file, error)))
                    .resolved(QUrl(rest));
    } else if (Matches(text, R"(^(localhost|([\w.-]+|\[[\da-f:]+\]):\d+)([/?#]|$))")) {
      address = "http://" + text;
    } else {
      throw CLI::ValidationError("PAGE", "File does not exist: " + file.string());
    }
  }
  if (!address.isValid() || (address.scheme().startsWith("http") && address.host().isEmpty())) {
    throw CLI::ValidationError("PAGE", "invalid address \"" + page + "\"");
  }
  return address;
}

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
  CommandLine line;
  const fs::path own = fs::read_symlink("/proc/self/exe").parent_path();
  line.wrapper = own / LUMIVEX_WRAPPER_NAME;
  line.device_paths = own / LUMIVEX_DEVICE_PATHS;

  host::OptionParser parser("lumivex-desktop", kDescription, kFooter);
  parser.add_option_function<std::string>(
      "PAGE", [&line](const std::string& page) { line.page = AddressOf(page); },
      "file, folder or URL");
  parser.AddPluginOptions(&line);
  parser
      .add_option("--window-id", line.window_id,
                  "X11 window for the picture: own, a number, or none (default: own)")
      ->option_text("ID")
      ->check(CLI::IsMember({"own", "none"}) | CLI::TypeValidator<std::int32_t>());
  parser
      .add_option_function<std::string>(
          "--size",
          [&line](const std::string& size) {
            char rest = 0;
            if (std::sscanf(size.c_str(), "%5dx%5d%c", &line.width, &line.height, &rest) != 2 ||
                line.width <= 0 || line.height <= 0) {
              throw CLI::ValidationError(
                  "--size", "invalid size \"" + size + "\"; expected WxH, such as 1920x1080");
            }
          },
          "size of the page in pixels (default: 1920x1080)")
      ->option_text("WxH");
  parser
      .add_option("--record", line.record,
                  "record what the page sends as a script for lumivex-host, with the\nreplies as "
                  "expectations; only the first element, others as comments")
      ->option_text("FILE");
  parser
      .add_option("--screenshot", line.screenshot,
                  "save the window's contents as a PNG file and quit")
      ->option_text("FILE");
  parser
      .add_option("--after", line.screenshot_after_ms,
                  "take the screenshot MS after the page has loaded (default: 2000)")
      ->option_text("MS")
      ->check(CLI::Range(0, INT_MAX));
  parser
      .add_option("--devtools", line.devtools_port,
                  "serve the engine's developer tools on this port of 127.0.0.1, for\n"
                  "Chromium-based browsers and clients of the DevTools protocol")
      ->option_text("PORT")
      ->check(CLI::Range(1, 65535));
  parser.add_flag("--insecure", line.insecure,
                  "accept any certificate, in the page and in the player");
  parser.Read(argc, argv);

  std::error_code error;
  std::string example = own / LUMIVEX_EXAMPLE_PAGE;
  for (std::string* file : {&line.plugin, &line.wrapper, &line.device_paths, &example}) {
    if (!fs::is_regular_file(*file, error)) {
      std::fprintf(stderr, "lumivex-desktop: %s is missing\n", file->c_str());
      std::exit(kFailed);
    }
    *file = fs::canonical(*file, error).string();
  }
  if (line.page.isEmpty()) {
    line.page = QUrl::fromLocalFile(QString::fromStdString(example));
  }
  if (!line.record.empty()) {
    line.record = fs::absolute(line.record);
    if (!(std::ofstream(line.record) << kRecordHeader << std::flush)) {
      std::fprintf(stderr, "lumivex-desktop: %s: %s\n", line.record.c_str(), std::strerror(errno));
      std::exit(kFailed);
    }
  }
  return line;
}

}  // namespace lumivex::desktop
