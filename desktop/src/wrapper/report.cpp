#include "report.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "../channel.h"

namespace lumivex::desktop {
namespace {

// Set once, before the first handler; never closed.
int channel = -1;

void Send(const char* line, std::size_t length) {
  if (channel >= 0) {
    // Ignore a window that is gone.
    (void)!send(channel, line, length, MSG_NOSIGNAL);
  }
}

void Send(const std::string& line) {
  Send(line.data(), line.size());
}

// Async-signal-safe.
void OnSignal(int signal) {
  if (signal == SIGTERM || signal == SIGINT) {
    Send("stop\n", 5);
  } else {
    char line[] = "crash 00\n";
    line[6] = static_cast<char>('0' + signal / 10 % 10);
    line[7] = static_cast<char>('0' + signal % 10);
    Send(line, sizeof line - 1);
  }
  // SA_RESETHAND has restored the default action, which ends the process.
  raise(signal);
}

int Connect(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (std::strlen(path) >= sizeof address.sun_path) {
    return -1;
  }
  std::memcpy(address.sun_path, path, std::strlen(path) + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

}  // namespace

void OpenReport() {
  const char* path = std::getenv(kChannelVariable);
  if (path == nullptr) {
    return;
  }
  channel = Connect(path);
  Send(std::string(kStartLine) + " " + std::to_string(getpid()) + "\n");
  struct sigaction action {};
  action.sa_handler = OnSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTERM, SIGINT}) {
    sigaction(signal, &action, nullptr);
  }
}

void ReportProblem(const std::string& text) {
  Send(std::string(kProblemLine) + " " + text + "\n");
}

void ReportInstances(int number) {
  Send(std::string(kInstancesLine) + " " + std::to_string(number) + "\n");
}

void ReportStop() {
  Send(std::string(kStopLine) + "\n");
}

}  // namespace lumivex::desktop
