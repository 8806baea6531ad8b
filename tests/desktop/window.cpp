#include "window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace lumivex::test {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLeftLimit{15};

fs::path Proc(pid_t process) {
  return "/proc/" + std::to_string(process);
}

std::set<pid_t> Below(pid_t ancestor) {
  std::set<pid_t> below;
  std::error_code error;
  for (const auto& thread : fs::directory_iterator(Proc(ancestor) / "task", error)) {
    std::ifstream children(thread.path() / "children");
    for (pid_t child = 0; children >> child;) {
      below.insert(child);
      below.merge(Below(child));
    }
  }
  return below;
}

}  // namespace

Window::~Window() {
  noted_.merge(Below(pid()));
  for (const pid_t process : noted_) {
    kill(process, SIGKILL);
  }
  if (testing::Test::HasFailure()) {
    std::fprintf(stderr, "--- output\n%s--- errors\n%s---\n", output().c_str(), errors().c_str());
  }
}

std::string Window::WaitForLine(const std::string& beginning) {
  const std::string wanted = ": info: " + beginning;
  std::string line;
  do {
    line = ReadLine();
  } while (!line.empty() && line.find(wanted) == std::string::npos);
  EXPECT_NE(line, "") << "the page never logged \"" << beginning << "\"";
  noted_.merge(Below(pid()));
  line.erase(0, line.find(wanted) + wanted.size());
  return line.substr(0, line.find('\n'));
}

std::string Window::SessionFolder() const {
  for (const auto& entry : fs::directory_iterator(Proc(pid()) / "fd")) {
    std::error_code error;
    const fs::path file = fs::read_symlink(entry.path(), error);
    if (file.parent_path().string().find("/tmp/lumivex-desktop.") == 0) {
      return file.parent_path();
    }
  }
  return "";
}

std::vector<pid_t> Window::PluginProcesses() const {
  std::vector<pid_t> processes;
  for (const pid_t process : Below(pid())) {
    if (Slurp(Proc(process) / "maps").find(LUMIVEX_PLUGIN) != std::string::npos) {
      processes.push_back(process);
    }
  }
  return processes;
}

std::vector<std::string> Window::Threads(pid_t process) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(Proc(process) / "task", error)) {
    std::string name = Slurp(entry.path() / "comm");
    names.push_back(name.substr(0, name.find('\n')));
  }
  return names;
}

bool Window::NothingIsLeft() {
  return WaitUntil(kLeftLimit, [this] {
    return std::all_of(noted_.begin(), noted_.end(), [](pid_t process) {
      return Slurp(Proc(process) / "maps").empty();  // gone, or a zombie
    });
  });
}

}  // namespace lumivex::test
