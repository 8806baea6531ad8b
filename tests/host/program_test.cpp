// lumivex-host as a program, with the echo plug-in.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/json.h"
#include "printable.h"
#include "slurp.h"

namespace {

using lumivex::Printable;
using lumivex::host::Json;
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
  explicit HostRun(const std::vector<std::string>& arguments,
                   int output_given = -1,
                   int input_given = -1)
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
      dup2(input_given < 0 ? input_pipe[0] : input_given, 0);
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

// The output without the times, which only grow, and without the requests, which are the script's.
std::string Seen(const std::string& output, const std::string& script) {
  std::vector<std::string> lines;
  std::istringstream script_in(script);
  for (std::string line; std::getline(script_in, line);) {
    lines.push_back(line);
  }
  std::string seen;
  std::int64_t last = 0;
  std::istringstream in(output);
  for (std::string line; std::getline(in, line);) {
    Json json = Json::parse(line);
    if (json.contains("reply")) {
      EXPECT_EQ(json.at("request"), Json::parse(lines.at(json.at("line").get<std::size_t>() - 1)));
      json.erase("request");
      json.erase("line");
      EXPECT_GE(json.at("ms"), last) << line;
      last = json.at("ms");
    }
    EXPECT_LT(json.at("ms"), 60000) << line;
    json.erase("ms");
    seen += Printable(json.dump()) + "\n";
  }
  return seen;
}

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
       "{\"reply\":{\"a\":[1.5,null],\"b\":2}}\n{\"reply\":\"text\"}\n", ""},
      {"what could command the terminal stays an escape",
       "\"\u009b\u202e\x7f\u00fc\"\n{\"$post\": \"\u2066\"}\n{\"$\u009b\": 1}\n", 2,
       "{\"reply\":\"\\u009b\\u202e\\u007f\u00fc\"}\n{\"event\":{\"got\":\"\\u2066\"}}\n",
       "<stdin>:3:2: unknown directive \"\\$\\\\u009b\".*\n"},
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
       "<stdin>:6: no event matched \\{\"got\":1\\} within 20 ms\n"},
      {"what is expected comes",
       "{\"a\": 1, \"b\": {\"c\": 2, \"d\": 3}}\n{\"$post\": [1]}\n{\"$expect\": {\"b\": {\"d\": "
       "3}}}\n"
       "{\"$waitFor\": {}, \"$expect\": {\"got\": [1]}}\n",
       0, "{\"reply\":{\"a\":1,\"b\":{\"c\":2,\"d\":3}}}\n{\"event\":{\"got\":[1]}}\n", ""},
      {"another reply than expected", "{\"a\": 1}\n{\"$expect\": {\"a\": 2}}\n3\n", 5,
       "{\"reply\":{\"a\":1}}\n", "<stdin>:2: expected \\{\"a\":2\\}, got \\{\"a\":1\\}\n"},
      {"another event than expected",
       "{\"$post\": 1}\n{\"$waitFor\": {}, \"$expect\": {\"b\": 1}}\n", 5,
       "{\"event\":{\"got\":1}}\n", "<stdin>:2: expected \\{\"b\":1\\}, got \\{\"got\":1\\}\n"},
      {"no reply to look at", "{\"$post\": 1}\n{\"$expect\": {}}\n", 2, "{\"event\":{\"got\":1}}\n",
       "<stdin>:2: \\$expect has no reply.*\n"},
      {"not JSON", "1\n\n  {\"a\" 1}\n2\n", 2, "{\"reply\":1}\n",
       "<stdin>:3:8: invalid JSON: .*\n"},
      {"no directive", "{\"$post\": 1}\n{\"$later\": 1}\n", 2, "{\"event\":{\"got\":1}}\n",
       "<stdin>:2:2: unknown directive \"\\$later\".*\n"},
      {"a leak", "{\"do\": \"leak\"}\n", 4, "{\"reply\":{\"do\":\"leak\"}}\n",
       "lumivex-host: plug-in defect: leaked: string \"forgotten\", references: 1\n"},
      {"the script's own fault comes first", "{\"do\": \"leak\"}\n{\n", 2,
       "{\"reply\":{\"do\":\"leak\"}}\n", "<stdin>:2:2: .*\n.*leaked.*\n"},
  };
  for (const auto& c : kCases) {
    HostRun run({kPlugin});
    run.Write(c.script);
    EXPECT_EQ(run.Finish(), c.status) << c.what;
    EXPECT_EQ(Seen(run.output, c.script), c.output) << c.what;
    EXPECT_THAT(run.errors, MatchesRegex(c.errors)) << c.what;
  }
}

