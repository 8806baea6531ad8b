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

bool Call(const CRFManager* manager, const std::string& name, const std::string& arguments) {
  const std::ptrdiff_t number = reinterpret_cast<const Slot*>(manager) - slots + 1;
  Journal::Get().Add("tuner" + (number == 1 ? "" : std::to_string(number)) + " " + name + "(" +
                     arguments + ")");
  return Answers().failing.count(name) == 0;
}

template <class Output>
bool Get(const CRFManager* manager,
         const std::string& name,
         const std::string& arguments,
         Output* output,
         Output answer) {
  *output = answer;
  return Call(manager, name, arguments);
}

template <class Integer>
std::string Held(const Integer* output) {
  return "*" + std::to_string(*output);
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
using lumivex::test::Get;
using lumivex::test::Held;
using lumivex::test::Journal;
using lumivex::test::Quote;

int CAppUtil::GetKelvoAppIDByPID(int pid, char* buffer, int size) {
  const bool zeroed = std::all_of(buffer, buffer + size, [](char c) { return c == 0; });
  Journal::Get().Add(std::string("tuner GetKelvoAppIDByPID(") +
                     (pid == getppid() ? "parent" : std::to_string(pid)) + ", " +
                     (zeroed ? "zeros" : "not zeroed") + ", " + std::to_string(size) + ")");
  if (!Answers().has_application_id) {
    return -1;
  }
  std::snprintf(buffer, static_cast<std::size_t>(size), "org.example.page");
  return 0;
}

CRFManager* CRFManager::GetInstance(const char* applicationId, bool flag, _Eo_Opaque* object) {
  Journal::Get().Add("tuner GetInstance(" + Quote(applicationId) + ", " +
                     (flag ? "true" : "false") + ", " + (object == nullptr ? "null" : "object") +
                     ")");
  if (!Answers().gives_instance) {
    return nullptr;
  }
  return reinterpret_cast<CRFManager*>(&lumivex::test::slots[lumivex::test::slots_used++]);
}

void CRFManager::ReleaseInstance() {
  Journal::Get().Add("tuner ReleaseInstance()");
  if (Answers().on_release) {
    Answers().on_release();
  }
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  reinterpret_cast<lumivex::test::Slot*>(this)->listener = listener;
  return Call(this, "RegisterRFEventHandler", listener == nullptr ? "null" : "listener");
}

bool CRFManager::SetSubtitleWindowSubsurface(unsigned int window) {
  return Call(this, "SetSubtitleWindowSubsurface", std::to_string(window));
}

bool CRFManager::ShowSubtitleWindow() {
  return Call(this, "ShowSubtitleWindow", "");
}

bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) {
  return Call(this, "SetChType", std::to_string(type));
}

bool CRFManager::TuneRFChannel(int major, int minor, int programNumber, int transportStreamId) {
  return Call(this, "TuneRFChannel",
              std::to_string(major) + ", " + std::to_string(minor) + ", " +
                  std::to_string(programNumber) + ", " + std::to_string(transportStreamId));
}

bool CRFManager::GetNumOfMultiAudio(unsigned int* count) {
  return Get(this, "GetNumOfMultiAudio", Held(count), count,
             static_cast<unsigned int>(Answers().number));
}

bool CRFManager::GetNumOfSubtitle(unsigned int* count) {
  return Get(this, "GetNumOfSubtitle", Held(count), count,
             static_cast<unsigned int>(Answers().number));
}

bool CRFManager::GetCurrentAudioIndex(int* index) {
  return Get(this, "GetCurrentAudioIndex", Held(index), index, Answers().number);
}

bool CRFManager::GetCurrentSubtitleIndex(int* index) {
  return Get(this, "GetCurrentSubtitleIndex", Held(index), index, Answers().number);
}

bool CRFManager::ChangeAudioByIndex(unsigned int index) {
  return Call(this, "ChangeAudioByIndex", std::to_string(index));
}

bool CRFManager::ChangeSubtitleByIndex(int index) {
  return Call(this, "ChangeSubtitleByIndex", std::to_string(index));
}

bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) {
  return Get(this, "GetSubtitleMode", "", mode,
             static_cast<CTVSHandler::LUMIVEX_SUBTITLE_MODE>(Answers().number));
}

bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE mode) {
  return Call(this, "SetSubtitleMode", std::to_string(mode));
}

bool CRFManager::GetSubtitleStatus(bool* shown) {
  return Get(this, "GetSubtitleStatus", "", shown, Answers().shown);
}

bool CRFManager::SetSubtitleStatus(bool shown) {
  return Call(this, "SetSubtitleStatus", shown ? "true" : "false");
}

bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int index, std::string* language) {
  return Get(this, "GetMultiAudioLanguageByIndex", std::to_string(index) + ", *" + Quote(*language),
             language, Answers().language);
}

bool CRFManager::GetSubtitleLanguageByIndex(unsigned int index, std::string* language) {
  return Get(this, "GetSubtitleLanguageByIndex", std::to_string(index) + ", *" + Quote(*language),
             language, Answers().language);
}
