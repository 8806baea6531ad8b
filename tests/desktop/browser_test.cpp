// Pages in the real engine, on a virtual screen. A page checks what it can see itself (pages/);
// here are its verdict and what only an observer can see: the screen and the processes.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "screen.h"
#include "window.h"

namespace lumivex::test {
namespace {

namespace fs = std::filesystem;

constexpr Screen::Color kPage = {0x20, 0x40, 0x80};
constexpr Screen::Color kBars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                   {255, 0, 255},   {255, 0, 0},   {0, 0, 255}};

// The middle of each of the clip's colour bars, with the picture in these bounds.
std::vector<Screen::Spot> Bars(const Screen::Bounds& bounds) {
  const auto [x, y, width, height] = bounds;
  std::vector<Screen::Spot> spots;
  for (int i = 0; i < 7; ++i) {
    for (const int share : {1, 10, 50}) {  // percent of the height
      spots.push_back({x + width * (2 * i + 1) / 14, y + height * share / 100, kBars[i]});
    }
  }
  return spots;
}

// Points just outside these bounds, which show the page.
std::vector<Screen::Spot> Around(const Screen::Bounds& bounds) {
  const auto [x, y, width, height] = bounds;
  const int right = x + width + 3;
  const int bottom = y + height + 3;
  return {{x - 4, y + height / 2, kPage}, {right, y + height / 2, kPage},
          {x + width / 2, y - 4, kPage},  {x + width / 2, bottom, kPage},
          {x - 4, y - 4, kPage},          {right, bottom, kPage}};
}

// The points of a grid over these bounds, which show the page.
std::vector<Screen::Spot> PageIn(const Screen::Bounds& bounds) {
  const auto [x, y, width, height] = bounds;
  std::vector<Screen::Spot> spots;
  for (int i = 1; i < 8; ++i) {
    spots.push_back({x + width * i / 8, y + height * i / 8, kPage});
  }
  return spots;
}

class Browser : public testing::Test {
 protected:
  Browser() {
    std::string folder = testing::TempDir() + "lumivex-browser.XXXXXX";
    folder_ = mkdtemp(folder.data());
    fs::create_directory(folder_ / "steps");
    fs::copy(LUMIVEX_TEST_PAGES, folder_);
    fs::copy(LUMIVEX_EXAMPLE_PAGES, folder_);
    fs::create_directory_symlink(LUMIVEX_TEST_MEDIA, folder_ / "media");
  }
  ~Browser() override {
    std::error_code error;
    fs::remove_all(folder_, error);
  }

  std::string Page(const std::string& test) const { return folder_ / ("page.html?test=" + test); }

  // Lets a page go on that has said "step NAME".
  void Continue(const std::string& step) const { std::ofstream(folder_ / "steps" / step) << '\n'; }

  // The page's own verdict; the program has ended then.
  static void ExpectAllOk(Window* program, int status = 0) {
    const std::string count = program->WaitForLine("done ");
    EXPECT_EQ(program->Wait(), status);
    EXPECT_EQ(program->output().find("FAIL"), std::string::npos);
    EXPECT_GT(std::atoi(count.c_str()), 0);
    EXPECT_TRUE(program->NothingIsLeft());
  }

  void ExpectShown(const std::vector<Screen::Spot>& spots) const {
    EXPECT_EQ(screen_.Difference(spots), "");
  }
  std::ptrdiff_t CountInnerWindows(const Screen::Bounds& bounds) const {
    const std::vector<Screen::Bounds> windows = screen_.InnerWindows();
    return std::count(windows.begin(), windows.end(), bounds);
  }

