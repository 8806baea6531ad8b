// lumivex-host as a program, with the echo plug-in.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "slurp.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

std::string TempPath(const char* name) {
  static int count = 0;
  return testing::TempDir() + "/lumivex-host-" + name + "-" + std::to_string(getpid()) + "-" +
         std::to_string(++count);
}

// One run of the program. Its input is a pipe, its output a pipe or something else; what it says on
// standard error goes to a file.
class HostRun {
 public:
  explicit HostRun(const std::vector<std::string>& arguments, int output_given = -1)
      : errors_(TempPath("errors")) {
    std::array<int, 2> input_pipe{};
    std::array<int, 2> output_pipe{};
    EXPECT_EQ(pipe2(input_pipe.data(), O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(output_pipe.data(), O_CLOEXEC), 0);
    std::vector<std::string> words = {LUMIVEX_HOST};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      const int file = open(errors_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(input_pipe[0], 0);
      dup2(output_given < 0 ? output_pipe[1] : output_given, 1);
      dup2(file, 2);
      execv(argv[0], argv.data());
      _exit(127);
    }
    close(input_pipe[0]);
    close(output_pipe[1]);
    input_ = input_pipe[1];
    output_ = output_pipe[0];
  }
  ~HostRun() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    CloseInput();
    CloseOutput();
    unlink(errors_.c_str());
  }
  HostRun(const HostRun&) = delete;
  HostRun& operator=(const HostRun&) = delete;

