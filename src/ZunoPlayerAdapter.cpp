#include "ZunoPlayerAdapter.h"

#include <dlfcn.h>

#include <atomic>

namespace {

constexpr char kLogTag[] = "ZunoPlayerAdapter";
constexpr char kPlayerLibPath[] = "/usr/lib/libzuno-player.so";
constexpr char kPlayerLibEntry[] = "Create";

// Attributes of the player's display.
constexpr char kDisplayRectangle[] = "wayland_rect";
constexpr char kDisplayHandle[] = "display_handler";
constexpr char kDisplayArea[] = "display_area";
constexpr const char* kEndOfAttributes = nullptr;

struct Rectangle {
  std::uint32_t x, y, width, height;
};
static_assert(sizeof(Rectangle) == 16, "fixed by the player library");

// By DRM_PROPERTY_TYPE. The library gets the length without the terminator.
constexpr const char* kDrmProperties[] = {
    "PROPERTY_REQUEST_CHALLENGE_DATA",
    "PROPERTY_SET_DRM_LICENSE",
    "PROPERTY_LICENSE_SERVER",
    "PROPERTY_WMDRM_COOKIE",
};

// Messages of the library that are no errors.
enum : int {
  kMessage32 = 32,
  kMessage35 = 35,
  kMessage96 = 96,
  kMessage97 = 97,
  kMessageBuffering = 131,
  kMessageTimedText = 132,
  kMessage177 = 177,
  kMessageDrmData = 181,
  kMessageResolution = 185
};

constexpr int kIgnored = -1;
constexpr int kNoValue = -1;
constexpr unsigned int kBufferingComplete = 100;

// Finishes an operation that has called the library.
bool Finish(bool result, LogSite site = LogSite::Caller()) {
  LUMIVEX_DEBUG_AT(site, "finishes.");
  return result;
}

// Finishes an operation that returns a number only on success.
int FinishQuery(bool result, int value, LogSite site = LogSite::Caller()) {
  return result && Finish(true, site) ? value : kNoValue;
}

}  // namespace

const std::map<const _MsgType, const IPlaybackEventListener::ERROR_TYPE>
    CZunoPlayerAdapter::m_ZunoPlayerErrorEventMap = {
        {_MsgType(186), IPlaybackEventListener::ERROR_LIBRARY_186},
        {_MsgType(134), IPlaybackEventListener::ERROR_LIBRARY_134},
        {_MsgType(182), IPlaybackEventListener::ERROR_LIBRARY_182},
        {_MsgType(183), IPlaybackEventListener::ERROR_LIBRARY_183},
        {_MsgType(184), IPlaybackEventListener::ERROR_LIBRARY_184},
        {_MsgType(187), IPlaybackEventListener::ERROR_LIBRARY_187},
        {_MsgType(68), IPlaybackEventListener::ERROR_LIBRARY_68},
        {_MsgType(37), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(0), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(64), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(65), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(66), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(67), IPlaybackEventListener::ERROR_GENERAL},
        {_MsgType(98), IPlaybackEventListener::ERROR_GENERAL},
};

ILumivexPlayer* GetLumivexPlayer(IPlaybackEventListener* listener) {
  if (listener == nullptr) {
    LUMIVEX_ERROR("IPlaybackEventListener instance is NULL.");
    return nullptr;
  }
  return new CZunoPlayerAdapter(listener);
}

CZunoPlayerAdapter::CZunoPlayerAdapter(IPlaybackEventListener* listener)
    : ILumivexPlayer(listener),
      m_pPlayerLibHandle(nullptr),
      m_pZunoPlayer(nullptr),
      m_playbackSpeed(0.0F),
      m_isBuffering(false) {
  LUMIVEX_DEBUG("Constructor starts");
  if (listener == nullptr) {
    LUMIVEX_ERROR("IPlaybackEventListener instance is NULL.");
  }
  m_pZunoPlayer = GetPlayerInstance();
  if (m_pZunoPlayer == nullptr) {
    LUMIVEX_ERROR("GetPlayerInstance() retunred NULL.");
    return;
  }
  m_pZunoPlayer->Unnamed3(1);
  m_pZunoPlayer->Unnamed24(0);
  m_pZunoPlayer->Unnamed23(1);
  if (!m_pZunoPlayer->SetMessageCallback(&OnMessage, this)) {
    LUMIVEX_ERROR("SetMessageCallback() returned false.");
  }
  if (!m_pZunoPlayer->SetCurrentPositionCallback(&OnCurrentPosition, this)) {
    LUMIVEX_ERROR("SetCurrentPositionCallback() returned false.");
  }
  LUMIVEX_DEBUG("Constructor finishes.");
}

