// The exported names; see CRFManager.h for what they promise.

#include "CRFManager.h"

#include "tuner.h"

namespace {

using rf_manager::Languages;
using rf_manager::Lease;
using rf_manager::Service;

constexpr CTVSHandler::LUMIVEX_SUBTITLE_MODE kLastSubtitleMode{1};

rf_manager::Tuner tuner;

// The answer of action, called with the lease and its tuned service; false if there is none.
template <typename Action>
bool UseTuned(const CRFManager* handle, Action action) {
  return tuner.Use(
      handle, [&](Lease& lease) { return lease.tuned != nullptr && action(lease, *lease.tuned); });
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
  return applicationId == nullptr ? nullptr : tuner.Obtain(applicationId);
}

void CRFManager::ReleaseInstance() {
  tuner.Release();
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  return tuner.Register(this, listener);
}

bool CRFManager::SetSubtitleWindowSubsurface(unsigned int windowId) {
  return tuner.Use(this, [=](Lease& lease) {
    lease.subtitle_window = windowId;
    return true;
  });
}

bool CRFManager::ShowSubtitleWindow() {
  return tuner.Use(this, [](Lease& lease) { return lease.subtitle_window.has_value(); });
}

bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE type) {
  return tuner.Use(this, [=](Lease& lease) {
    if (type != rf_manager::kTerrestrial && type != rf_manager::kCable) {
      return false;
    }
    lease.channel_type = type;
    return true;
  });
}

bool CRFManager::TuneRFChannel(int major, int minor, int programNumber, int transportStreamId) {
  return tuner.Tune(this, major, minor, programNumber, transportStreamId);
}

bool CRFManager::GetNumOfMultiAudio(unsigned int* count) {
  return UseTuned(
      this, [=](Lease&, const Service& service) { return Store(count, service.audio.size()); });
}

bool CRFManager::GetNumOfSubtitle(unsigned int* count) {
  return UseTuned(
      this, [=](Lease&, const Service& service) { return Store(count, service.subtitles.size()); });
}

bool CRFManager::GetCurrentAudioIndex(int* index) {
  return UseTuned(this,
                  [=](Lease& lease, const Service&) { return Store(index, lease.audio_index); });
}

bool CRFManager::GetCurrentSubtitleIndex(int* index) {
  return UseTuned(this, [=](Lease& lease, const Service& service) {
    return !service.subtitles.empty() && Store(index, lease.subtitle_index);
  });
}

bool CRFManager::ChangeAudioByIndex(unsigned int index) {
  return UseTuned(this, [=](Lease& lease, const Service& service) {
    return Select(&lease.audio_index, service.audio, index);
  });
}

bool CRFManager::ChangeSubtitleByIndex(int index) {
  return UseTuned(this, [=](Lease& lease, const Service& service) {
    // As unsigned, a negative index is beyond every list.
    return Select(&lease.subtitle_index, service.subtitles, static_cast<unsigned int>(index));
  });
}

bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) {
  return UseTuned(this, [=](Lease& lease, const Service&) {
    return Store(mode, lease.application->subtitle_mode);
  });
}

bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE mode) {
  return UseTuned(this, [=](Lease& lease, const Service&) {
    return mode >= 0 && mode <= kLastSubtitleMode && Store(&lease.application->subtitle_mode, mode);
  });
}

bool CRFManager::GetSubtitleStatus(bool* shown) {
  return UseTuned(this, [=](Lease& lease, const Service&) {
    return Store(shown, lease.application->subtitles_shown);
  });
}

bool CRFManager::SetSubtitleStatus(bool shown) {
  return UseTuned(this, [=](Lease& lease, const Service&) {
    return Store(&lease.application->subtitles_shown, shown);
  });
}

bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int index, std::string* language) {
  return UseTuned(this, [=](Lease&, const Service& service) {
    return StoreLanguage(language, service.audio, index);
  });
}

bool CRFManager::GetSubtitleLanguageByIndex(unsigned int index, std::string* language) {
  return UseTuned(this, [=](Lease&, const Service& service) {
    return StoreLanguage(language, service.subtitles, index);
  });
}
