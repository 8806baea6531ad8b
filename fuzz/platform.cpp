#include "platform.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>

#include "answering_tuner.h"
#include "check.h"
#include "ppapi/c/ppp.h"

namespace lumivex::fuzz {

using test::AnsweringTuner;
using test::Check;
using test::Say;

void InputAnswers::Set(std::string_view bytes) {
  bytes_ = bytes;
  next_ = 0;
  TakeGaveBadText();
}

unsigned int InputAnswers::Byte() {
  return bytes_.empty() ? 0 : static_cast<unsigned char>(bytes_[next_++ % bytes_.size()]);
}

Platform& Platform::Get() {
  static Platform& platform = *new Platform;
  return platform;
}

FakePlayer::FakePlayer() : AnsweringPlayer(5) {
  Platform::Get().players.push_back(this);
}

FakePlayer::~FakePlayer() {
  std::vector<FakePlayer*>& players = Platform::Get().players;
  players.erase(std::find(players.begin(), players.end(), this));
}

void FakePlayer::OnCall() {
  if (Platform::Get().events_from_calls && Say().Byte() % 4 == 3) {
    ReportMessage();
  }
}

bool FakePlayer::GetResolution(int* width, int* height) {
  const bool success = AnsweringPlayer::GetResolution(width, height);
  resolutions.push_back(success ? std::optional(std::make_pair(*width, *height)) : std::nullopt);
  return success;
}

void LoadPlugin(host::Browser* browser) {
  std::string error;
  Check(
      browser->LoadModule({&PPP_InitializeModule, &PPP_GetInterface, &PPP_ShutdownModule}, &error),
      "the plug-in loads", error);
}

void UnloadPlugin(host::Browser* browser) {
  browser->Unload();
  const std::vector<std::string> defects = browser->Defects();
  Check(defects.empty(), "no misuse of the browser", defects.empty() ? "" : defects.front());
  Check(browser->LiveResources() == 0, "no resource is leaked");
  Check(Platform::Get().players.empty(), "every player is deleted");
  Check(Platform::Get().libraries == 0, "the player library is closed");
  Check(AnsweringTuner::Held() == 0, "the tuner is given back");
}

}  // namespace lumivex::fuzz

using lumivex::fuzz::FakePlayer;
using lumivex::fuzz::Platform;
using lumivex::test::Say;

lumivex::test::Answers& lumivex::test::Say() {
  return Platform::Get().answers;
}

namespace {

constexpr char kPlayerLibrary[] = "/usr/lib/libzuno-player.so";
void* player_library;  // the handle given for it

}  // namespace

extern "C" {

__attribute__((visibility("default"))) IZunoPlayer* Create() {
  return Say().Success() ? new FakePlayer : nullptr;
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): libc names its own __file
__attribute__((visibility("default"))) void* dlopen(const char* path, int mode) {
  using Dlopen = void* (*)(const char*, int);
  static const auto next = reinterpret_cast<Dlopen>(dlsym(RTLD_NEXT, "dlopen"));
  if (path == nullptr || std::strcmp(path, kPlayerLibrary) != 0) {
    return next(path, mode);
  }
  if (!Say().Success()) {
    return nullptr;
  }
  ++Platform::Get().libraries;
  player_library = next(nullptr, mode);
  return player_library;
}

__attribute__((visibility("default"))) int dlclose(void* handle) {
  using Dlclose = int (*)(void*);
  static const auto next = reinterpret_cast<Dlclose>(dlsym(RTLD_NEXT, "dlclose"));
  if (handle == player_library) {
    --Platform::Get().libraries;
    next(handle);
    return Say().Success() ? 0 : -1;
  }
  return next(handle);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
}