CZunoPlayerAdapter::~CZunoPlayerAdapter() {
  LUMIVEX_DEBUG("Destructor starts.");
  if (m_pZunoPlayer != nullptr) {
    Stop();
    delete m_pZunoPlayer;
    m_pZunoPlayer = nullptr;
  }
  if (m_pPlayerLibHandle != nullptr) {
    if (dlclose(m_pPlayerLibHandle) == 0) {
      LUMIVEX_DEBUG("Unloading ZunoPlayer lib succeeded.");
      m_pPlayerLibHandle = nullptr;
    } else {
      LUMIVEX_ERROR("dlclose() failed.");
    }
  }
  LUMIVEX_DEBUG("Destructor finishes.");
}

IZunoPlayer* CZunoPlayerAdapter::GetPlayerInstance() {
  m_pPlayerLibHandle = dlopen(kPlayerLibPath, RTLD_LAZY);
  if (m_pPlayerLibHandle == nullptr) {
    if (const char* reason = dlerror()) {
      LUMIVEX_ERROR("Loading %s lib failed. (%s)\n", kPlayerLibPath, reason);
    }
    return nullptr;
  }
  LUMIVEX_DEBUG("Loading %s lib successed.\n", kPlayerLibPath);

  const auto create =
      reinterpret_cast<ZunoPlayerCreate>(dlsym(m_pPlayerLibHandle, kPlayerLibEntry));
  IZunoPlayer* const player = create == nullptr ? nullptr : create();
  if (player == nullptr) {
    LUMIVEX_ERROR("IZunoPlayer::Create() returned null. ZunoPlayer instance creation failed.\n");
    return nullptr;
  }
  LUMIVEX_DEBUG("Create ZunoPlayer instance succeeded.");
  return player;
}

IPlaybackEventListener* CZunoPlayerAdapter::GetEventListener() {
  if (m_pEventListener == nullptr) {
    LUMIVEX_ERROR("m_pEventListener instance is NULL.");
  }
  return m_pEventListener;
}

int CZunoPlayerAdapter::StreamTypeConverter(MEDIA_TRACK_TYPE type) {
  constexpr int kStreamTypes[] = {3, 1, 5, 4};
  constexpr int kUnknownStreamType = 9;
  return type >= MEDIA_TRACK_TYPE_VIDEO && type <= MEDIA_TRACK_TYPE_SUBTITLE
             ? kStreamTypes[type - MEDIA_TRACK_TYPE_VIDEO]
             : kUnknownStreamType;
}

bool CZunoPlayerAdapter::HasPlayer(LogSite site) const {
  return m_pZunoPlayer != nullptr ||
         LUMIVEX_ERROR_AT(site, "ZunoPlayer instance is not created yet. Returns false.");
}

bool CZunoPlayerAdapter::SetDisplay(
    int windowId, unsigned int x, unsigned int y, unsigned int width, unsigned int height) {
  LUMIVEX_DEBUG("SetDisplay(%d), %d, %d, %d, %d, starts.", windowId, static_cast<int>(x),
                static_cast<int>(y), static_cast<int>(width), static_cast<int>(height));
  if (!HasPlayer()) {
    return false;
  }
  const Rectangle rectangle = {x, y, width, height};
  const bool result = m_pZunoPlayer->SetAttribute(
      0, kDisplayRectangle, &rectangle, static_cast<int>(sizeof rectangle), kDisplayHandle,
      &windowId, static_cast<int>(sizeof windowId), kEndOfAttributes);
  return Finish(result || LUMIVEX_ERROR("SetDisplay() returned false."));
}

bool CZunoPlayerAdapter::SetDataSource(const std::string& url, unsigned int timeOffset) {
  LUMIVEX_DEBUG("SetDataSource(%s, %u) starts.", url.c_str(), timeOffset);
  return HasPlayer() && Finish(m_pZunoPlayer->InitPlayer(url.c_str(), timeOffset) ||
                               LUMIVEX_ERROR("InitPlayer() returned false."));
}

