// The desktop log. Each case runs in its own process, because the log reads its settings once.

#include <dlog.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <functional>
#include <future>
#include <string>

#include "slurp.h"

namespace {

// Expects this text on standard error from a process with these settings.
void ExpectWritten(const char* level,
                   const std::string& file,
                   const std::function<void()>& log,
                   const std::string& text) {
  EXPECT_EXIT(
      {
        level == nullptr ? unsetenv("LUMIVEX_DLOG") : setenv("LUMIVEX_DLOG", level, 1);
        setenv("LUMIVEX_DLOG_FILE", file.c_str(), 1);
        log();
        _exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), testing::Eq(text))
      << (level == nullptr ? "unset" : level);
}

TEST(Dlog, ShowsWhatIsAskedFor) {
  const auto log = [] {
    for (const int priority : {2, 3, 4, 5, 6, 7, 9}) {
      __dlog_print(priority == 6 ? 2 : 0, priority, "TAG", "%d", priority);
    }
  };
  const std::string error = "[2] E/TAG: 6\n[0] F/TAG: 7\n[0] ?/TAG: 9\n";
  const std::string info = "[0] I/TAG: 4\n[0] W/TAG: 5\n" + error;
  const std::pair<const char*, std::string> kLevels[] = {
      {nullptr, ""},
      {"", ""},
      {"verbose", "[0] V/TAG: 2\n[0] D/TAG: 3\n" + info},
      {"debug", "[0] D/TAG: 3\n" + info},
      {"4", info},
      {"error", error},
      {"8", "[0] ?/TAG: 9\n"},
      {"loud", "dlog: unknown log level \"loud\" in LUMIVEX_DLOG; showing errors\n" + error},
  };
  for (const auto& [level, text] : kLevels) {
    ExpectWritten(level, "", log, text);
  }
}

TEST(Dlog, OneCallIsOneLine) {
  const std::string long_text(20000, 'x');
  // The first and last of each range of control characters, between their neighbours.
  const std::pair<const char*, const char*> kTexts[] = {
      {"\x01\x1f ", "\\u0001\\u001f "},
      {"~\x7f\u0080\u009f\u00a0", "~\\u007f\\u0080\\u009f\u00a0"},
      {"\u061b\u061c\u061d", "\u061b\\u061c\u061d"},
      {"\u200d\u200e\u200f\u2010", "\u200d\\u200e\\u200f\u2010"},
      {"\u2029\u202a\u202e\u202f", "\u2029\\u202a\\u202e\u202f"},
      {"\u2065\u2066\u2069\u206a", "\u2065\\u2066\\u2069\u206a"},
      {"\x9b \xc2 \xe0\x82\x9b \U0001f4fa", "\\x9b \\xc2 \\xe0\\x82\\x9b \U0001f4fa"},
  };
  std::string shown_texts;
  for (const auto& [text, shown] : kTexts) {
    shown_texts += std::string("[0] E/TAG: ") + shown + "\n";
  }
  const auto log = [&] {
    EXPECT_EQ(__dlog_print(0, 6, "TAG", "%s: %s(%d) > %s", "f.cpp", "F", 7, "text"), 30);
    EXPECT_EQ(__dlog_print(0, 2, "TAG", "less than asked for"), 0);
    __dlog_print(0, 6, "TAG", "ends itself\n");
    __dlog_print(0, 6, "T\n", "two\nlines\n\n");
    __dlog_print(0, 6, nullptr, "bell \a, \xc3\xbc");
    for (const auto& [text, shown] : kTexts) {
      __dlog_print(0, 6, "TAG", "%s", text);
    }
    __dlog_print(0, 6, "TAG", "%s", "");
    __dlog_print(0, 6, "TAG", "%s", long_text.c_str());
  };
  ExpectWritten("debug", "", log,
                "[0] E/TAG: f.cpp: F(7) > text\n"
                "[0] E/TAG: ends itself\n"
                "[0] E/T\\n: two\\nlines\\n\n"
                "[0] E/: bell \\u0007, \xc3\xbc\n" +
                    shown_texts + "[0] E/TAG: \n[0] E/TAG: " + long_text + "\n");
}

TEST(Dlog, AppendsToAFileFromManyThreads) {
  const std::string path = testing::TempDir() + "dlog_test-" + std::to_string(getpid());
  std::string expected = "what was there\n";
  std::ofstream(path) << expected;
  ExpectWritten(
      "debug", path,
      [] {
        std::array<std::future<void>, 4> threads;
        for (std::future<void>& thread : threads) {
          thread = std::async(std::launch::async, [] {
            for (int n = 0; n < 2500; ++n) {
              __dlog_print(0, 3, "TAG", "%s", "the same line");
            }
          });
        }
      },
      "");
  for (int line = 0; line < 10000; ++line) {
    expected += "[0] D/TAG: the same line\n";
  }
  EXPECT_TRUE(Slurp(path) == expected);
  unlink(path.c_str());

  ExpectWritten(
      "error", "/no/such/folder/log", [] { __dlog_print(0, 6, "T", "x"); },
      "dlog: /no/such/folder/log: No such file or directory; logging to standard error\n"
      "[0] E/T: x\n");
}

}  // namespace