  fs::path folder_;
  Screen screen_;
};

TEST_F(Browser, ShowsThePictureWhereThePageWantsIt) {
  constexpr Screen::Bounds kWhole = {0, 0, Screen::kWidth, Screen::kHeight};
  constexpr Screen::Bounds kFirst = {140, 100, 700, 420};
  constexpr Screen::Bounds kSecond = {900, 400, 840, 480};
  constexpr Screen::Bounds kThird = {300, 500, 700, 420};
  constexpr Screen::Bounds kFourth = {100, 253, 700, 393};  // 640 by 360 inside 700 by 700
  Window program({Page("picture")});

  program.WaitForLine("step empty");
  ExpectShown(PageIn(kWhole));
  const auto windows_before = screen_.InnerWindows();
  Continue("empty");

  Screen::Bounds before = {1, 1, 2, 2};
  for (const auto& [step, bounds] : {std::pair("first", kFirst), std::pair("second", kSecond),
                                     std::pair("third", kThird), std::pair("fourth", kFourth)}) {
    program.WaitForLine(std::string("step ") + step);
    SCOPED_TRACE(step);
    ExpectShown(Bars(bounds));
    ExpectShown(Around(bounds));
    EXPECT_EQ(CountInnerWindows(bounds), 1);
    EXPECT_EQ(CountInnerWindows(before), 0);
    before = bounds;
    Continue(step);
  }

  program.WaitForLine("step stopped");
  ExpectShown(PageIn(kFourth));
  ExpectShown(PageIn(kWhole));
  EXPECT_EQ(screen_.InnerWindows(), windows_before);
  Continue("stopped");
  ExpectAllOk(&program);
}

TEST_F(Browser, ShowsNoPictureWithoutAWindow) {
  Window program({"--window-id", "none", Page("picture")});
  for (const char* name : {"empty", "first", "second", "third", "fourth", "stopped"}) {
    program.WaitForLine(std::string("step ") + name);
    ExpectShown(PageIn({0, 0, Screen::kWidth, Screen::kHeight}));
    Continue(name);
  }
  ExpectAllOk(&program);
}

TEST_F(Browser, KeepsTwoElementsApart) {
  constexpr Screen::Bounds kOne = {100, 200, 700, 420};
  constexpr Screen::Bounds kOther = {1000, 200, 700, 420};
  const std::string record = folder_ / "record";
  Window program({"--record", record, Page("two")});

  program.WaitForLine("step both");
  ExpectShown(Bars(kOne));
  ExpectShown(Bars(kOther));
  ASSERT_EQ(program.PluginProcesses().size(), 1U);
  const pid_t process = program.PluginProcesses()[0];
  const std::size_t threads_with_two = Window::Threads(process).size();
  Continue("both");

  program.WaitForLine("step one");
  ExpectShown(PageIn(kOne));
  ExpectShown(Bars(kOther));
  const std::size_t threads_with_one = Window::Threads(process).size();
  EXPECT_LT(threads_with_one, threads_with_two);
  Continue("one");

  program.WaitForLine("step none");
  ExpectShown(PageIn(kOther));
  // Of the plug-in, the player and the tuner nothing runs any more; what stays is the engine's.
  EXPECT_TRUE(WaitUntil(std::chrono::seconds(10), [&] {
    const std::vector<std::string> left = Window::Threads(process);
    return std::all_of(left.begin(), left.end(), [](const std::string& name) {
      return name == "kpp.lumivex" || name.find("ThreadPool") == 0 || name.find("Chrome_") == 0;
    });
  })) << testing::PrintToString(Window::Threads(process));
  Continue("none");
  ExpectAllOk(&program);
  // The script has the first one's messages alone.
  const std::string script = Slurp(record);
  EXPECT_NE(script.find("\n{\"command\":\"Pause\""), std::string::npos) << script;
  EXPECT_NE(script.find("\n# another element: {\"command\":\"GetPlaybackSpeed\""),
            std::string::npos)
      << script;
}

TEST_F(Browser, LeaksNothingInTwentyReloads) {
  Window program({Page("reload")});
  program.WaitForLine("step load-1");
  ASSERT_EQ(program.PluginProcesses().size(), 1U);
  const std::size_t threads = Window::Threads(program.PluginProcesses()[0]).size();
  const auto windows = screen_.InnerWindows();
  Continue("load-1");

  program.WaitForLine("step load-21");
  EXPECT_TRUE(WaitUntil(std::chrono::seconds(15), [&] {
    const std::vector<pid_t> processes = program.PluginProcesses();
    // The engine's own pool of threads may have grown a little.
    return processes.size() == 1 && Window::Threads(processes[0]).size() <= threads + 3;
  })) << program.PluginProcesses().size();
  EXPECT_EQ(screen_.InnerWindows(), windows);
  Continue("load-21");
  ExpectAllOk(&program);
}

TEST_F(Browser, EndsThePluginWithItsWindow) {
  Window program({"--log", "debug", Page("close")});
  ExpectAllOk(&program);
  const std::string errors = program.errors();
  // The plug-in was destroyed in order, not just cut off.
  EXPECT_NE(errors.find("Lumivex Pepper destructor end ."), std::string::npos);
  EXPECT_NE(errors.find("plug-in process: instances 0"), std::string::npos);
  // What could command the terminal comes as an escape, in the log and on the page's console.
  EXPECT_NE(errors.find("filePath: [\\u009b\\u202e]\n"), std::string::npos);
  const std::string place = (folder_ / "close.js").string();
  EXPECT_NE(errors.find(place + ":11: error: \\u009b\\u202e\n" + place + ":11: error: next line\n"),
            std::string::npos);
  EXPECT_NE(errors.find(place + ":12: warning: careful\n"), std::string::npos);
  EXPECT_EQ(errors.find("crashed"), std::string::npos);
  EXPECT_EQ(errors.find("killed"), std::string::npos);
}

TEST_F(Browser, CleansUpAfterASignal) {
  Window killed({Page("crash")});
  killed.WaitForLine("step kill");
  const std::string left = killed.SessionFolder();
  Window program({Page("crash")});
  program.WaitForLine("step kill");
  const std::string folder = program.SessionFolder();
  EXPECT_TRUE(fs::exists(folder)) << folder;
  EXPECT_TRUE(fs::exists(left)) << left;  // its program lives
  killed.Signal(SIGKILL);
  EXPECT_EQ(killed.Wait(), 1000 + SIGKILL);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 128 + SIGTERM);
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_TRUE(fs::exists(left));
  Window next({"--screenshot", (folder_ / "next.png").string(), "about:blank"});
  EXPECT_EQ(next.Wait(), 0);
  EXPECT_FALSE(fs::exists(left));
  EXPECT_EQ(program.errors().find("crashed"), std::string::npos);
  EXPECT_EQ(program.errors().find("killed"), std::string::npos);
  EXPECT_TRUE(program.NothingIsLeft());
}

