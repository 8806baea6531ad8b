#ifndef TESTS_SUPPORT_PROGRAM_H_
#define TESTS_SUPPORT_PROGRAM_H_

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "slurp.h"
#include "wait_until.h"

namespace lumivex::test {

// A running program; killed with the object, and with the thread that started it. It reads what is
// written here, and its output is kept, unless descriptors are given.
class Program {
 public:
  Program(const std::string& file,
          std::vector<std::string> arguments,
          int input = -1,
          int output = -1) {
    int ends[2];
    Require(pipe2(ends, O_CLOEXEC) == 0);
    input_ = ends[1];
    arguments.insert(arguments.begin(), file);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      words.push_back(argument.data());
    }
    words.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(input < 0 ? ends[0] : input, 0);
      dup2(output < 0 ? output_ : output, 1);
      dup2(errors_, 2);
      execvp(words[0], words.data());
      _exit(127);
    }
    close(ends[0]);
  }
  ~Program() {
    if (!HasEnded()) {
      Signal(SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    CloseInput();
    close(output_);
    close(errors_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Write(const std::string& text) {
    Require(write(input_, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
  }
  void CloseInput() { close(std::exchange(input_, -1)); }
  void Signal(int signal) { kill(pid_, signal); }

  pid_t pid() const { return pid_; }
  std::string output() const { return Slurp("/dev/fd/" + std::to_string(output_)); }
  std::string errors() const { return Slurp("/dev/fd/" + std::to_string(errors_)); }

  // The output's next line, or what there is of it in the end.
  std::string ReadLine() {
    std::string line;
    WaitUntil(std::chrono::seconds(30), [&] {
      const bool is_all = HasEnded();
      const std::string text = output();
      line = text.substr(read_, text.find('\n', read_) + 1 - read_);
      return is_all || (!line.empty() && line.back() == '\n');
    });
    read_ += line.size();
    return line;
  }

  // The exit status, or 1000 and the number of the signal that ended it; -1 when it does not end.
  int Wait(std::chrono::seconds limit = std::chrono::seconds(60)) {
    if (!WaitUntil(limit, [this] { return HasEnded(); })) {
      return -1;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 1000 + WTERMSIG(status_);
  }
  int Finish() {
    CloseInput();
    return Wait();
  }

 private:
  static void Require(bool done) {
    if (!done) {
      std::perror("pipe to a program");
      std::abort();
    }
  }
  bool HasEnded() { return ended_ = ended_ || waitpid(pid_, &status_, WNOHANG) == pid_; }

  const int output_ = memfd_create("output", MFD_CLOEXEC);
  const int errors_ = memfd_create("errors", MFD_CLOEXEC);
  int input_ = -1;
  pid_t pid_ = -1;
  bool ended_ = false;
  int status_ = 0;
  std::size_t read_ = 0;  // lines of the output
};

}  // namespace lumivex::test

#endif  // TESTS_SUPPORT_PROGRAM_H_
