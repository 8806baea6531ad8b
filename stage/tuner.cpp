#include <CRFManager.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

#include "stage.h"

namespace lumivex::test {

namespace {

// An instance is nothing but its place here; never freed.
struct Slot {
  IEventListener* listener = nullptr;
};
std::array<Slot, 1000> slots;

std::string Shown(bool value) {
  return value ? "true" : "false";
}
template <class Number>
std::string Shown(Number value) {
  return std::to_string(value);
}
template <class Number>
std::string Shown(Number* output) {
  return "*" + std::to_string(*output);
}
std::string Shown(std::string* output) {
  return "*" + Quote(*output);
}

template <class... Arguments>
Answer Call(const CRFManager* manager, const char* name, Arguments... arguments) {
  const std::ptrdiff_t number = reinterpret_cast<const Slot*>(manager) - slots.data() + 1;
  std::string text;
  ((text += (text.empty() ? "" : ", ") + Shown(arguments)), ...);
  return Enter("tuner", static_cast<int>(number), name, text);
}

// Also on failure there is an answer.
template <class Output>
bool Fill(Output* output, const Answer& answer) {
  if (answer.fills) {
    *output = static_cast<Output>(answer.number);
  }
  return answer.success;
}
bool Fill(std::string* output, const Answer& answer) {
  *output = answer.fills ? answer.text : *output;
  return answer.success;
}

}  // namespace

void Stage::Event(unsigned int type, int param1, const std::string& param2, int number) {
  const EventScope scope;
  // The destructor takes the first two places of the table.
  void* const listener = slots[static_cast<std::size_t>(number - 1)].listener;
  using OnEvent = void (*)(void*, unsigned int, int, const std::string&);
  const OnEvent on_event = (*static_cast<OnEvent* const*>(listener))[2];
  on_event(listener, type, param1, param2);
}

bool Stage::Listens(int number) const {
  return tuners > 0 && number <= tuners_made &&
         slots[static_cast<std::size_t>(number - 1)].listener != nullptr;
}

}  // namespace lumivex::test

using lumivex::test::Answer;
using lumivex::test::Call;
using lumivex::test::Enter;
using lumivex::test::Fill;
using lumivex::test::Quote;
using lumivex::test::Stage;

int CAppUtil::GetKelvoAppIDByPID(int pid, char* buffer, int size) {
  const bool zeroed = std::all_of(buffer, buffer + size, [](char c) { return c == 0; });
  const Answer answer = Enter("tuner", 1, __func__,
                              (pid == getppid() ? "parent" : std::to_string(pid)) + ", " +
                                  (zeroed ? "zeros" : "not zeroed") + ", " + std::to_string(size));
  if (answer.success) {
    std::snprintf(buffer, static_cast<std::size_t>(size), "org.example.page");
  }
  return answer.success ? 0 : -1;
}

CRFManager* CRFManager::GetInstance(const char* applicationId, bool flag, _Eo_Opaque* object) {
  if (!Enter("tuner", 1, __func__,
             Quote(applicationId) + ", " + (flag ? "true" : "false") + ", " +
                 (object == nullptr ? "null" : "object"))
           .success) {
    return nullptr;
  }
  Stage& stage = Stage::Get();
  ++stage.tuners;
  lumivex::test::Slot* const slot =
      &lumivex::test::slots[static_cast<std::size_t>(stage.tuners_made++)];
  *slot = {};
  return reinterpret_cast<CRFManager*>(slot);
}

void CRFManager::ReleaseInstance() {
  Enter("tuner", 1, __func__, "");
  --Stage::Get().tuners;
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  reinterpret_cast<lumivex::test::Slot*>(this)->listener = listener;
  return Call(this, __func__, listener != nullptr).success;
}

// clang-format off
using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int windowId) { return Call(this, __func__, windowId).success; }
bool CRFManager::ShowSubtitleWindow() { return Call(this, __func__).success; }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) { return Call(this, __func__, int{type}).success; }
bool CRFManager::TuneRFChannel(int major, int minor, int programNumber, int transportStreamId) { return Call(this, __func__, major, minor, programNumber, transportStreamId).success; }
bool CRFManager::GetNumOfMultiAudio(unsigned int* count) { return Fill(count, Call(this, __func__, count)); }
bool CRFManager::GetNumOfSubtitle(unsigned int* count) { return Fill(count, Call(this, __func__, count)); }
bool CRFManager::GetCurrentAudioIndex(int* index) { return Fill(index, Call(this, __func__, index)); }
bool CRFManager::GetCurrentSubtitleIndex(int* index) { return Fill(index, Call(this, __func__, index)); }
bool CRFManager::ChangeAudioByIndex(unsigned int index) { return Call(this, __func__, index).success; }
bool CRFManager::ChangeSubtitleByIndex(int index) { return Call(this, __func__, index).success; }
bool CRFManager::GetSubtitleMode(Mode* mode) { return Fill(mode, Call(this, __func__)); }
bool CRFManager::SetSubtitleMode(Mode mode) { return Call(this, __func__, int{mode}).success; }
bool CRFManager::GetSubtitleStatus(bool* shown) { return Fill(shown, Call(this, __func__)); }
bool CRFManager::SetSubtitleStatus(bool shown) { return Call(this, __func__, shown).success; }
bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int index, std::string* language) { return Fill(language, Call(this, __func__, index, language)); }
bool CRFManager::GetSubtitleLanguageByIndex(unsigned int index, std::string* language) { return Fill(language, Call(this, __func__, index, language)); }
// clang-format on