bool CZunoPlayerAdapter::Start() {
  LUMIVEX_DEBUG("Start() starts.");
  return HasPlayer() && Finish(m_pZunoPlayer->Play(0) || LUMIVEX_ERROR("Play() returned false."));
}

bool CZunoPlayerAdapter::Stop() {
  LUMIVEX_DEBUG("Stop() starts.");
  return HasPlayer() && Finish(m_pZunoPlayer->Stop() || LUMIVEX_ERROR("Stop() returned false."));
}

bool CZunoPlayerAdapter::Pause() {
  LUMIVEX_DEBUG("Pause() starts.");
  return HasPlayer() && Finish(m_pZunoPlayer->Pause() || LUMIVEX_ERROR("Pause() returned false."));
}

bool CZunoPlayerAdapter::Resume() {
  LUMIVEX_DEBUG("Resume() starts.");
  return HasPlayer() &&
         Finish(m_pZunoPlayer->Resume() || LUMIVEX_ERROR("Resume() returned false."));
}

bool CZunoPlayerAdapter::SeekTo(int msec) {
  LUMIVEX_DEBUG("SeekTo(%d) starts.", msec);
  return HasPlayer() &&
         Finish(m_pZunoPlayer->Seek(msec) || LUMIVEX_ERROR("Seek() returned false."));
}

float CZunoPlayerAdapter::GetPlaybackSpeed() {
  LUMIVEX_DEBUG("GetPlaybackSpeed() starts.");
  return HasPlayer() ? m_playbackSpeed : 0.0F;
}

bool CZunoPlayerAdapter::SetPlaybackSpeed(float speed) {
  LUMIVEX_DEBUG("SetPlaybackSpeed(%f) starts.", static_cast<double>(speed));
  if (!HasPlayer()) {
    return false;
  }
  const bool result = m_pZunoPlayer->SetPlaySpeed(speed);
  if (result) {
    m_playbackSpeed = speed;
  }
  return Finish(result || LUMIVEX_ERROR("SetPlaySpeed returned false."));
}

bool CZunoPlayerAdapter::SetDisplayArea(unsigned int x,
                                        unsigned int y,
                                        unsigned int width,
                                        unsigned int height,
                                        VIDEO_SCALING_MODE mode) {
  LUMIVEX_DEBUG("SetDisplayArea(%u, %u, %u, %u, %u) starts.", x, y, width, height,
                static_cast<unsigned int>(mode));
  if (!HasPlayer()) {
    return false;
  }
  const Rectangle rectangle = {x, y, width, height};
  const bool result = m_pZunoPlayer->SetAttribute(
      0, kDisplayArea, &rectangle, static_cast<int>(sizeof rectangle), kEndOfAttributes);
  return Finish(result || LUMIVEX_ERROR("SetAttribute() returned false."));
}

int CZunoPlayerAdapter::GetCurrentPosition() {
  LUMIVEX_DEBUG("GetCurrentPosition() starts.");
  int value = 0;
  const bool result = HasPlayer() && (m_pZunoPlayer->GetCurrentPosition(&value) ||
                                      LUMIVEX_ERROR("GetCurrentPosition() returned false."));
  return FinishQuery(result, value);
}

int CZunoPlayerAdapter::GetDuration() {
  LUMIVEX_DEBUG("GetDuration() starts.");
  int value = 0;
  const bool result = HasPlayer() && (m_pZunoPlayer->GetDuration(&value) ||
                                      LUMIVEX_ERROR("GetDuration() returned false."));
  return FinishQuery(result, value);
}

bool CZunoPlayerAdapter::GetAvailableBitrates(std::vector<unsigned int>* pAvailableBitrates) {
  if (pAvailableBitrates == nullptr) {
    return LUMIVEX_ERROR("pAvailableBitrates is NULL.");
  }
  if (!HasPlayer()) {
    return false;
  }
  std::vector<unsigned int> bitrates;
  if (!m_pZunoPlayer->GetAvailableBitrates(&bitrates)) {
    return LUMIVEX_ERROR("GetAvailableBitrates() returned false.");
  }
  pAvailableBitrates->insert(pAvailableBitrates->end(), bitrates.begin(), bitrates.end());
  return true;
}

