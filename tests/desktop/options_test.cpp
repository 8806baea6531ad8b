// The command line of lumivex-desktop: what it refuses, and how it says so.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "program.h"
#include "screen.h"
#include "slurp.h"

namespace {

namespace fs = std::filesystem;

TEST(Options, RefusesWhatItDoesNotUnderstand) {
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* words;
  } kCases[] = {
      {{"--nonsense"}, 1, "--nonsense is no option"},
      {{"--deny"}, 1, "--deny needs an argument"},
      {{"--deny", "everything"}, 1, "\"everything\" is no privilege"},
      {{"--window-id", "12x"}, 1, "\"12x\" is no window id"},
      {{"--window-id", "99999999999"}, 1, "is no window id"},
      {{"--log", "loud"}, 1, "\"loud\" is no log level"},
      {{"--size", "1920"}, 1, "\"1920\" is no size"},
      {{"--size", "0x10"}, 1, "\"0x10\" is no size"},
      {{"--after", "-5"}, 1, "\"-5\" is no number of milliseconds"},
      {{"--plugin", "/nowhere/plugin.so"}, 1, "/nowhere/plugin.so is missing"},
      {{"--sysroot", "/nowhere"}, 1, "/nowhere is no folder"},
      {{"/nowhere/page.html"}, 1, "/nowhere/page.html is no file"},
      {{"one.html", "two.html"}, 1, "only one page"},
  };
  for (const auto& [arguments, status, words] : kCases) {
    SCOPED_TRACE(words);
    Program program(arguments);
    EXPECT_EQ(program.WaitForEnd(), status);
    EXPECT_NE(program.errors().find(words), std::string::npos) << program.errors();
    EXPECT_EQ(program.output(), "");
  }
}

TEST(Options, SaysHowToDoWithoutAScreen) {
  for (const char* display : {"", ":4711"}) {
    setenv("DISPLAY", display, 1);
    Program program({});
    EXPECT_EQ(program.WaitForEnd(), 2);
    EXPECT_NE(program.errors().find("there is no X11 screen"), std::string::npos);
    EXPECT_NE(program.errors().find("xvfb-run"), std::string::npos);
  }
}

TEST(Options, DescribesItself) {
  Program program({"--help"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.output().find("usage: lumivex-desktop"), 0U);
  EXPECT_EQ(program.errors(), "");
}

TEST(Options, TakesAScreenshotOfTheGivenSize) {
  const Screen screen;
  const std::string file = testing::TempDir() + "lumivex-screenshot.png";
  fs::remove(file);
  Program program({"--size", "640x360", "--after", "500", "--screenshot", file,
                   "data:text/html,<body style='background:red'>"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  const std::string png = Slurp(file);
  ASSERT_GT(png.size(), 24U);
  EXPECT_EQ(png.substr(1, 3), "PNG");
  EXPECT_EQ(png.substr(16, 8), std::string("\0\0\x02\x80\0\0\x01\x68", 8));  // 640 by 360
  fs::remove(file);

  Program nowhere({"--after", "0", "--screenshot", "/nowhere/file.png", "data:text/html,x"});
  EXPECT_EQ(nowhere.WaitForEnd(), 1);
  EXPECT_NE(nowhere.errors().find("/nowhere/file.png: cannot write"), std::string::npos);
}

TEST(Options, SaysThatAPageCannotBeLoaded) {
  const Screen screen;
  Program program({"--screenshot", testing::TempDir() + "none.png", "http://127.0.0.1:1/"});
  EXPECT_EQ(program.WaitForEnd(), 3);
  EXPECT_NE(program.errors().find("http://127.0.0.1:1/ could not be loaded"), std::string::npos);
}

TEST(Options, SaysThatAPluginCannotBeLoaded) {
  const Screen screen;
  const std::string file = testing::TempDir() + "lumivex-no-plugin.so";
  const std::string picture = testing::TempDir() + "lumivex-no-plugin.png";
  std::ofstream(file) << "this is no library";
  Program program({"--plugin", file, "--after", "1500", "--screenshot", picture,
                   "data:text/html,<embed type=application/x-lumivex>"});
  EXPECT_EQ(program.WaitForEnd(), 4);
  EXPECT_NE(program.errors().find("the plug-in could not be loaded: "), std::string::npos)
      << program.errors();
  fs::remove(file);
  fs::remove(picture);
}

}  // namespace
