#include "loader_faults.h"

#include <cstring>
#include <string>
#include <utility>

#include "journal.h"
#include "player_recorder.h"

using lumivex::test::Journal;
using lumivex::test::LoaderFaults;

namespace {

int player_library;  // its address is the handle

void* CreatePlayer() {
  return lumivex::test::PlayerRecorder::Get().Create();
}

}  // namespace

LoaderFaults& LoaderFaults::Get() {
  static LoaderFaults faults;
  return faults;
}

extern "C" {

void* __real_dlsym(void* handle, const char* name);
int __real_dlclose(void* handle);

void* __wrap_dlopen(const char* path, int mode) {
  Journal::Get().Add(std::string("dlopen ") + path + " " + std::to_string(mode));
  return LoaderFaults::Get().missing ? nullptr : &player_library;
}

char* __wrap_dlerror() {
  Journal::Get().Add("dlerror");
  return const_cast<char*>(std::exchange(LoaderFaults::Get().error, nullptr));
}

void* __wrap_dlsym(void* handle, const char* name) {
  if (handle != &player_library) {
    return __real_dlsym(handle, name);
  }
  Journal::Get().Add(std::string("dlsym ") + name);
  return LoaderFaults::Get().has_entry && std::strcmp(name, "Create") == 0
             ? reinterpret_cast<void*>(&CreatePlayer)
             : nullptr;
}

int __wrap_dlclose(void* handle) {
  if (handle != &player_library) {
    return __real_dlclose(handle);
  }
  Journal::Get().Add("dlclose");
  return LoaderFaults::Get().close_result;
}
}
