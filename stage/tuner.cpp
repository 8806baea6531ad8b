#include <CRFManager.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "call.h"

namespace lumivex::test {

namespace {

// An instance is the place of its listener.
int NumberOf(const CRFManager* tuner) {
  return static_cast<int>(reinterpret_cast<void* const*>(tuner) - Stage::Get().listeners.data()) +
         1;
}

template <class... Arguments>
bool CallOn(const CRFManager* tuner, const char* name, Arguments... arguments) {
  return Call("tuner", NumberOf(tuner), name, arguments...).success;
}

}  // namespace

void Stage::Event(unsigned int type, int param1, const std::string& param2, int number) {
  const EventScope scope;
  // The destructor takes the first two places of the table.
  void* const listener = listeners[number - 1];
  using OnEvent = void (*)(void*, unsigned int, int, const std::string&);
  const OnEvent on_event = (*static_cast<OnEvent* const*>(listener))[2];
  on_event(listener, type, param1, param2);
}

bool Stage::Listens(int number) const {
  return tuners > 0 && listeners[number - 1] != nullptr;
}

}  // namespace lumivex::test

using lumivex::test::Call;
using lumivex::test::CallOn;
using lumivex::test::Stage;

int CAppUtil::GetKelvoAppIDByPID(int pid, char* buffer, int size) {
  const bool zeroed = std::all_of(buffer, buffer + size, [](char c) { return c == 0; });
  const bool success = lumivex::test::Enter("tuner", 1, __func__,
                                            (pid == getppid() ? "parent, " : "another process, ") +
                                                std::string(zeroed ? "zeros, " : "not zeroed, ") +
                                                std::to_string(size))
                           .success;
  if (success) {
    std::snprintf(buffer, static_cast<std::size_t>(size), "org.example.page");
  }
  return success ? 0 : -1;
}

CRFManager* CRFManager::GetInstance(const char* applicationId, bool flag, _Eo_Opaque* object) {
  if (!Call("tuner", 1, __func__, applicationId, flag, object != nullptr).success) {
    return nullptr;
  }
  Stage& stage = Stage::Get();
  ++stage.tuners;
  return reinterpret_cast<CRFManager*>(&stage.listeners[stage.tuners_made++]);
}

void CRFManager::ReleaseInstance() {
  Call("tuner", 1, __func__);
  --Stage::Get().tuners;
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  *reinterpret_cast<void**>(this) = listener;
  return CallOn(this, __func__, listener != nullptr);
}

// clang-format off
using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int windowId) { return CallOn(this, __func__, windowId); }
bool CRFManager::ShowSubtitleWindow() { return CallOn(this, __func__); }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) { return CallOn(this, __func__, type); }
bool CRFManager::TuneRFChannel(int major, int minor, int programNumber, int transportStreamId) { return CallOn(this, __func__, major, minor, programNumber, transportStreamId); }
bool CRFManager::GetNumOfMultiAudio(unsigned int* count) { return CallOn(this, __func__, count); }
bool CRFManager::GetNumOfSubtitle(unsigned int* count) { return CallOn(this, __func__, count); }
bool CRFManager::GetCurrentAudioIndex(int* index) { return CallOn(this, __func__, index); }
bool CRFManager::GetCurrentSubtitleIndex(int* index) { return CallOn(this, __func__, index); }
bool CRFManager::ChangeAudioByIndex(unsigned int index) { return CallOn(this, __func__, index); }
bool CRFManager::ChangeSubtitleByIndex(int index) { return CallOn(this, __func__, index); }
bool CRFManager::GetSubtitleMode(Mode* mode) { return CallOn(this, __func__, mode); }
bool CRFManager::SetSubtitleMode(Mode mode) { return CallOn(this, __func__, mode); }
bool CRFManager::GetSubtitleStatus(bool* shown) { return CallOn(this, __func__, shown); }
bool CRFManager::SetSubtitleStatus(bool shown) { return CallOn(this, __func__, shown); }
bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int index, std::string* language) { return CallOn(this, __func__, index, language); }
bool CRFManager::GetSubtitleLanguageByIndex(unsigned int index, std::string* language) { return CallOn(this, __func__, index, language); }
// clang-format on
