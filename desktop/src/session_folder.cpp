#include "session_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace lumivex::desktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kParent = "/tmp";
constexpr const char* kPrefix = "/tmp/lumivex-desktop.";
constexpr const char* kLock = "/lock";

void Require(bool done, const std::string& what) {
  if (!done) {
    std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what.c_str(),
                 std::strerror(errno));
    std::exit(EXIT_FAILURE);
  }
}

bool TakeLock(int file) {
  return file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0;
}

void Sweep() {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(kParent, error)) {
    const std::string path = entry.path();
    struct stat status {};
    if (path.rfind(kPrefix, 0) != 0 || lstat(path.c_str(), &status) != 0 ||
        !S_ISDIR(status.st_mode) || status.st_uid != geteuid()) {
      continue;
    }
    const int lock = open((path + kLock).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (TakeLock(lock)) {
      fs::remove_all(path, error);
    }
    if (lock >= 0) {
      close(lock);
    }
  }
}

}  // namespace

SessionFolder::SessionFolder() : path_(std::string(kPrefix) + "XXXXXX") {
  Sweep();
  Require(mkdtemp(path_.data()) != nullptr, path_);
  // Renamed only once locked, so that no other program takes it for an abandoned one.
  const std::string unnamed = Path("new");
  lock_ = open(unnamed.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  Require(TakeLock(lock_) && rename(unnamed.c_str(), (path_ + kLock).c_str()) == 0, unnamed);
}

SessionFolder::~SessionFolder() {
  std::error_code error;
  fs::remove_all(path_, error);
  close(lock_);
}

std::string SessionFolder::Link(const std::string& name, const std::string& target) const {
  Require(symlink(target.c_str(), Path(name).c_str()) == 0, Path(name));
  return Path(name);
}

std::string SessionFolder::Pipe(const std::string& name) const {
  Require(mkfifo(Path(name).c_str(), 0600) == 0, Path(name));
  return Path(name);
}

}  // namespace lumivex::desktop