TEST_F(Browser, ReportsACrash) {
  const struct {
    int signal;
    const char* words;
  } kCases[] = {
      {SIGSEGV, "crashed (signal 11, Segmentation fault). The last lines of the plug-in's log:\n["},
      {SIGABRT, "crashed (signal 6, Aborted). The last lines of the plug-in's log:\n["},
      {SIGKILL, "was killed. The last lines of the plug-in's log:\n["}};
  for (const auto& [signal, words] : kCases) {
    SCOPED_TRACE(words);
    Window program({Page("crash")});
    program.WaitForLine("step kill");
    ASSERT_EQ(program.PluginProcesses().size(), 1U);
    const pid_t process = program.PluginProcesses()[0];
    kill(process, signal);
    Continue("kill");
    ExpectAllOk(&program, 4);
    const std::string errors = program.errors();
    EXPECT_NE(errors.find("lumivex-desktop: the plug-in's process " + std::to_string(process) +
                          " " + words),
              std::string::npos);
    EXPECT_NE(errors.find("\n[0] D/ZunoPlayerAdapter: "), std::string::npos);
    fs::remove(folder_ / "steps" / "kill");
  }
}

TEST_F(Browser, OperatesTheExamplePageAsTheHostDoes) {
  const auto windows = screen_.InnerWindows();
  const std::string record = folder_ / "record";
  Window program({"--record", record, Page("example")});
  program.WaitForLine("step boxed");
  EXPECT_EQ(CountInnerWindows({190, 96, 852, 639}), 1);
  Continue("boxed");
  program.WaitForLine("step full");
  EXPECT_TRUE(WaitUntil(std::chrono::seconds(10), [&] {
    // A strip at the bottom is left for the subtitles.
    return CountInnerWindows({309, 0, 1301, 976}) == 1;
  }));
  Continue("full");
  program.WaitForLine("step stopped");
  EXPECT_EQ(screen_.InnerWindows(), windows);
  Continue("stopped");
  ExpectAllOk(&program);
  EXPECT_EQ(std::system(("'" LUMIVEX_HOST "' '" + record + "' >/dev/null").c_str()), 0)
      << Slurp(record);
}

}  // namespace
}  // namespace lumivex::test
