#include "platform.h"

#include <CRFManager.h>
#include <dlfcn.h>
#include <dlog.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "check.h"
#include "ppapi/c/ppp.h"

namespace lumivex::fuzz {

namespace {

constexpr std::array<int, 16> kNumbers = {1,    0,     2,       3,       4,  7,       1280, 720,
                                          1080, 65535, INT_MAX, INT_MIN, -1, 1 << 24, 99,   100};
constexpr std::array<int, 8> kMessages = {131, 132, 181, 185, 177, 186, 32, 999};
constexpr std::size_t kGoodTexts = 5;
const std::array<std::string, 8> kTexts = {"eng",
                                           "",
                                           "h\xc3\xa9%s%n",
                                           std::string("a\0b", 3),
                                           std::string(5000, 'x'),
                                           "\xff",
                                           "\xed\xa0\x80",
                                           "cut\xc3"};

Answers& Say() {
  return Platform::Get().answers;
}

IEventListener* tuner_listener;

bool TunerCall(const CRFManager* manager) {
  Check(Platform::Get().tuners > 0 && manager != nullptr, "the tuner is called while it is held");
  return Say().Success();
}

template <class Output>
bool TunerFill(const CRFManager* manager, Output* output) {
  *output = static_cast<Output>(Say().Number());
  return TunerCall(manager);
}

}  // namespace

void Answers::Set(std::string_view bytes) {
  bytes_ = bytes;
  next_ = 0;
  gave_bad_text_ = false;
}

unsigned int Answers::Byte() {
  return bytes_.empty() ? 0 : static_cast<unsigned char>(bytes_[next_++ % bytes_.size()]);
}

int Answers::Number() {
  return kNumbers[Byte() % kNumbers.size()];
}

std::string Answers::Text() {
  const std::size_t which = Byte() % kTexts.size();
  gave_bad_text_ = gave_bad_text_ || which >= kGoodTexts;
  return kTexts[which];
}

Platform& Platform::Get() {
  static Platform& platform = *new Platform;
  return platform;
}

FakePlayer::FakePlayer() {
  Platform::Get().players.push_back(this);
}

FakePlayer::~FakePlayer() {
  std::vector<FakePlayer*>& players = Platform::Get().players;
  players.erase(std::find(players.begin(), players.end(), this));
}

bool FakePlayer::Call(const char* text) {
  Check(text == nullptr || std::strlen(text) < 1U << 20, "texts end");
  if (Platform::Get().events_from_calls && message != nullptr && Say().Byte() % 4 == 3) {
    const std::string data = Say().Text();
    ZunoMessageParam record{};
    record.data = data.c_str();
    record.percent = Say().Byte() % 101;
    record.value = static_cast<int>(data.size());
    message(kMessages[Say().Byte() % kMessages.size()], &record, message_user);
  }
  return Say().Success();
}

bool FakePlayer::Fill(int* output) {
  *output = Say().Number();
  return Call();
}

int FakePlayer::SetDrmInfo(
    const char* name, int name_length, const char* data, int data_length, int) {
  Check(name_length == static_cast<int>(std::strlen(name)), "a property's name has its length");
  Check(data_length >= 0 && data[data_length] == '\0', "a property's data has its length");
  return Call() ? 0 : Say().Number();
}

bool FakePlayer::GetResolution(int* width, int* height) {
  *width = Say().Number();
  *height = Say().Number();
  if (!Say().Success()) {
    resolutions.emplace_back();
    return false;
  }
  resolutions.emplace_back(std::make_pair(*width, *height));
  return true;
}

bool FakePlayer::GetAvailableBitrates(std::vector<unsigned int>* bitrates) {
  for (unsigned int count = Say().Byte() % 5; count > 0; --count) {
    bitrates->push_back(static_cast<unsigned int>(Say().Number()));
  }
  return Call();
}

bool FakePlayer::GetStreamLanguageCode(int, int, std::string* language, std::string* further) {
  *language = Say().Text();
  *further = "further";
  return Call();
}

bool FakePlayer::SetCurrentPositionCallback(PositionCallback callback, void* user) {
  const bool success = Say().Success();
  position = success ? callback : nullptr;
  position_user = user;
  return success;
}

bool FakePlayer::SetMessageCallback(MessageCallback callback, void* user) {
  const bool success = Say().Success();
  message = success ? callback : nullptr;
  message_user = user;
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
  Check(Platform::Get().tuners == 0, "the tuner is given back");
}

}  // namespace lumivex::fuzz

using lumivex::fuzz::FakePlayer;
using lumivex::fuzz::Platform;
using lumivex::fuzz::Say;
using lumivex::fuzz::tuner_listener;
using lumivex::fuzz::TunerCall;
using lumivex::fuzz::TunerFill;

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

int __dlog_print(int, int, const char*, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return length;
}
}

int CAppUtil::GetKelvoAppIDByPID(int, char* buffer, int size) {
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s", Say().Text().c_str());
  return Say().Success() ? 0 : -1;
}

CRFManager* CRFManager::GetInstance(const char*, bool, _Eo_Opaque*) {
  static char tuner;
  if (!Say().Success()) {
    return nullptr;
  }
  ++Platform::Get().tuners;
  return reinterpret_cast<CRFManager*>(&tuner);
}

void CRFManager::ReleaseInstance() {
  if (tuner_listener != nullptr) {
    tuner_listener->OnEvent(0, 0, "the last");
  }
  tuner_listener = nullptr;
  --Platform::Get().tuners;
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  tuner_listener = listener;
  return TunerCall(this);
}

bool CRFManager::TuneRFChannel(int, int, int, int) {
  if (Platform::Get().events_from_calls && tuner_listener != nullptr) {
    tuner_listener->OnEvent(Say().Byte() % 3, Say().Number(), Say().Text());
  }
  return TunerCall(this);
}

bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int, std::string* language) {
  *language = Say().Text();
  return TunerCall(this);
}

bool CRFManager::GetSubtitleLanguageByIndex(unsigned int, std::string* language) {
  *language = Say().Text();
  return TunerCall(this);
}

// clang-format off
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int) { return TunerCall(this); }
bool CRFManager::ShowSubtitleWindow() { return TunerCall(this); }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE) { return TunerCall(this); }
bool CRFManager::GetNumOfMultiAudio(unsigned int* count) { return TunerFill(this, count); }
bool CRFManager::GetNumOfSubtitle(unsigned int* count) { return TunerFill(this, count); }
bool CRFManager::GetCurrentAudioIndex(int* index) { return TunerFill(this, index); }
bool CRFManager::GetCurrentSubtitleIndex(int* index) { return TunerFill(this, index); }
bool CRFManager::ChangeAudioByIndex(unsigned int) { return TunerCall(this); }
bool CRFManager::ChangeSubtitleByIndex(int) { return TunerCall(this); }
bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) { return TunerFill(this, mode); }
bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE) { return TunerCall(this); }
bool CRFManager::GetSubtitleStatus(bool* shown) { return TunerFill(this, shown); }
bool CRFManager::SetSubtitleStatus(bool) { return TunerCall(this); }
// clang-format on