int CZunoPlayerAdapter::GetVideoWidth() {
  LUMIVEX_DEBUG("GetVideoWidth() starts.");
  int width = kNoValue;
  int height = kNoValue;
  const bool result = HasPlayer() && (m_pZunoPlayer->GetResolution(&width, &height) ||
                                      LUMIVEX_ERROR("GetResolution() returned false."));
  return FinishQuery(result, width);
}

int CZunoPlayerAdapter::GetVideoHeight() {
  LUMIVEX_DEBUG("GetVideoHeight() starts.");
  int width = kNoValue;
  int height = kNoValue;
  const bool result = HasPlayer() && (m_pZunoPlayer->GetResolution(&width, &height) ||
                                      LUMIVEX_ERROR("GetResolution() returned false."));
  return FinishQuery(result, height);
}

int CZunoPlayerAdapter::GetNumOfTracks(MEDIA_TRACK_TYPE type) {
  LUMIVEX_DEBUG("GetNumOfTracks(%d) starts.", type);
  int value = 0;
  const bool result =
      HasPlayer() && (m_pZunoPlayer->GetTotalNumOfStreamID(StreamTypeConverter(type), &value) ||
                      LUMIVEX_ERROR("GetTotalNumOfStreamID() returned false."));
  return FinishQuery(result, value);
}

int CZunoPlayerAdapter::GetSelectedTrack(MEDIA_TRACK_TYPE type) {
  LUMIVEX_DEBUG("GetSelectedTrack(%d) starts.", type);
  int value = 0;
  const bool result =
      HasPlayer() && (m_pZunoPlayer->GetCurrentStreamID(StreamTypeConverter(type), &value) ||
                      LUMIVEX_ERROR("GetCurrentStreamID() returned false."));
  return FinishQuery(result, value);
}

bool CZunoPlayerAdapter::SelectTrack(MEDIA_TRACK_TYPE type, int index) {
  LUMIVEX_DEBUG("SelectTrack(%d, %d) starts.", type, index);
  return HasPlayer() && Finish(m_pZunoPlayer->SetStreamID(StreamTypeConverter(type), index) ||
                               LUMIVEX_ERROR("SetStreamID() returned false."));
}

bool CZunoPlayerAdapter::GetTrackLanguageCode(MEDIA_TRACK_TYPE type,
                                              int index,
                                              std::string* languageCode) {
  LUMIVEX_DEBUG("GetTrackLanguageCode(%d, %d) starts.", type, index);
  if (!HasPlayer()) {
    return false;
  }
  std::string furtherText;
  const bool result = m_pZunoPlayer->GetStreamLanguageCode(StreamTypeConverter(type), index,
                                                           languageCode, &furtherText);
  return Finish(result || LUMIVEX_ERROR("GetStreamLanguageCode() returned false."));
}

bool CZunoPlayerAdapter::SetTimedTextSource(const std::string& filePath) {
  LUMIVEX_DEBUG("SetTimedTextSource(%s) starts.", filePath.c_str());
  return HasPlayer() && Finish(m_pZunoPlayer->StartSubtitle(filePath.c_str(), 0) ||
                               LUMIVEX_ERROR("StartSubtitle() returned false."));
}

bool CZunoPlayerAdapter::SetDRMProperty(DRM_PROPERTY_TYPE type, const std::string& propertyData) {
  LUMIVEX_DEBUG("SetDRMProperty(%d, %s) starts.", type, propertyData.c_str());
  if (!HasPlayer()) {
    return false;
  }
  if (type < DRM_PROPERTY_REQUEST_CHALLENGE_DATA || type > DRM_PROPERTY_WMDRM_COOKIE) {
    return LUMIVEX_ERROR("No matching property type. Returns false.");
  }
  const std::string name = kDrmProperties[type];
  if (m_pZunoPlayer->SetDrmInfo(name.c_str(), static_cast<int>(name.size()), propertyData.c_str(),
                                static_cast<int>(propertyData.size()), 0) != 0) {
    return LUMIVEX_ERROR("SetDrmInfo() returns fail.");
  }
  return Finish(true);
}

void CZunoPlayerAdapter::GetVersion(int*, int*) {
  LUMIVEX_DEBUG("GetVersion() starts.");
  if (!HasPlayer()) {
    return;
  }
  LUMIVEX_ERROR("Not maching function. ZunoPlayer doesn't support version.");
  LUMIVEX_DEBUG("finishes.");
}

