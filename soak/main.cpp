// lumivex-soak: the plug-in's library in use from every side at once, for minutes or hours.

#include <device_paths.h>

#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "options.h"
#include "soak.h"

namespace {

// Freed memory that threads keep for themselves counts as in use. They are told not to, before
// their first allocation, so that the heap's figure is exact.
void ForgoThreadCaches(char** argv) {
  if (std::getenv("GLIBC_TUNABLES") == nullptr) {
    setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
    execv("/proc/self/exe", argv);
  }
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  const std::optional<lumivex::soak::Options> options =
      lumivex::soak::ReadOptions(argc, argv, &status);
  if (!options) {
    return status;
  }
  ForgoThreadCaches(argv);
  device_paths_set_root(LUMIVEX_SOAK_SYSROOT);
  struct sigaction action {};
  action.sa_handler = [](int) { lumivex::soak::EndSoak(); };
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // a second one ends the process
  sigaction(SIGINT, &action, nullptr);
  switch (lumivex::soak::Soak(*options)) {
    case lumivex::soak::Verdict::kFlat:
      return 0;
    case lumivex::soak::Verdict::kNotFlat:
      return 1;
    case lumivex::soak::Verdict::kNotJudged:
      return 2;
  }
}
