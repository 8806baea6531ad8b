#include "loader_faults.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "journal.h"
#include "load_linked.h"
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
  if (LoaderFaults::Get().failing == "dlopen" || LoaderFaults::Get().failing == "dlerror") {
    return nullptr;
  }
  ++LoaderFaults::Get().open;
  return &player_library;
}

char* __wrap_dlerror() {
  static char reason[] = "no such file";
  Journal::Get().Add("dlerror");
  return LoaderFaults::Get().failing == "dlerror" ? nullptr : reason;
}

void* __wrap_dlsym(void* handle, const char* name) {
  if (handle != &player_library) {
    return __real_dlsym(handle, name);
  }
  Journal::Get().Add(std::string("dlsym ") + name);
  return LoaderFaults::Get().failing != "dlsym" && std::strcmp(name, "Create") == 0
             ? reinterpret_cast<void*>(&CreatePlayer)
             : nullptr;
}

int __wrap_dlclose(void* handle) {
  if (handle != &player_library) {
    return __real_dlclose(handle);
  }
  Journal::Get().Add("dlclose");
  if (LoaderFaults::Get().failing == "dlclose") {
    return -1;
  }
  --LoaderFaults::Get().open;
  return 0;
}

// Fails as BrowserCalls tells; for the whole program, whose symbols come before those of libc.
__attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                          const pthread_attr_t* attributes,
                                                          void* (*routine)(void*),
                                                          void* argument) noexcept {
  static const auto real =
      reinterpret_cast<decltype(&pthread_create)>(__real_dlsym(RTLD_NEXT, "pthread_create"));
  return lumivex::test::BrowserCalls::Get().Note("pthread_create")
             ? EAGAIN
             : real(thread, attributes, routine, argument);
}
}