int CZunoPlayerAdapter::OnMessage(int id, void* pParam, void* pUserData) {
  LUMIVEX_DEBUG("[OnMessage] id: [%d]", id);
  if (pUserData == nullptr) {
    LUMIVEX_ERROR("Parameter for adapter instance is NULL.");
    return kIgnored;
  }
  CZunoPlayerAdapter* const adapter = static_cast<CZunoPlayerAdapter*>(pUserData);
  IPlaybackEventListener* const listener = adapter->GetEventListener();
  if (listener == nullptr) {
    LUMIVEX_ERROR("GetEventListener() returned NULL.");
    return kIgnored;
  }
  const auto error = m_ZunoPlayerErrorEventMap.find(_MsgType(id));
  if (error != m_ZunoPlayerErrorEventMap.end()) {
    LUMIVEX_ERROR("Error event %d occured.", error->second);
    return listener->OnError(error->second, 0);
  }

  const ZunoMessageParam* const record = static_cast<const ZunoMessageParam*>(pParam);
  switch (id) {
    case kMessage32:
      return listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_32, 0, 0);
    case kMessage35:
      return listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_35, 0, 0);
    case kMessage96:
      return listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_96, 0, 0);
    case kMessage97:
      return listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_97, 0, 0);
    case kMessageBuffering:
      return adapter->OnBuffering(record);
    case kMessageTimedText:
      return record == nullptr || record->data == nullptr ? kIgnored
                                                          : listener->OnTimedText(record->data);
    case kMessage177:
      return record == nullptr
                 ? kIgnored
                 : listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_177, record->value, 0);
    case kMessageDrmData:
      return record == nullptr || record->value < 0 ||
                     (record->data == nullptr && record->value > 0)
                 ? kIgnored
                 : listener->OnDRMInfo(
                       IPlaybackEventListener::DRM_INFO_DATA,
                       std::string(record->data, static_cast<std::size_t>(record->value)));
    case kMessageResolution: {
      const int width = adapter->GetVideoWidth();
      const int height = adapter->GetVideoHeight();
      return listener->OnInfo(IPlaybackEventListener::INFO_VIDEO_RESOLUTION, width, height);
    }
    default:
      return kIgnored;
  }
}

int CZunoPlayerAdapter::OnBuffering(const ZunoMessageParam* record, LogSite site) {
  // The last reported percentage, one for all adapters of the process. It is atomic because each
  // adapter reports from its own threads.
  static std::atomic<std::uint32_t> prevPercent{0};

  if (!m_isBuffering) {
    m_isBuffering = true;
    return m_pEventListener->OnInfo(IPlaybackEventListener::INFO_BUFFERING_START, 0, 0);
  }
  if (record == nullptr) {
    return kIgnored;
  }
  const std::uint32_t percent = record->percent;
  if (percent == kBufferingComplete) {
    m_isBuffering = false;
    return m_pEventListener->OnInfo(IPlaybackEventListener::INFO_BUFFERING_COMPLETE, 0, 0);
  }
  const std::uint32_t previous = prevPercent.load(std::memory_order_relaxed);
  if (percent / 10 == previous / 10) {
    return kIgnored;
  }
  LUMIVEX_DEBUG_AT(site, "[INFO_BUFFERING_PROGRESS] Previous[%u] vs. Current[%u] Progress...",
                   previous, percent);
  prevPercent.store(percent, std::memory_order_relaxed);
  return m_pEventListener->OnInfo(IPlaybackEventListener::INFO_BUFFERING_PROGRESS,
                                  static_cast<int>(percent), 0);
}

void CZunoPlayerAdapter::OnCurrentPosition(unsigned long position, void* pUserData) {
  if (pUserData == nullptr) {
    LUMIVEX_ERROR("Parameter for adapter instance is NULL.");
    return;
  }
  IPlaybackEventListener* const listener =
      static_cast<CZunoPlayerAdapter*>(pUserData)->GetEventListener();
  if (listener == nullptr) {
    LUMIVEX_ERROR("GetEventListener() returned NULL.");
    return;
  }
  listener->OnInfo(IPlaybackEventListener::INFO_CURRENT_POSITION, static_cast<int>(position), 0);
}
