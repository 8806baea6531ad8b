#include "program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "slurp.h"
#include "wait_until.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLineLimit{30};
constexpr std::chrono::seconds kLeftLimit{15};

// The parent of a process; 0 when the process is gone or a zombie.
pid_t ParentOf(pid_t process) {
  const std::string stat = Slurp("/proc/" + std::to_string(process) + "/stat");
  const std::size_t name_end = stat.rfind(") ");
  if (name_end == std::string::npos || stat[name_end + 2] == 'Z') {
    return 0;
  }
  return std::stoi(stat.substr(name_end + 4));
}

std::vector<pid_t> Below(pid_t ancestor) {
  std::map<pid_t, pid_t> parents;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c); })) {
      parents[std::stoi(name)] = ParentOf(std::stoi(name));
    }
  }
  std::vector<pid_t> below;
  for (const auto& one : parents) {
    pid_t process = one.first;
    while (process > 1 && process != ancestor) {
      const auto up = parents.find(process);
      process = up == parents.end() ? 0 : up->second;
    }
    if (process == ancestor && one.first != ancestor) {
      below.push_back(one.first);
    }
  }
  return below;
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers = {const_cast<char*>(LUMIVEX_DESKTOP)};
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  const int out = mkostemp(output_.data(), O_CLOEXEC);
  const int err = mkostemp(errors_.data(), O_CLOEXEC);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(LUMIVEX_DESKTOP, pointers.data());
    _exit(127);
  }
  close(out);
  close(err);
}

Program::~Program() {
  NoteProcesses();
  WaitForEnd(std::chrono::seconds(0));
  if (!ended_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  for (const pid_t process : noted_) {
    kill(process, SIGKILL);
  }
  if (testing::Test::HasFailure()) {
    std::fprintf(stderr, "--- output\n%s--- errors\n%s---\n", output().c_str(), errors().c_str());
  }
  fs::remove(output_);
  fs::remove(errors_);
}

void Program::Signal(int signal) {
  kill(pid_, signal);
}

std::string Program::SessionFolder() const {
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(pid_) + "/fd")) {
    std::error_code error;
    const fs::path file = fs::read_symlink(entry.path(), error);
    if (file.parent_path().string().find("/tmp/lumivex-desktop.") == 0) {
      return file.parent_path();
    }
  }
  return "";
}

std::string Program::output() const {
  return Slurp(output_);
}

std::string Program::errors() const {
  return Slurp(errors_);
}

std::string Program::WaitForLine(const std::string& beginning) {
  std::string rest;
  const bool came = WaitUntil(kLineLimit, [&] {
    const std::string text = output();
    const std::string wanted = ": info: " + beginning;
    const std::size_t start = text.find(wanted, found_);
    const std::size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      return false;
    }
    rest = text.substr(start + wanted.size(), end - start - wanted.size());
    found_ = end + 1;
    return true;
  });
  EXPECT_TRUE(came) << "the page never logged \"" << beginning << "\"";
  NoteProcesses();
  return rest;
}

int Program::WaitForEnd(std::chrono::seconds limit) {
  NoteProcesses();
  WaitUntil(limit, [this] {
    ended_ = ended_ || waitpid(pid_, &status_, WNOHANG) == pid_;
    return ended_;
  });
  return ended_ && WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

void Program::NoteProcesses() {
  for (const pid_t process : Below(pid_)) {
    if (std::find(noted_.begin(), noted_.end(), process) == noted_.end()) {
      noted_.push_back(process);
    }
  }
}

std::vector<pid_t> Program::PluginProcesses() const {
  std::vector<pid_t> processes;
  for (const pid_t process : Below(pid_)) {
    if (Slurp("/proc/" + std::to_string(process) + "/maps").find(LUMIVEX_PLUGIN) !=
        std::string::npos) {
      processes.push_back(process);
    }
  }
  return processes;
}

std::vector<std::string> Program::Threads(pid_t process) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry :
       fs::directory_iterator("/proc/" + std::to_string(process) + "/task", error)) {
    std::string name = Slurp(entry.path() / "comm");
    names.push_back(name.substr(0, name.find('\n')));
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool Program::NothingIsLeft() {
  return WaitUntil(kLeftLimit, [this] {
    return std::none_of(noted_.begin(), noted_.end(),
                        [](pid_t process) { return ParentOf(process) != 0; });
  });
}
