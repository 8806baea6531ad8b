// The log on a desktop, in a process of its own for each setting, since it reads them once.

#include <dlog.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>

namespace {

// What a child with these settings writes to standard error.
std::string Written(const char* level, const char* file, const std::function<void()>& log) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    level == nullptr ? unsetenv("LUMIVEX_DLOG") : setenv("LUMIVEX_DLOG", level, 1);
    file == nullptr ? unsetenv("LUMIVEX_DLOG_FILE") : setenv("LUMIVEX_DLOG_FILE", file, 1);
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    log();
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  char part[4096];
  for (ssize_t length; (length = read(ends[0], part, sizeof part)) > 0;) {
    text.append(part, static_cast<std::size_t>(length));
  }
  close(ends[0]);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return text;
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
    EXPECT_EQ(Written(level, nullptr, log), text) << (level == nullptr ? "unset" : level);
  }
}

TEST(Dlog, OneCallIsOneLine) {
  const std::string long_text(20000, 'x');
  // The first and the last of each kind of control, between its neighbours.
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
    __dlog_print(0, 6, "TAG", "%s: %s(%d) > %s", "f.cpp", "F", 7, "text");
    __dlog_print(0, 6, "TAG", "ends itself\n");
    __dlog_print(0, 6, "T\n", "two\nlines\n\n");
    __dlog_print(0, 6, nullptr, "bell \a, \xc3\xbc");
    for (const auto& [text, shown] : kTexts) {
      __dlog_print(0, 6, "TAG", "%s", text);
    }
    __dlog_print(0, 6, "TAG", "%s", "");
    __dlog_print(0, 6, "TAG", "%s", long_text.c_str());
  };
  EXPECT_EQ(Written("debug", nullptr, log),
            "[0] E/TAG: f.cpp: F(7) > text\n"
            "[0] E/TAG: ends itself\n"
            "[0] E/T\\n: two\\nlines\\n\n"
            "[0] E/: bell \\u0007, \xc3\xbc\n" +
                shown_texts +
                "[0] E/TAG: \n"
                "[0] E/TAG: " +
                long_text + "\n");
}

TEST(Dlog, AnswersTheBytesWritten) {
  EXPECT_EQ(Written("error", nullptr,
                    [] {
                      const int written = __dlog_print(0, 6, "T", "four");
                      const int filtered = __dlog_print(0, 3, "T", "four");
                      _exit(written == 14 && filtered == 0 ? 0 : 1);
                    }),
            "[0] E/T: four\n");
}

TEST(Dlog, WritesToAFileFromManyThreads) {
  std::string path = testing::TempDir() + "dlog_test_XXXXXX";
  close(mkstemp(path.data()));
  const std::string to_stderr = Written("debug", path.c_str(), [] {
    std::thread threads[4];
    for (std::thread& thread : threads) {
      thread = std::thread([] {
        for (int n = 0; n < 250; ++n) {
          __dlog_print(0, 3, "TAG", "%s", "the same line");
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  EXPECT_EQ(to_stderr, "");
  FILE* const file = std::fopen(path.c_str(), "r");
  ASSERT_NE(file, nullptr);
  char line[256];
  int lines = 0;
  while (std::fgets(line, sizeof line, file) != nullptr) {
    ASSERT_STREQ(line, "[0] D/TAG: the same line\n");
    ++lines;
  }
  std::fclose(file);
  unlink(path.c_str());
  EXPECT_EQ(lines, 1000);

  EXPECT_EQ(Written("error", "/no/such/folder/log", [] { __dlog_print(0, 6, "T", "x"); }),
            "dlog: /no/such/folder/log: No such file or directory; logging to standard error\n"
            "[0] E/T: x\n");
}

}  // namespace