TEST(ProgramTest, WrongUsageIsExplained) {
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* errors;
  } kCases[] = {
      {{"--nonsense"}, 64, "lumivex-host: The following argument was not expected: --nonsense"},
      {{"--deny", "everything"}, 64, "--deny: everything not in {player,rf-manager}"},
      {{"--window-id", "4294967296"}, 64, "--window-id: "},
      {{"--log-file=", "-"}, 64, "lumivex-host: --log-file= needs a value"},
      {{"--log", "loud"}, 64, "--log: loud not in {"},
      {{"--sysroot", "/nowhere"}, 64, "--sysroot: Directory does not exist: /nowhere"},
      {{"--plugin", "/nowhere/plugin.so"}, 64, "--plugin: File does not exist"},
      {{kPlugin, "a", "b"}, 64, "not expected: b"},
      {{kPlugin, "/nowhere/script"}, 64, "/nowhere/script: No such file or directory"},
      {{kPlugin, "/"}, 1, "/: Is a directory"},
      {{"--plugin", LUMIVEX_HOST}, 1, "cannot load the plug-in: "},
  };
  for (const auto& c : kCases) {
    HostRun run(c.arguments);
    EXPECT_EQ(run.Finish(), c.status) << c.errors;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(c.errors));
  }
  HostRun help({"--help"});
  EXPECT_EQ(help.Finish(), 0);
  EXPECT_THAT(help.output, HasSubstr("Usage: lumivex-host"));
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
    EXPECT_EQ(Seen(run.output, c.message), std::string("{\"reply\":") + c.reply + "}\n")
        << c.message;
  }
}

TEST(ProgramTest, AnswersLineByLineAndReadsFiles) {
  HostRun run({kPlugin, "-"});
  run.Write("1\n{\"$post\": 2}\n");
  EXPECT_THAT(run.ReadLine(), HasSubstr("\"reply\":1"));
  EXPECT_THAT(run.ReadLine(), HasSubstr("\"event\":{\"got\":2}")) << "while it waits for a line";
  run.Write("\"cut");
  run.Write(" in two\"\n");
  EXPECT_THAT(run.ReadLine(), HasSubstr("\"reply\":\"cut in two\""));
  EXPECT_EQ(run.Finish(), 0);

  const std::string path = TempPath("script");
  const std::string text(3000000, 'x');
  std::ofstream(path) << '"' << text << "\"\r\n{\"$waitFor\": {}, \"timeout\": 0}\n";
  HostRun file({kPlugin, path});
  EXPECT_EQ(file.Finish(), 3);
  EXPECT_EQ(Seen(file.output, '"' + text + '"'), "{\"reply\":\"" + text + "\"}\n");
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
    EXPECT_THAT(run.ReadLine(), HasSubstr("\"reply\":0"));
    usleep(50000);
    run.Signal(c.signal);
    EXPECT_EQ(run.Wait(), c.status) << c.message;
    EXPECT_EQ(run.output, "") << c.message;
    EXPECT_EQ(run.errors, "") << c.message;
  }
}