  void Write(const std::string& text) {
    EXPECT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void CloseInput() { Close(&input_); }
  void CloseOutput() { Close(&output_); }
  void Signal(int signal) { kill(process_, signal); }

  // The next line of output; what there is when it ends or nothing comes for 20 s.
  std::string ReadLine() {
    std::string line;
    pollfd ready = {output_, POLLIN, 0};
    for (char c = 0; poll(&ready, 1, 20000) == 1 && read(output_, &c, 1) == 1 && c != '\n';) {
      line += c;
    }
    return line;
  }
  // Ends the input and answers the exit status; output and errors are then complete.
  int Finish() {
    CloseInput();
    return Wait();
  }
  // The same for a program that ends by itself.
  int Wait() {
    std::array<char, 4096> chunk;
    for (ssize_t size = 0;
         output_ >= 0 && (size = read(output_, chunk.data(), chunk.size())) > 0;) {
      output.append(chunk.data(), static_cast<std::size_t>(size));
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    errors = Slurp(errors_);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  }

  std::string output;
  std::string errors;

 private:
  static void Close(int* descriptor) {
    if (*descriptor >= 0) {
      close(*descriptor);
      *descriptor = -1;
    }
  }

  const std::string errors_;
  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
};

const std::string kPlugin = std::string("--plugin=") + ECHO_PLUGIN;

TEST(ProgramTest, ScriptsEndWithTheirStatus) {
  const struct {
    const char* what;
    std::string script;
    int status;
    const char* output;
    const char* errors;  // a regular expression
  } kCases[] = {
      {"nothing", "", 0, "", ""},
      {"replies in order, numbers as a page has them",
       "# remark\n\n{\"b\": 2.0, \"a\": [1.5, null]}\n\"text\"", 0,
       "{\"reply\":{\"b\":2,\"a\":[1.5,null]}}\n{\"reply\":\"text\"}\n", ""},
      {"an event posted while a message is handled comes behind its reply",
       "{\"do\": \"post\", \"value\": 1}\n2\n", 0,
       "{\"reply\":{\"do\":\"post\",\"value\":1}}\n{\"event\":1}\n{\"reply\":2}\n", ""},
      {"what is posted at the very end is still handled", "{\"$post\": [1]}\n", 0,
       "{\"event\":{\"got\":[1]}}\n", ""},
      {"waiting shows events", "{\"$post\": 1}\n{\"$wait\": 1}\n{\"$waitFor\": {\"got\": 1}}\n2\n",
       0, "{\"event\":{\"got\":1}}\n{\"reply\":2}\n", ""},
      {"an event is matched once, and those before it no more",
       "{\"$post\": 1}\n{\"$post\": 2}\n{\"$post\": 3}\n{\"$waitFor\": {\"got\": 2}}\n"
       "{\"$waitFor\": {\"got\": 3}}\n{\"$waitFor\": {\"got\": 1}, \"timeout\": 20}\n4\n",
       3, "{\"event\":{\"got\":1}}\n{\"event\":{\"got\":2}}\n{\"event\":{\"got\":3}}\n",
       "<stdin>:6: no event with \\{\"got\":1\\} came within 20 ms\n"},
      {"not JSON", "1\n\n  {\"a\" 1}\n2\n", 2, "{\"reply\":1}\n",
       "<stdin>:3:8: this is not JSON: .*\n"},
      {"no directive", "{\"$post\": 1}\n{\"$later\": 1}\n", 2, "{\"event\":{\"got\":1}}\n",
       "<stdin>:2:2: \"\\$later\" is no directive.*\n"},
      {"a leak", "{\"do\": \"leak\"}\n", 4, "{\"reply\":{\"do\":\"leak\"}}\n",
       "lumivex-host: the plug-in is wrong: leaked: string \"forgotten\", references: 1\n"},
      {"the script's own fault comes first", "{\"do\": \"leak\"}\n{\n", 2,
       "{\"reply\":{\"do\":\"leak\"}}\n", "<stdin>:2:2: .*\n.*leaked.*\n"},
  };
  for (const auto& c : kCases) {
    HostRun run({kPlugin});
    run.Write(c.script);
    EXPECT_EQ(run.Finish(), c.status) << c.what;
    EXPECT_EQ(run.output, c.output) << c.what;
    EXPECT_THAT(run.errors, MatchesRegex(c.errors)) << c.what;
  }
}

TEST(ProgramTest, WrongUsageIsExplained) {
  const struct {
    std::vector<std::string> arguments;
    const char* errors;
  } kCases[] = {
      {{"--nonsense"}, "--nonsense is no option"},
      {{"--json=yes"}, "--json=yes is no option"},
      {{"--plugin"}, "--plugin wants an argument"},
      {{"--deny", "everything"}, "\"everything\" is no privilege"},
      {{"--window-id", "1x"}, "\"1x\" is no window id"},
      {{"--window-id", "4294967296"}, "no window id"},
      {{"--log", "loud"}, "\"loud\" is no log level"},
      {{"--sysroot", "/nowhere"}, "/nowhere is no folder"},
      {{kPlugin, "a", "b"}, "one script at a time"},
      {{kPlugin, "/nowhere/script"}, "/nowhere/script: No such file or directory"},
      {{kPlugin, "/"}, "/: Is a directory"},
      {{"--plugin", "/nowhere/plugin.so"}, "cannot load the plug-in: /nowhere/plugin.so"},
      {{"--plugin", LUMIVEX_HOST}, "cannot load the plug-in: "},
  };
  for (const auto& c : kCases) {
    HostRun run(c.arguments);
    EXPECT_EQ(run.Finish(), 1) << c.errors;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(c.errors));
  }
  HostRun help({"--help"});
  EXPECT_EQ(help.Finish(), 0);
  EXPECT_THAT(help.output, HasSubstr("usage: lumivex-host"));
}

TEST(ProgramTest, OptionsReachThePlugin) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
    const char* reply;
  } kCases[] = {
      {{}, R"({"do": "privilege", "value": "http://h/privilege/lumivexplayer"})", "true"},
      {{"--deny", "player"},
       R"({"do": "privilege", "value": "http://h/privilege/lumivexplayer"})",
       "false"},
      {{"--deny", "player"},
       R"({"do": "privilege", "value": "http://h/privilege/lumivexrfmanager"})",
       "true"},
      {{"--deny", "rf-manager"},
       R"({"do": "privilege", "value": "http://h/privilege/lumivexrfmanager"})",
       "false"},
      {{"--deny=http://h/privilege/lumivexplayer"},
       R"({"do": "privilege", "value": "http://h/privilege/lumivexplayer"})",
       "false"},
      {{}, R"({"do": "window"})", "1"},
      {{"--window-id", "-5"}, R"({"do": "window"})", "-5"},
      {{"--window-id", "none"}, R"({"do": "window"})", "null"},
  };
  for (const auto& c : kCases) {
    std::vector<std::string> arguments = {kPlugin};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    HostRun run(arguments);
    run.Write(std::string(c.message) + "\n");
    EXPECT_EQ(run.Finish(), 0) << run.errors;
    EXPECT_EQ(run.output, std::string("{\"reply\":") + c.reply + "}\n") << c.message;
  }
}

