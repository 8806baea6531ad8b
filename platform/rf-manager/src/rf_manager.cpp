// The exported names; see CRFManager.h for what they promise.

#include "CRFManager.h"

#include "tuner.h"

namespace {

using rf_manager::Languages;
using rf_manager::Service;
using rf_manager::State;

constexpr CTVSHandler::LUMIVEX_SUBTITLE_MODE kMaxSubtitleMode{1};

rf_manager::Tuner tuner;
CRFManager instance;  // its address is what callers hold

// The result of action, called with the tuner's state; false while nobody holds the tuner. A handle
// is only compared, so it may be null.
template <typename Action>
bool Use(const CRFManager* handle, Action action) {
  return handle == &instance && tuner.Use(action);
}

// The result of action, called with the state and the tuned service; false if there is none.
template <typename Action>
bool UseTuned(const CRFManager* handle, Action action) {
  return Use(handle,
             [&](State& state) { return state.tuned != nullptr && action(state, *state.tuned); });
}

template <typename Output, typename Value>
bool Store(Output* output, const Value& value) {
  *output = static_cast<Output>(value);
  return true;
}

bool Select(unsigned int* selected, const Languages& tracks, unsigned int index) {
  return index < tracks.size() && Store(selected, index);
}

bool StoreLanguage(std::string* language, const Languages& tracks, unsigned int index) {
  return index < tracks.size() && Store(language, tracks[index]);
}

}  // namespace

CRFManager* CRFManager::GetInstance(const char* applicationId, bool, _Eo_Opaque*) {
  return applicationId != nullptr && tuner.Obtain() ? &instance : nullptr;
}

void CRFManager::ReleaseInstance() {
  tuner.Release();
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  return listener != nullptr && Use(this, [=](State& state) {
           state.listener = listener;
           return true;
         });
}

bool CRFManager::SetSubtitleWindowSubsurface(unsigned int windowId) {
  return Use(this, [=](State& state) {
    state.subtitle_window = windowId;
    return true;
  });
}

bool CRFManager::ShowSubtitleWindow() {
  return Use(this, [](State& state) { return state.subtitle_window.has_value(); });
}

bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) {
  return Use(this, [=](State& state) {
    if (type != rf_manager::kTerrestrial && type != rf_manager::kCable) {
      return false;
    }
    state.channel_type = type;
    return true;
  });
}

bool CRFManager::TuneRFChannel(int major, int minor, int programNumber, int transportStreamId) {
  return Use(this, [=](State& state) {
    const Service* const service =
        rf_manager::FindService(state.channel_type, major, minor, programNumber, transportStreamId);
    return service != nullptr && tuner.Tune(service);
  });
}

bool CRFManager::GetNumOfMultiAudio(unsigned int* count) {
  return UseTuned(
      this, [=](State&, const Service& service) { return Store(count, service.audio.size()); });
}

bool CRFManager::GetNumOfSubtitle(unsigned int* count) {
  return UseTuned(
      this, [=](State&, const Service& service) { return Store(count, service.subtitles.size()); });
}

bool CRFManager::GetCurrentAudioIndex(int* index) {
  return UseTuned(this,
                  [=](State& state, const Service&) { return Store(index, state.audio_index); });
}

bool CRFManager::GetCurrentSubtitleIndex(int* index) {
  return UseTuned(this, [=](State& state, const Service& service) {
    return !service.subtitles.empty() && Store(index, state.subtitle_index);
  });
}

bool CRFManager::ChangeAudioByIndex(unsigned int index) {
  return UseTuned(this, [=](State& state, const Service& service) {
    return Select(&state.audio_index, service.audio, index);
  });
}

bool CRFManager::ChangeSubtitleByIndex(int index) {
  return UseTuned(this, [=](State& state, const Service& service) {
    // As an unsigned number, a negative index is out of range.
    return Select(&state.subtitle_index, service.subtitles, static_cast<unsigned int>(index));
  });
}

bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) {
  return UseTuned(this,
                  [=](State& state, const Service&) { return Store(mode, state.subtitle_mode); });
}

bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE mode) {
  return UseTuned(this, [=](State& state, const Service&) {
    return mode >= 0 && mode <= kMaxSubtitleMode && Store(&state.subtitle_mode, mode);
  });
}

bool CRFManager::GetSubtitleStatus(bool* shown) {
  return UseTuned(
      this, [=](State& state, const Service&) { return Store(shown, state.subtitles_shown); });
}

bool CRFManager::SetSubtitleStatus(bool shown) {
  return UseTuned(
      this, [=](State& state, const Service&) { return Store(&state.subtitles_shown, shown); });
}

bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int index, std::string* language) {
  return UseTuned(this, [=](State&, const Service& service) {
    return StoreLanguage(language, service.audio, index);
  });
}

bool CRFManager::GetSubtitleLanguageByIndex(unsigned int index, std::string* language) {
  return UseTuned(this, [=](State&, const Service& service) {
    return StoreLanguage(language, service.subtitles, index);
  });
}