TEST(ProgramTest, EndsThoughThePluginHangs) {
  const struct {
    std::vector<std::string> arguments;
    int signal;
    int status;
    const char* errors;
  } kCases[] = {
      {{kPlugin, "--timeout", "1"},
       0,
       1,
       "<stdin>:2: no reply: the plug-in did not reply within 1 s\n"
       "lumivex-host: the plug-in did not shut down within 5 s\n"},
      {{kPlugin}, SIGTERM, 143, "lumivex-host: the plug-in did not shut down within 5 s\n"},
  };
  // Threads that hang are left behind, for which ThreadSanitizer would end with a status of its
  // own.
  setenv("TSAN_OPTIONS", "report_thread_leaks=0", 1);
  std::vector<std::unique_ptr<HostRun>> runs;
  const auto start = std::chrono::steady_clock::now();
  for (const auto& c : kCases) {
    runs.push_back(std::make_unique<HostRun>(c.arguments));
    runs.back()->Write("0\n{\"do\": \"sleep\", \"ms\": 600000}\n");
    EXPECT_THAT(runs.back()->ReadLine(), HasSubstr("\"reply\":0"));
    usleep(50000);
    runs.back()->Signal(c.signal);
  }
  for (std::size_t i = 0; i < runs.size(); ++i) {
    EXPECT_EQ(runs[i]->Wait(), kCases[i].status);
    EXPECT_EQ(runs[i]->errors, kCases[i].errors);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(ProgramTest, StandardStreamsMayBeClosed) {
  const std::string program = "timeout 20 '" LUMIVEX_HOST "' '" + kPlugin + "' ";
  EXPECT_EQ(std::system((program + "<&-").c_str()), 0);
  EXPECT_EQ(std::system(("echo 1 | " + program + ">&- 2>&-").c_str()), 0);
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
  EXPECT_EQ(run.errors, "lumivex-host: cannot write output: No space left on device\n");
  close(full);
}

// What comes up to this text, or what there is when nothing comes for 20 s.
std::string ReadUntil(int terminal, const std::string& end) {
  std::string text;
  pollfd ready = {terminal, POLLIN, 0};
  for (char c = 0; text.find(end) == std::string::npos && poll(&ready, 1, 20000) == 1 &&
                   read(terminal, &c, 1) == 1;) {
    text += c;
  }
  return text;
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

// A terminal, and in second the end that programs have.
std::pair<int, int> OpenTerminal() {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_EQ(grantpt(terminal), 0);
  EXPECT_EQ(unlockpt(terminal), 0);
  const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(other_end, 0);
  return {terminal, other_end};
}

#ifdef LUMIVEX_READLINE
TEST(ProgramTest, PromptCompletesRemembersAndGivesTheTerminalBack) {
  const auto [terminal, other_end] = OpenTerminal();
  termios before{};
  tcgetattr(other_end, &before);
  const std::string seek = R"(> {"command":"SeekTo","moduleName":"lumivexplayer","msec":900})";
  const struct {
    const char* typed;
    std::string seen;
  } kSteps[] = {
      {"See\tm\t900\r", seek},
      {"Seek\r", "<stdin>:2:1: unknown command \"Seek\""},
      {"\033[A\033[A\r", seek},
      {"{\"command\": \"SelectRFT\t, \"tr\t: 2}\r",
       R"(> {"command":"SelectRFTrack","trackType":2})"},
      {"{\"$post\": 7}\r", R"(* {"got":7})"},
  };
  setenv("TERM", "xterm", 1);
  setenv("NO_COLOR", "1", 1);
  for (const int signal : {0, SIGINT}) {
    HostRun run({kPlugin}, other_end, other_end);
    for (const auto& step : kSteps) {
      ReadUntil(terminal, "lumivex> ");
      ASSERT_EQ(write(terminal, step.typed, std::strlen(step.typed)),
                static_cast<ssize_t>(std::strlen(step.typed)));
      if (step.seen[0] != '<') {
        EXPECT_THAT(ReadUntil(terminal, step.seen), HasSubstr(step.seen)) << step.typed;
      }
    }
    ReadUntil(terminal, "lumivex> ");
    if (signal != 0) {
      run.Signal(signal);
    } else {
      ASSERT_EQ(write(terminal, "\4", 1), 1);
    }
    EXPECT_EQ(run.Wait(), signal == 0 ? 2 : 128 + signal);
    EXPECT_THAT(run.errors, HasSubstr(kSteps[1].seen));
    termios after{};
    tcgetattr(other_end, &after);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
  }
  unsetenv("NO_COLOR");
  close(other_end);
  close(terminal);
}
#endif

TEST(ProgramTest, TerminalGetsAFormForPeople) {
  const auto [terminal, other_end] = OpenTerminal();
  const struct {
    const char* no_colour;
    std::vector<std::string> arguments;
    int lines;
    const char* output;
  } kCases[] = {
      {"1", {kPlugin}, 4, "\\| # one\r\n\\| \\{\"\\$wait\":1\\}\r\n> 1\r\n< 1  0.*s\r\n"},
      {"", {kPlugin}, 4, ".*\x1b\\[36m>\x1b\\[0m 1\r\n\x1b\\[32m<\x1b\\[0m 1  .*s\r\n"},
      {"", {kPlugin, "--json"}, 1, "\\{\"line\":4,.*\"reply\":1,.*\\}\r\n"},
  };
  setenv("TERM", "xterm", 1);
  for (const auto& c : kCases) {
    setenv("NO_COLOR", c.no_colour, 1);
    HostRun run(c.arguments, other_end);
    run.Write("# one\r\n\n{\"$wait\":1}\n1\n");
    EXPECT_EQ(run.Finish(), 0);
    EXPECT_THAT(ReadTerminal(terminal, c.lines), MatchesRegex(c.output));
  }
  unsetenv("NO_COLOR");
  close(other_end);
  close(terminal);
}

}  // namespace