TEST(ProgramTest, AnswersLineByLineAndReadsFiles) {
  HostRun run({kPlugin, "-"});
  run.Write("1\n{\"$post\": 2}\n");
  EXPECT_EQ(run.ReadLine(), "{\"reply\":1}");
  EXPECT_EQ(run.ReadLine(), "{\"event\":{\"got\":2}}") << "while it waits for a line";
  run.Write("\"cut");
  run.Write(" in two\"\n");
  EXPECT_EQ(run.ReadLine(), "{\"reply\":\"cut in two\"}");
  EXPECT_EQ(run.Finish(), 0);

  const std::string path = TempPath("script");
  const std::string text(3000000, 'x');
  std::ofstream(path) << '"' << text << "\"\r\n{\"$waitFor\": {}, \"timeout\": 0}\n";
  HostRun file({kPlugin, path});
  EXPECT_EQ(file.Finish(), 3);
  EXPECT_EQ(file.output, "{\"reply\":\"" + text + "\"}\n");
  EXPECT_THAT(file.errors, HasSubstr(path + ":2: no event"));
  unlink(path.c_str());
}

TEST(ProgramTest, SignalsEndItCleanlyWhateverItDoes) {
  const struct {
    const char* message;
    int signal;
    int status;
  } kCases[] = {
      {"", SIGINT, 130},
      {"{\"$wait\": 60000}\n", SIGTERM, 143},
      {"{\"$waitFor\": {\"a\": 1}, \"timeout\": 60000}\n", SIGINT, 130},
      {"{\"do\": \"sleep\", \"ms\": 300}\n", SIGTERM, 143},
  };
  for (const auto& c : kCases) {
    HostRun run({kPlugin});
    run.Write(std::string("0\n") + c.message);
    EXPECT_EQ(run.ReadLine(), "{\"reply\":0}");
    usleep(50000);
    run.Signal(c.signal);
    EXPECT_EQ(run.Wait(), c.status) << c.message;
    EXPECT_EQ(run.output, "") << c.message;
    EXPECT_EQ(run.errors, "") << c.message;
  }
}

TEST(ProgramTest, ClosedOrFullOutputEndsIt) {
  HostRun closed({kPlugin});
  closed.CloseOutput();
  closed.Write("1\n{\"$wait\": 60000}\n");
  EXPECT_EQ(closed.Finish(), 128 + SIGPIPE);
  EXPECT_EQ(closed.errors, "");

  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  HostRun run({kPlugin}, full);
  run.Write("1\n2\n");
  EXPECT_EQ(run.Finish(), 1);
  EXPECT_EQ(run.errors, "lumivex-host: cannot write the output: No space left on device\n");
  close(full);
}

// So many lines, or what there is when nothing comes for 20 s.
std::string ReadTerminal(int terminal, int lines) {
  std::string text;
  pollfd ready = {terminal, POLLIN, 0};
  for (char c = 0; lines > 0 && poll(&ready, 1, 20000) == 1 && read(terminal, &c, 1) == 1;) {
    text += c;
    lines -= c == '\n' ? 1 : 0;
  }
  return text;
}

TEST(ProgramTest, TerminalGetsAFormForPeople) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(other_end, 0);
  const struct {
    const char* no_colour;
    std::vector<std::string> arguments;
    int lines;
    const char* output;
  } kCases[] = {
      {"1", {kPlugin}, 2, "> 1\r\n< 1  0.*s\r\n"},
      {"", {kPlugin}, 2, "\x1b\\[36m>\x1b\\[0m 1\r\n\x1b\\[32m<\x1b\\[0m 1  .*s\r\n"},
      {"", {kPlugin, "--json"}, 1, "\\{\"reply\":1\\}\r\n"},
  };
  setenv("TERM", "xterm", 1);
  for (const auto& c : kCases) {
    setenv("NO_COLOR", c.no_colour, 1);
    HostRun run(c.arguments, other_end);
    run.Write("1\n");
    EXPECT_EQ(run.Finish(), 0);
    EXPECT_THAT(ReadTerminal(terminal, c.lines), MatchesRegex(c.output));
  }
  unsetenv("NO_COLOR");
  close(other_end);
  close(terminal);
}

}  // namespace
