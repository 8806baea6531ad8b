#include "quiet_platform.h"

#include <CRFManager.h>
#include <dlog.h>

#include <cstdio>
#include <string>
#include <vector>

#include "player_library.h"

namespace lumivex::bench {

namespace {

// The tests compare the positions of IZunoPlayer with a table made by hand.
class QuietPlayer final : public IZunoPlayer {
 public:
  bool InitPlayer(const char*, unsigned int) override { return true; }
  bool Play(int) override { return true; }
  bool Stop() override { return true; }
  int SetDrmInfo(const char*, int, const char*, int, int) override { return 0; }
  bool GetResolution(int* width, int* height) override {
    *width = 1920;
    *height = 1080;
    return true;
  }
  bool Pause() override { return true; }
  bool Resume() override { return true; }
  bool Seek(int) override { return true; }
  bool SetPlaySpeed(float) override { return true; }
  bool GetCurrentPosition(int* msec) override { return Fill(msec); }
  bool GetDuration(int* msec) override { return Fill(msec); }
  bool GetAvailableBitrates(std::vector<unsigned int>* bitrates) override {
    *bitrates = {500000, 1500000, 4000000};
    return true;
  }
  bool GetTotalNumOfStreamID(int, int* count) override { return Fill(count); }
  bool GetCurrentStreamID(int, int* index) override { return Fill(index); }
  bool GetStreamLanguageCode(int, int, std::string* language, std::string*) override {
    *language = "eng";
    return true;
  }
  bool StartSubtitle(const char*, int) override { return true; }
  bool SetCurrentPositionCallback(PositionCallback callback, void* user) override {
    LastPlayer().position = callback;
    LastPlayer().position_user = user;
    return true;
  }
  bool SetMessageCallback(MessageCallback callback, void* user) override {
    LastPlayer().message = callback;
    LastPlayer().message_user = user;
    return true;
  }
  bool SetAttribute(int, ...) override { return true; }
  bool SetStreamID(int, int) override { return true; }

 private:
  static bool Fill(int* output) {
    *output = 2;
    return true;
  }
};

template <class Output>
bool Fill(Output* output, Output answer) {
  *output = answer;
  return true;
}

}  // namespace

PlayerCallbacks& LastPlayer() {
  static PlayerCallbacks callbacks;
  return callbacks;
}

}  // namespace lumivex::bench

using lumivex::bench::Fill;

void* lumivex::test::CreatePlayer() {
  return static_cast<IZunoPlayer*>(new lumivex::bench::QuietPlayer);
}

bool lumivex::test::OnLibraryCall(const std::string&) {
  return true;
}

int __dlog_print(int, int, const char*, const char*, ...) {
  return 0;
}

int CAppUtil::GetKelvoAppIDByPID(int, char* buffer, int size) {
  std::snprintf(buffer, static_cast<std::size_t>(size), "org.example.page");
  return 0;
}

CRFManager* CRFManager::GetInstance(const char*, bool, _Eo_Opaque*) {
  static char tuner;
  return reinterpret_cast<CRFManager*>(&tuner);
}

void CRFManager::ReleaseInstance() {}

// clang-format off
bool CRFManager::RegisterRFEventHandler(IEventListener*) { return true; }
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int) { return true; }
bool CRFManager::ShowSubtitleWindow() { return true; }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE) { return true; }
bool CRFManager::TuneRFChannel(int, int, int, int) { return true; }
bool CRFManager::GetNumOfMultiAudio(unsigned int* count) { return Fill(count, 2U); }
bool CRFManager::GetNumOfSubtitle(unsigned int* count) { return Fill(count, 2U); }
bool CRFManager::GetCurrentAudioIndex(int* index) { return Fill(index, 1); }
bool CRFManager::GetCurrentSubtitleIndex(int* index) { return Fill(index, 1); }
bool CRFManager::ChangeAudioByIndex(unsigned int) { return true; }
bool CRFManager::ChangeSubtitleByIndex(int) { return true; }
bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) {
  return Fill(mode, static_cast<CTVSHandler::LUMIVEX_SUBTITLE_MODE>(1));
}
bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE) { return true; }
bool CRFManager::GetSubtitleStatus(bool* shown) { return Fill(shown, true); }
bool CRFManager::SetSubtitleStatus(bool) { return true; }
bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int, std::string* language) {
  return Fill(language, std::string("deu"));
}
bool CRFManager::GetSubtitleLanguageByIndex(unsigned int, std::string* language) {
  return Fill(language, std::string("deu"));
}
// clang-format on
