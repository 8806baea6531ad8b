// The command line of lumivex-desktop, and its error messages.

#include <gtest/gtest.h>
#include <httplib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "http_server.h"
#include "screen.h"
#include "window.h"

namespace lumivex::test {
namespace {

namespace fs = std::filesystem;

TEST(Options, ExplainsAMissingScreen) {
  for (const char* display : {"", ":4711"}) {
    setenv("DISPLAY", display, 1);
    Window program({});
    EXPECT_EQ(program.Wait(), 2);
    EXPECT_NE(program.errors().find("no X11 screen: DISPLAY is "), std::string::npos);
    EXPECT_NE(program.errors().find("xvfb-run"), std::string::npos);
  }
}

TEST(Options, TakesAScreenshotOfTheGivenSize) {
  const Screen screen;
  const std::string file = testing::TempDir() + "lumivex-screenshot.png";
  fs::remove(file);
  Window program({"--size", "640x360", "--after", "500", "--screenshot", file,
                  "data:text/html,<body style='background:red'>"});
  EXPECT_EQ(program.Wait(), 0);
  const std::string png = Slurp(file);
  ASSERT_GT(png.size(), 24U);
  EXPECT_EQ(png.substr(1, 3), "PNG");
  EXPECT_EQ(png.substr(16, 8), std::string("\0\0\x02\x80\0\0\x01\x68", 8));  // 640 by 360
  fs::remove(file);
}

TEST(Options, ReportsErrors) {
  const Screen screen;
  const std::string library = testing::TempDir() + "lumivex-no-plugin.so";
  const std::string picture = testing::TempDir() + "lumivex-wrong.png";
  std::ofstream(library) << "this is no library";
  const std::string port = std::to_string(UnusedPort());
  Window busy({"--devtools", port, "data:text/html,<script>console.log('opened')</script>"});
  busy.WaitForLine("opened");
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::string words;
  } kCases[] = {
      {{"--nonsense"}, 64, "lumivex-desktop: The following argument was not expected: --nonsense"},
      {{"--deny", "everything"}, 64, "--deny: everything not in {player,rf-manager}"},
      {{"--window-id", "12x"}, 64, "--window-id: (12x not in {own,none})"},
      {{"--size", "1920"}, 64, "--size: invalid size \"1920\""},
      {{"--size", "1920x1080x2"}, 64, "--size: invalid size \"1920x1080x2\""},
      {{"--size", "0x10"}, 64, "--size: invalid size \"0x10\""},
      {{"--after", "-5"}, 64, "--after: Value -5 not in range 0"},
      {{"--sysroot", "/nowhere"}, 64, "--sysroot: Directory does not exist"},
      {{"--devtools", "65536"}, 64, "--devtools: Value 65536 not in range 1 to 65535"},
      {{"localhost:65536"}, 64, "PAGE: invalid address \"localhost:65536\""},
      {{"http://"}, 64, "PAGE: invalid address \"http://\""},
      {{"/nowhere/page.html"}, 64, "File does not exist: /nowhere/page.html"},
      {{"http://127.0.0.1:1/"}, 3, "cannot load http://127.0.0.1:1/"},
      {{"--plugin", library, "data:text/html,<embed type=application/x-lumivex>"},
       4,
       "cannot load the plug-in: "},
      {{"chrome://crash"}, 4, "the page's process crashed (signal 11, Segmentation fault)."},
      {{"--devtools", port, "about:blank"},
       1,
       "--devtools: 127.0.0.1:" + port + ": The bound address is already in use"},
      {{"--screenshot", "/nowhere/x.png", "about:blank"}, 1, "cannot write /nowhere/x.png"},
      {{"--record", "/nowhere/x"}, 1, "lumivex-desktop: /nowhere/x: No such file or directory\n"},
      {{"--record", "/dev/full"}, 1, "lumivex-desktop: /dev/full: No space left on device\n"},
  };
  for (const auto& [arguments, status, words] : kCases) {
    SCOPED_TRACE(words);
    std::vector<std::string> all = {"--after", "1500", "--screenshot", picture};
    all.insert(all.end(), arguments.begin(), arguments.end());
    Window program(all);
    EXPECT_EQ(program.Wait(), status);
    EXPECT_NE(program.errors().find(words), std::string::npos) << program.errors();
  }
  fs::remove(library);
  fs::remove(picture);
}

TEST(Options, DenyPrivileges) {
  const Screen screen;
  const std::string page = R"(data:text/html,<embed type="application/x-lumivex"><script>
      onload = () => ['lumivexplayer', 'lumivexrfmanager'].forEach((moduleName) =>
        console.log('code ' + document.querySelector('embed').postMessageAndAwaitResponse(
          {moduleName, command: 'GetPlayerVersion'}).code));</script>)";
  for (const auto& [denied, codes] :
       {std::pair("--deny=player", std::pair("18", "0")), {"--deny=rf-manager", {"0", "18"}}}) {
    Window program({denied, page});
    EXPECT_EQ(program.WaitForLine("code "), codes.first);
    EXPECT_EQ(program.WaitForLine("code "), codes.second);
  }
}

TEST(Options, OpensPathsAndAddressesAsTyped) {
  const Screen screen;
  const std::string folder = testing::TempDir() + "lumivex page";
  fs::create_directory(folder);
  std::ofstream(folder + "/index.html") << "<script>console.log('at ' + location.href)</script>";
  const HttpServer server(folder);
  const std::string at_host = server.Url("index.html?x");
  const std::string port = std::to_string(UnusedPort());
  const std::string file = "file://" + testing::TempDir() + "lumivex%20page/index.html";
  for (const auto& [page, address] : {std::pair(folder + "/", file),
                                      {folder + "/index.html?x=1#2", file + "?x=1#2"},
                                      {at_host.substr(7), at_host}}) {
    SCOPED_TRACE(page);
    Window program({"--devtools", port, page});
    EXPECT_EQ(program.WaitForLine("at "), address);
    const auto pages = httplib::Client("127.0.0.1", std::stoi(port)).Get("/json");
    EXPECT_NE((pages ? pages->body : "").find("\"url\": \"" + address), std::string::npos);
    EXPECT_FALSE(httplib::Client("127.0.0.2", std::stoi(port)).Get("/json"));
  }
  fs::remove_all(folder);
}

}  // namespace
}  // namespace lumivex::test
