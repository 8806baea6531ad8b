#include "virtual_screen.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace lumivex::test {

VirtualScreen::VirtualScreen(int width, int height) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return;
  }
  // The server picks a free display number and reports it.
  const std::string number_to = std::to_string(ends[1]);
  const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
  server_ = fork();
  if (server_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    fcntl(ends[1], F_SETFD, 0);
    execlp("Xvfb", "Xvfb", "-displayfd", number_to.c_str(), "-screen", "0", size.c_str(),
           "-nolisten", "tcp", "-noreset", nullptr);
    _exit(127);
  }
  close(ends[1]);
  std::string number;
  for (char digit = 0; read(ends[0], &digit, 1) == 1 && digit != '\n';) {
    number += digit;
  }
  close(ends[0]);
  works_ = !number.empty();
  if (works_) {
    setenv("DISPLAY", (":" + number).c_str(), 1);
  }
}

VirtualScreen::~VirtualScreen() {
  if (server_ > 0) {
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
  }
}

}  // namespace lumivex::test
