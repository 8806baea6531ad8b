#include "session_folder.h"

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

void Require(bool done, const std::string& what) {
  if (!done) {
    std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what.c_str(),
                 std::strerror(errno));
    std::exit(EXIT_FAILURE);
  }
}

}  // namespace

SessionFolder::SessionFolder() : path_("/tmp/lumivex-desktop.XXXXXX") {
  Require(mkdtemp(path_.data()) != nullptr, path_);
}

SessionFolder::~SessionFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
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
