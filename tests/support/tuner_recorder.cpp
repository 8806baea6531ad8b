#include "tuner_recorder.h"

#include <CRFManager.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "journal.h"

namespace lumivex::test {

namespace {

// An instance is nothing but its place here.
struct Slot {
  IEventListener* listener;
};
Slot slots[1000];
int slots_used = 0;

TunerRecorder& Answers() {
  return TunerRecorder::Get();
}

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
bool Call(const CRFManager* manager, const char* name, Arguments... arguments) {
  const std::ptrdiff_t number = reinterpret_cast<const Slot*>(manager) - slots + 1;
  std::string text;
  ((text += (text.empty() ? "" : ", ") + Shown(arguments)), ...);
  Journal::Get().Add("tuner" + (number == 1 ? "" : std::to_string(number)) + " " + name + "(" +
                     text + ")");
  return Answers().failing.count(name) == 0;
}

// Also on failure there is an answer.
template <class Output, class Answer>
bool Fill(Output* output, const Answer& answer, bool success) {
  *output = static_cast<Output>(answer);
  return success;
}

}  // namespace

void TunerRecorder::Reset() {
  Get() = TunerRecorder();
  slots_used = 0;
}

TunerRecorder& TunerRecorder::Get() {
  static TunerRecorder recorder;
  return recorder;
}

void TunerRecorder::Event(unsigned int type, int param1, const std::string& param2, int instance) {
  // The destructor takes the first two places of the table.
  void* const listener = slots[instance - 1].listener;
  using OnEvent = void (*)(void*, unsigned int, int, const std::string&);
  const OnEvent on_event = (*static_cast<OnEvent* const*>(listener))[2];
  on_event(listener, type, param1, param2);
}

}  // namespace lumivex::test

using lumivex::test::Answers;
using lumivex::test::Call;
using lumivex::test::Fill;
using lumivex::test::Journal;
using lumivex::test::Quote;

int CAppUtil::GetKelvoAppIDByPID(int pid, char* buffer, int size) {
  const bool zeroed = std::all_of(buffer, buffer + size, [](char c) { return c == 0; });
  Journal::Get().Add(std::string("tuner GetKelvoAppIDByPID(") +
                     (pid == getppid() ? "parent" : std::to_string(pid)) + ", " +
                     (zeroed ? "zeros" : "not zeroed") + ", " + std::to_string(size) + ")");
  if (Answers().failing.count("GetKelvoAppIDByPID") == 1) {
    return -1;
  }
  std::snprintf(buffer, static_cast<std::size_t>(size), "org.example.page");
  return 0;
}

CRFManager* CRFManager::GetInstance(const char* applicationId, bool flag, _Eo_Opaque* object) {
  Journal::Get().Add("tuner GetInstance(" + Quote(applicationId) + ", " +
                     (flag ? "true" : "false") + ", " + (object == nullptr ? "null" : "object") +
                     ")");
  if (Answers().failing.count("GetInstance") == 1) {
    return nullptr;
  }
  ++Answers().held;
  return reinterpret_cast<CRFManager*>(&lumivex::test::slots[lumivex::test::slots_used++]);
}

void CRFManager::ReleaseInstance() {
  Journal::Get().Add("tuner ReleaseInstance()");
  --Answers().held;
  if (Answers().on_release) {
    Answers().on_release();
  }
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  reinterpret_cast<lumivex::test::Slot*>(this)->listener = listener;
  return Call(this, __func__, listener != nullptr);
}

// clang-format off
using Mode = CTVSHandler::LUMIVEX_SUBTITLE_MODE;
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int id) { return Call(this, __func__, id); }
bool CRFManager::ShowSubtitleWindow() { return Call(this, __func__); }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) { return Call(this, __func__, int{type}); }
bool CRFManager::TuneRFChannel(int a, int b, int c, int d) { return Call(this, __func__, a, b, c, d); }
bool CRFManager::GetNumOfMultiAudio(unsigned int* n) { return Fill(n, Answers().number, Call(this, __func__, n)); }
bool CRFManager::GetNumOfSubtitle(unsigned int* n) { return Fill(n, Answers().number, Call(this, __func__, n)); }
bool CRFManager::GetCurrentAudioIndex(int* n) { return Fill(n, Answers().number, Call(this, __func__, n)); }
bool CRFManager::GetCurrentSubtitleIndex(int* n) { return Fill(n, Answers().number, Call(this, __func__, n)); }
bool CRFManager::ChangeAudioByIndex(unsigned int index) { return Call(this, __func__, index); }
bool CRFManager::ChangeSubtitleByIndex(int index) { return Call(this, __func__, index); }
bool CRFManager::GetSubtitleMode(Mode* mode) { return Fill(mode, Answers().number, Call(this, __func__)); }
bool CRFManager::SetSubtitleMode(Mode mode) { return Call(this, __func__, int{mode}); }
bool CRFManager::GetSubtitleStatus(bool* shown) { return Fill(shown, Answers().shown, Call(this, __func__)); }
bool CRFManager::SetSubtitleStatus(bool shown) { return Call(this, __func__, shown); }
bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int i, std::string* s) { return Fill(s, Answers().language, Call(this, __func__, i, s)); }
bool CRFManager::GetSubtitleLanguageByIndex(unsigned int i, std::string* s) { return Fill(s, Answers().language, Call(this, __func__, i, s)); }
// clang-format on
