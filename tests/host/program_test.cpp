// lumivex-host as a program, with the echo plug-in.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "host/json.h"
#include "printable.h"
#include "program.h"

namespace {

using lumivex::Printable;
using lumivex::host::Json;
using lumivex::test::Program;
using testing::HasSubstr;
using testing::MatchesRegex;

// Reads until the text has ended so often, or until nothing comes for 20 s.
std::string ReadUntil(int descriptor, const std::string& end, int count = 1) {
  std::string text;
  pollfd ready = {descriptor, POLLIN, 0};
  for (char c = 0; count > 0 && poll(&ready, 1, 20000) == 1 && read(descriptor, &c, 1) == 1;) {
    text += c;
    const bool ends = text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
    count -= ends ? 1 : 0;
  }
  return text;
}

// The output without times, which must not decrease, and requests.
std::string Seen(const std::string& output) {
  std::string seen;
  std::int64_t last = 0;
  std::istringstream in(output);
  for (std::string line; std::getline(in, line);) {
    EXPECT_EQ(line, Printable(line));
    Json json = Json::parse(line);
    if (json.contains("reply")) {
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
  const auto asked = [](const char* uri) {
    return Json{{"do", "privilege"}, {"value", uri}}.dump() + "\n";
  };
  const std::string window = "{\"do\": \"window\"}\n";
  const std::string player = asked("http://h/privilege/lumivexplayer");
  const std::string tuner = asked("http://other.host/privilege/lumivexrfmanager");
  const std::string strangers =
      asked("http://h/privilege/other") + asked("http://h/privilege/lumivexplayer/x") +
      asked("/privilege/lumivexplayer") + asked("http:///privilege/lumivexplayer") +
      "{\"do\": \"privilege\", \"value\": 5}\n";
  const std::string yes = "{\"reply\":true}\n";
  const std::string no = "{\"reply\":false}\n";
  const struct {
    const char* what;
    std::string script;
    int status;
    std::string output;
    const char* errors;  // a regular expression
    std::vector<std::string> options = {};
  } kCases[] = {
      {"a window and both privileges", window + player + tuner, 0, "{\"reply\":1}\n" + yes + yes,
       ""},
      {"no other privilege", strangers, 0, no + no + no + no + no, ""},
      {"no player", player + tuner, 0, no + yes, "", {"--deny", "player"}},
      {"no tuner", player + tuner, 0, yes + no, "", {"--deny", "rf-manager"}},
      {"another window", window, 0, "{\"reply\":-5}\n", "", {"--window-id", "-5"}},
      {"no window", window, 0, "{\"reply\":null}\n", "", {"--window-id", "none"}},
      {"nothing", "", 0, "", ""},
      {"replies in order, numbers as a page has them",
       "# remark\n\n{\"b\": 2.0, \"a\": [1.5, null, []]}\n\"text\"", 0,
       "{\"reply\":{\"a\":[1.5,null,[]],\"b\":2}}\n{\"reply\":\"text\"}\n", ""},
      {"what could command the terminal stays an escape",
       "\"\u009b\u202e\x7f\u00fc\"\n{\"$post\": \"\u2066\"}\n{\"$\u009b\": 1}\n", 2,
       "{\"reply\":\"\\u009b\\u202e\\u007f\u00fc\"}\n{\"event\":{\"got\":\"\\u2066\"}}\n",
       "<stdin>:3:2: unknown directive \"\\$\\\\u009b\".*\n"},
      {"an event posted while a message is handled comes behind its reply",
       "{\"do\": \"post\", \"value\": 1}\n2\n", 0,
       "{\"reply\":{\"do\":\"post\",\"value\":1}}\n{\"event\":1}\n{\"reply\":2}\n", ""},
      {"what is posted at the very end is still handled",
       "{\"$post\": {\"do\": \"sleep\", \"ms\": 100}}\n", 0,
       "{\"event\":{\"got\":{\"do\":\"sleep\",\"ms\":100}}}\n", ""},
      {"waiting shows events", "{\"$post\": 1}\n{\"$wait\": 1}\n{\"$waitFor\": {\"got\": 1}}\n2\n",
       0, "{\"event\":{\"got\":1}}\n{\"reply\":2}\n", ""},
      {"an event is matched once, and those before it no more",
       "{\"$post\": 1}\n{\"$post\": 2}\n{\"$post\": 3}\n{\"$waitFor\": {\"got\": 2}}\n"
       "{\"$waitFor\": {\"got\": 3}}\n{\"$waitFor\": {\"got\": 1}, \"timeout\": 20}\n4\n",
       3, "{\"event\":{\"got\":1}}\n{\"event\":{\"got\":2}}\n{\"event\":{\"got\":3}}\n",
       "<stdin>:6: no event matched \\{\"got\":1\\} within 20 ms\n"},
      {"what is expected comes",
       "{\"a\": 1, \"b\": {\"c\": 2, \"d\": 3}}\n{\"$post\": [1]}\n"
       "{\"$expect\": {\"b\": {\"d\": 3.0}}}\n"
       "{\"$waitFor\": {}, \"$expect\": {\"got\": [1]}}\n",
       0, "{\"reply\":{\"a\":1,\"b\":{\"c\":2,\"d\":3}}}\n{\"event\":{\"got\":[1]}}\n", ""},
      {"another reply than expected", "{\"a\": 1}\n{\"$expect\": {\"a\": \"1\"}}\n3\n", 5,
       "{\"reply\":{\"a\":1}}\n", "<stdin>:2: expected \\{\"a\":\"1\"\\}, got \\{\"a\":1\\}\n"},
      {"less than expected", "{\"a\": 1}\n{\"$expect\": {\"b\": null}}\n", 5,
       "{\"reply\":{\"a\":1}}\n", "<stdin>:2: expected .*\n"},
      {"another event than expected",
       "{\"$post\": [1, 2]}\n{\"$waitFor\": {}, \"$expect\": {\"got\": [1]}}\n", 5,
       "{\"event\":{\"got\":[1,2]}}\n",
       "<stdin>:2: expected \\{\"got\":\\[1\\]\\}, got \\{\"got\":\\[1,2\\]\\}\n"},
      {"no reply to look at", "{\"$post\": 1}\n{\"$expect\": {}}\n", 2, "{\"event\":{\"got\":1}}\n",
       "<stdin>:2: \\$expect has no reply.*\n"},
      {"not JSON", "1\n\n  {\"a\" 1}\n2\n", 2, "{\"reply\":1}\n",
       "<stdin>:3:8: invalid JSON: .*\n"},
      {"a leak", "{\"do\": \"leak\"}\n{\"do\": \"twice\"}\n", 4,
       "{\"reply\":{\"do\":\"leak\"}}\n{\"reply\":{\"do\":\"twice\"}}\n",
       "lumivex-host: plug-in defect: Release: string .* was already released\n"
       "lumivex-host: plug-in defect: leaked: string \"forgotten\", references: 1\n"},
      {"the script's own fault comes first", "{\"do\": \"leak\"}\n{\n", 2,
       "{\"reply\":{\"do\":\"leak\"}}\n", "<stdin>:2:2: .*\n.*leaked.*\n"},
  };
  for (const auto& c : kCases) {
    std::vector<std::string> arguments = c.options;
    arguments.push_back(kPlugin);
    Program run(LUMIVEX_HOST, arguments);
    run.Write(c.script);
    EXPECT_EQ(run.Finish(), c.status) << c.what;
    EXPECT_EQ(Seen(run.output()), c.output) << c.what;
    EXPECT_THAT(run.errors(), MatchesRegex(c.errors)) << c.what;
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
    Program run(LUMIVEX_HOST, c.arguments);
    EXPECT_EQ(run.Finish(), c.status) << c.errors;
    EXPECT_EQ(run.output(), "");
    EXPECT_THAT(run.errors(), HasSubstr(c.errors));
  }
  Program help(LUMIVEX_HOST, {"--help"});
  EXPECT_EQ(help.Finish(), 0);
  EXPECT_THAT(help.output(), HasSubstr("Usage: lumivex-host"));
}

TEST(ProgramTest, AnswersLineByLineAndReadsFiles) {
  Program run(LUMIVEX_HOST, {kPlugin, "-"});
  run.Write("\n{\"do\": \"window\"}\n{\"$post\": 2}\n");
  EXPECT_THAT(run.ReadLine(),
              MatchesRegex(R"(\{"line":2,"ms":.*,"reply":1,"request":\{"do":"window"\}\}.)"));
  EXPECT_THAT(run.ReadLine(), HasSubstr("\"event\":{\"got\":2}")) << "while it waits for a line";
  run.Write("\"cut");
  run.Write(" in two\"\n");
  EXPECT_THAT(run.ReadLine(), HasSubstr("\"reply\":\"cut in two\""));
  EXPECT_EQ(run.Finish(), 0);

  const std::string path = testing::TempDir() + "script-" + std::to_string(getpid());
  const std::string text(3000000, 'x');
  std::ofstream(path) << '"' << text << "\"\r\n{\"$waitFor\": {}, \"timeout\": 0}";
  Program file(LUMIVEX_HOST, {kPlugin, path});
  EXPECT_EQ(file.Finish(), 3);
  EXPECT_EQ(Seen(file.output()), "{\"reply\":\"" + text + "\"}\n");
  EXPECT_THAT(file.errors(), HasSubstr(path + ":2: no event"));
  unlink(path.c_str());
}

TEST(ProgramTest, EndsWhateverItDoes) {
  const std::string hanging = "{\"do\": \"sleep\", \"ms\": 600000}\n";
  const std::string left_behind = "lumivex-host: the plug-in did not shut down within 5 s\n";
  const struct {
    std::string message;
    int signal;
    int status;
    std::string errors;
  } kCases[] = {
      {"", SIGINT, 130, ""},
      {"{\"$wait\": 60000}\n", SIGTERM, 143, ""},
      {"{\"$waitFor\": {\"a\": 1}, \"timeout\": 60000}\n", SIGINT, 130, ""},
      {"{\"do\": \"sleep\", \"ms\": 300}\n", SIGTERM, 143, ""},
      {hanging, SIGTERM, 143, left_behind},
      {hanging, 0, 1, "<stdin>:2: no reply: the plug-in did not reply within 2 s\n" + left_behind},
  };
  // Threads that hang are left behind, for which ThreadSanitizer would end with a status of its
  // own.
  setenv("TSAN_OPTIONS", "report_thread_leaks=0", 1);
  std::list<Program> runs;
  for (const auto& c : kCases) {
    runs.emplace_back(LUMIVEX_HOST, std::vector<std::string>{kPlugin, "--timeout", "2"});
    runs.back().Write("0\n" + c.message);
    EXPECT_THAT(runs.back().ReadLine(), HasSubstr("\"reply\":0"));
    usleep(50000);
    runs.back().Signal(c.signal);
  }
  for (const auto& c : kCases) {
    EXPECT_EQ(runs.front().Wait(), c.status) << c.message;
    EXPECT_EQ(runs.front().ReadLine(), "");
    EXPECT_EQ(runs.front().errors(), c.errors);
    runs.pop_front();
  }
}

TEST(ProgramTest, StandardStreamsMayBeClosed) {
  const std::string program = "timeout 20 '" LUMIVEX_HOST "' '" + kPlugin + "' ";
  EXPECT_EQ(std::system((program + "<&-").c_str()), 0);
  EXPECT_EQ(std::system(("echo 1 | " + program + ">&- 2>&-").c_str()), 0);
}

TEST(ProgramTest, ClosedOrFullOutputEndsIt) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  Program closed(LUMIVEX_HOST, {kPlugin}, -1, ends[1]);
  close(ends[0]);
  closed.Write("1\n{\"$wait\": 60000}\n");
  EXPECT_EQ(closed.Finish(), 128 + SIGPIPE);
  EXPECT_EQ(closed.errors(), "");
  close(ends[1]);

  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  Program run(LUMIVEX_HOST, {kPlugin}, -1, full);
  run.Write("1\n2\n");
  EXPECT_EQ(run.Finish(), 1);
  EXPECT_EQ(run.errors(), "lumivex-host: cannot write output: No space left on device\n");
  close(full);
}

// A pseudo-terminal: the end that a person types at, and the end that programs see.
struct Terminal {
  Terminal() { EXPECT_EQ(openpty(&end, &other_end, nullptr, nullptr, nullptr), 0); }
  ~Terminal() {
    close(end);
    close(other_end);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void Type(const char* text) const {
    EXPECT_EQ(write(end, text, std::strlen(text)), static_cast<ssize_t>(std::strlen(text)));
  }
  int end = -1;
  int other_end = -1;
};

#ifdef LUMIVEX_READLINE
TEST(ProgramTest, PromptCompletesRemembersAndGivesTheTerminalBack) {
  const Terminal terminal;
  termios before{};
  tcgetattr(terminal.other_end, &before);
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
    Program run(LUMIVEX_HOST, {kPlugin}, terminal.other_end, terminal.other_end);
    for (const auto& step : kSteps) {
      ReadUntil(terminal.end, "lumivex> ");
      terminal.Type(step.typed);
      if (step.seen[0] != '<') {
        EXPECT_THAT(ReadUntil(terminal.end, step.seen), HasSubstr(step.seen)) << step.typed;
      }
    }
    ReadUntil(terminal.end, "lumivex> ");
    if (signal != 0) {
      run.Signal(signal);
    } else {
      terminal.Type("\4");
    }
    EXPECT_EQ(run.Wait(), signal == 0 ? 2 : 128 + signal);
    EXPECT_THAT(run.errors(), HasSubstr(kSteps[1].seen));
    termios after{};
    tcgetattr(terminal.other_end, &after);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
  }
  unsetenv("NO_COLOR");
}
#endif

TEST(ProgramTest, TerminalGetsAFormForPeople) {
  const Terminal terminal;
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
    Program run(LUMIVEX_HOST, c.arguments, -1, terminal.other_end);
    run.Write("# one\r\n\n{\"$wait\":1}\n1\n");
    EXPECT_EQ(run.Finish(), 0);
    EXPECT_THAT(ReadUntil(terminal.end, "\n", c.lines), MatchesRegex(c.output));
  }
  unsetenv("NO_COLOR");
}

}  // namespace
