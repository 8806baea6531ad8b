#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>

#include "CRFManager.h"

// A desktop process has no application id: it gets one from its program's name.
int CAppUtil::GetKelvoAppIDByPID(int pid, char* buffer, int size) {
  if (pid <= 0 || buffer == nullptr || size <= 0) {
    return -1;
  }
  std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  if (!std::getline(comm, name)) {
    return -1;
  }
  std::replace_if(
      name.begin(), name.end(),
      [](unsigned char letter) { return std::isalnum(letter) == 0 && letter != '-'; }, '_');
  const std::string id = "org.lumivex." + name;
  const std::size_t length = id.copy(buffer, static_cast<std::size_t>(size) - 1);
  buffer[length] = '\0';
  return 0;
}
