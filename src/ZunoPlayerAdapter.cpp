#include "ZunoPlayerAdapter.h"

#include <dlfcn.h>

#include <atomic>

#define LUMIVEX_DEBUG(...) __dlog_print(LOG_ID_MAIN, DLOG_DEBUG, kLogTag, __VA_ARGS__)
#define LUMIVEX_ERROR(...) __dlog_print(LOG_ID_MAIN, DLOG_ERROR, kLogTag, __VA_ARGS__)

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

void LogFinish(const LogSite& site) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE_AT(site, "finishes."));
}

void LogFailure(const LogSite& site, const char* format) {
  LUMIVEX_ERROR(format, site.file, site.function, site.line);
}

// How an operation ends that answers what the library answered.
bool Finish(const LogSite& site, bool result, const char* failureFormat) {
  if (!result) {
    LogFailure(site, failureFormat);
  }
  LogFinish(site);
  return result;
}

// How an operation ends that answers a number on success only.
int FinishQuery(const LogSite& site, bool result, int value, const char* failureFormat) {
  if (!result) {
    LogFailure(site, failureFormat);
    return kNoValue;
  }
  LogFinish(site);
  return value;
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
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("IPlaybackEventListener instance is NULL."));
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
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Constructor starts"));
  if (listener == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("IPlaybackEventListener instance is NULL."));
  }
  m_pZunoPlayer = GetPlayerInstance();
  if (m_pZunoPlayer == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("GetPlayerInstance() retunred NULL."));
    return;
  }
  m_pZunoPlayer->Unnamed3(1);
  m_pZunoPlayer->Unnamed24(0);
  m_pZunoPlayer->Unnamed23(1);
  if (!m_pZunoPlayer->SetMessageCallback(&OnMessage, this)) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("SetMessageCallback() returned false."));
  }
  if (!m_pZunoPlayer->SetCurrentPositionCallback(&OnCurrentPosition, this)) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("SetCurrentPositionCallback() returned false."));
  }
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Constructor finishes."));
}

CZunoPlayerAdapter::~CZunoPlayerAdapter() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Destructor starts."));
  if (m_pZunoPlayer != nullptr) {
    Stop();
    delete m_pZunoPlayer;
    m_pZunoPlayer = nullptr;
  }
  if (m_pPlayerLibHandle != nullptr) {
    if (dlclose(m_pPlayerLibHandle) == 0) {
      LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Unloading ZunoPlayer lib succeeded."));
      m_pPlayerLibHandle = nullptr;
    } else {
      LUMIVEX_ERROR(LUMIVEX_LOG_LINE("dlclose() failed."));
    }
  }
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Destructor finishes."));
}

IZunoPlayer* CZunoPlayerAdapter::GetPlayerInstance() {
  m_pPlayerLibHandle = dlopen(kPlayerLibPath, RTLD_LAZY);
  if (m_pPlayerLibHandle == nullptr) {
    if (const char* reason = dlerror()) {
      LUMIVEX_ERROR(LUMIVEX_LOG_LINE("Loading %s lib failed. (%s)\n"), kPlayerLibPath, reason);
    }
    return nullptr;
  }
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Loading %s lib successed.\n"), kPlayerLibPath);

  const auto create =
      reinterpret_cast<ZunoPlayerCreate>(dlsym(m_pPlayerLibHandle, kPlayerLibEntry));
  IZunoPlayer* const player = create == nullptr ? nullptr : create();
  if (player == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE(
        "IZunoPlayer::Create() returned null. ZunoPlayer instance creation failed.\n"));
    return nullptr;
  }
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Create ZunoPlayer instance succeeded."));
  return player;
}

IPlaybackEventListener* CZunoPlayerAdapter::GetEventListener() {
  if (m_pEventListener == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("m_pEventListener instance is NULL."));
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

bool CZunoPlayerAdapter::HasPlayer(const LogSite& site) const {
  if (m_pZunoPlayer == nullptr) {
    LUMIVEX_ERROR(
        LUMIVEX_LOG_LINE_AT(site, "ZunoPlayer instance is not created yet. Returns false."));
    return false;
  }
  return true;
}

bool CZunoPlayerAdapter::Control(bool (IZunoPlayer::*operation)(),
                                 const LogSite& site,
                                 const char* failureFormat) {
  return HasPlayer(site) && Finish(site, (m_pZunoPlayer->*operation)(), failureFormat);
}

int CZunoPlayerAdapter::Query(bool (IZunoPlayer::*operation)(int*),
                              const LogSite& site,
                              const char* failureFormat) {
  if (!HasPlayer(site)) {
    return kNoValue;
  }
  int value = 0;
  const bool result = (m_pZunoPlayer->*operation)(&value);
  return FinishQuery(site, result, value, failureFormat);
}

int CZunoPlayerAdapter::QueryStreams(bool (IZunoPlayer::*operation)(int, int*),
                                     MEDIA_TRACK_TYPE type,
                                     const LogSite& site,
                                     const char* failureFormat) {
  if (!HasPlayer(site)) {
    return kNoValue;
  }
  int value = 0;
  const bool result = (m_pZunoPlayer->*operation)(StreamTypeConverter(type), &value);
  return FinishQuery(site, result, value, failureFormat);
}

bool CZunoPlayerAdapter::SetDisplay(
    int windowId, unsigned int x, unsigned int y, unsigned int width, unsigned int height) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetDisplay(%d), %d, %d, %d, %d, starts."), windowId,
                static_cast<int>(x), static_cast<int>(y), static_cast<int>(width),
                static_cast<int>(height));
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  const Rectangle rectangle = {x, y, width, height};
  const bool result = m_pZunoPlayer->SetAttribute(
      0, kDisplayRectangle, &rectangle, static_cast<int>(sizeof rectangle), kDisplayHandle,
      &windowId, static_cast<int>(sizeof windowId), kEndOfAttributes);
  return Finish(LUMIVEX_LOG_SITE, result, LUMIVEX_LOG_FORMAT("SetDisplay() returned false."));
}

bool CZunoPlayerAdapter::SetDataSource(const std::string& url, unsigned int timeOffset) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetDataSource(%s, %u) starts."), url.c_str(), timeOffset);
  return HasPlayer(LUMIVEX_LOG_SITE) &&
         Finish(LUMIVEX_LOG_SITE, m_pZunoPlayer->InitPlayer(url.c_str(), timeOffset),
                LUMIVEX_LOG_FORMAT("InitPlayer() returned false."));
}

bool CZunoPlayerAdapter::Start() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Start() starts."));
  return HasPlayer(LUMIVEX_LOG_SITE) && Finish(LUMIVEX_LOG_SITE, m_pZunoPlayer->Play(0),
                                               LUMIVEX_LOG_FORMAT("Play() returned false."));
}

bool CZunoPlayerAdapter::Stop() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Stop() starts."));
  return Control(&IZunoPlayer::Stop, LUMIVEX_LOG_SITE,
                 LUMIVEX_LOG_FORMAT("Stop() returned false."));
}

bool CZunoPlayerAdapter::Pause() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Pause() starts."));
  return Control(&IZunoPlayer::Pause, LUMIVEX_LOG_SITE,
                 LUMIVEX_LOG_FORMAT("Pause() returned false."));
}

bool CZunoPlayerAdapter::Resume() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("Resume() starts."));
  return Control(&IZunoPlayer::Resume, LUMIVEX_LOG_SITE,
                 LUMIVEX_LOG_FORMAT("Resume() returned false."));
}

bool CZunoPlayerAdapter::SeekTo(int msec) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SeekTo(%d) starts."), msec);
  return HasPlayer(LUMIVEX_LOG_SITE) && Finish(LUMIVEX_LOG_SITE, m_pZunoPlayer->Seek(msec),
                                               LUMIVEX_LOG_FORMAT("Seek() returned false."));
}

float CZunoPlayerAdapter::GetPlaybackSpeed() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetPlaybackSpeed() starts."));
  return HasPlayer(LUMIVEX_LOG_SITE) ? m_playbackSpeed : 0.0F;
}

bool CZunoPlayerAdapter::SetPlaybackSpeed(float speed) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetPlaybackSpeed(%f) starts."), static_cast<double>(speed));
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  const bool result = m_pZunoPlayer->SetPlaySpeed(speed);
  if (result) {
    m_playbackSpeed = speed;
  }
  return Finish(LUMIVEX_LOG_SITE, result, LUMIVEX_LOG_FORMAT("SetPlaySpeed returned false."));
}

bool CZunoPlayerAdapter::SetDisplayArea(unsigned int x,
                                        unsigned int y,
                                        unsigned int width,
                                        unsigned int height,
                                        VIDEO_SCALING_MODE mode) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetDisplayArea(%u, %u, %u, %u, %u) starts."), x, y, width, height,
                static_cast<unsigned int>(mode));
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  const Rectangle rectangle = {x, y, width, height};
  const bool result = m_pZunoPlayer->SetAttribute(
      0, kDisplayArea, &rectangle, static_cast<int>(sizeof rectangle), kEndOfAttributes);
  return Finish(LUMIVEX_LOG_SITE, result, LUMIVEX_LOG_FORMAT("SetAttribute() returned false."));
}

int CZunoPlayerAdapter::GetCurrentPosition() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetCurrentPosition() starts."));
  return Query(&IZunoPlayer::GetCurrentPosition, LUMIVEX_LOG_SITE,
               LUMIVEX_LOG_FORMAT("GetCurrentPosition() returned false."));
}

int CZunoPlayerAdapter::GetDuration() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetDuration() starts."));
  return Query(&IZunoPlayer::GetDuration, LUMIVEX_LOG_SITE,
               LUMIVEX_LOG_FORMAT("GetDuration() returned false."));
}

bool CZunoPlayerAdapter::GetAvailableBitrates(std::vector<unsigned int>* pAvailableBitrates) {
  if (pAvailableBitrates == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("pAvailableBitrates is NULL."));
    return false;
  }
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  std::vector<unsigned int> bitrates;
  if (!m_pZunoPlayer->GetAvailableBitrates(&bitrates)) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("GetAvailableBitrates() returned false."));
    return false;
  }
  pAvailableBitrates->insert(pAvailableBitrates->end(), bitrates.begin(), bitrates.end());
  return true;
}

bool CZunoPlayerAdapter::QueryResolution(int* width, int* height, const LogSite& site) {
  if (!HasPlayer(site)) {
    return false;
  }
  if (!m_pZunoPlayer->GetResolution(width, height)) {
    LogFailure(site, LUMIVEX_LOG_FORMAT("GetResolution() returned false."));
    return false;
  }
  LogFinish(site);
  return true;
}

int CZunoPlayerAdapter::GetVideoWidth() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetVideoWidth() starts."));
  int width = kNoValue;
  int height = kNoValue;
  return QueryResolution(&width, &height, LUMIVEX_LOG_SITE) ? width : kNoValue;
}

int CZunoPlayerAdapter::GetVideoHeight() {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetVideoHeight() starts."));
  int width = kNoValue;
  int height = kNoValue;
  return QueryResolution(&width, &height, LUMIVEX_LOG_SITE) ? height : kNoValue;
}

int CZunoPlayerAdapter::GetNumOfTracks(MEDIA_TRACK_TYPE type) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetNumOfTracks(%d) starts."), type);
  return QueryStreams(&IZunoPlayer::GetTotalNumOfStreamID, type, LUMIVEX_LOG_SITE,
                      LUMIVEX_LOG_FORMAT("GetTotalNumOfStreamID() returned false."));
}

int CZunoPlayerAdapter::GetSelectedTrack(MEDIA_TRACK_TYPE type) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetSelectedTrack(%d) starts."), type);
  return QueryStreams(&IZunoPlayer::GetCurrentStreamID, type, LUMIVEX_LOG_SITE,
                      LUMIVEX_LOG_FORMAT("GetCurrentStreamID() returned false."));
}

bool CZunoPlayerAdapter::SelectTrack(MEDIA_TRACK_TYPE type, int index) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SelectTrack(%d, %d) starts."), type, index);
  return HasPlayer(LUMIVEX_LOG_SITE) &&
         Finish(LUMIVEX_LOG_SITE, m_pZunoPlayer->SetStreamID(StreamTypeConverter(type), index),
                LUMIVEX_LOG_FORMAT("SetStreamID() returned false."));
}

bool CZunoPlayerAdapter::GetTrackLanguageCode(MEDIA_TRACK_TYPE type,
                                              int index,
                                              std::string* languageCode) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetTrackLanguageCode(%d, %d) starts."), type, index);
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  std::string furtherText;
  const bool result = m_pZunoPlayer->GetStreamLanguageCode(StreamTypeConverter(type), index,
                                                           languageCode, &furtherText);
  return Finish(LUMIVEX_LOG_SITE, result,
                LUMIVEX_LOG_FORMAT("GetStreamLanguageCode() returned false."));
}

bool CZunoPlayerAdapter::SetTimedTextSource(const std::string& filePath) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetTimedTextSource(%s) starts."), filePath.c_str());
  return HasPlayer(LUMIVEX_LOG_SITE) &&
         Finish(LUMIVEX_LOG_SITE, m_pZunoPlayer->StartSubtitle(filePath.c_str(), 0),
                LUMIVEX_LOG_FORMAT("StartSubtitle() returned false."));
}

bool CZunoPlayerAdapter::SetDRMProperty(DRM_PROPERTY_TYPE type, const std::string& propertyData) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("SetDRMProperty(%d, %s) starts."), type, propertyData.c_str());
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return false;
  }
  if (type < DRM_PROPERTY_REQUEST_CHALLENGE_DATA || type > DRM_PROPERTY_WMDRM_COOKIE) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("No matching property type. Returns false."));
    return false;
  }
  const std::string name = kDrmProperties[type];
  if (m_pZunoPlayer->SetDrmInfo(name.c_str(), static_cast<int>(name.size()), propertyData.c_str(),
                                static_cast<int>(propertyData.size()), 0) != 0) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("SetDrmInfo() returns fail."));
    return false;
  }
  LogFinish(LUMIVEX_LOG_SITE);
  return true;
}

void CZunoPlayerAdapter::GetVersion(int*, int*) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("GetVersion() starts."));
  if (!HasPlayer(LUMIVEX_LOG_SITE)) {
    return;
  }
  LUMIVEX_ERROR(LUMIVEX_LOG_LINE("Not maching function. ZunoPlayer doesn't support version."));
  LogFinish(LUMIVEX_LOG_SITE);
}

int CZunoPlayerAdapter::OnMessage(int id, void* pParam, void* pUserData) {
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE("[OnMessage] id: [%d]"), id);
  if (pUserData == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("Parameter for adapter instance is NULL."));
    return kIgnored;
  }
  CZunoPlayerAdapter* const adapter = static_cast<CZunoPlayerAdapter*>(pUserData);
  IPlaybackEventListener* const listener = adapter->GetEventListener();
  if (listener == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("GetEventListener() returned NULL."));
    return kIgnored;
  }
  const auto error = m_ZunoPlayerErrorEventMap.find(_MsgType(id));
  if (error != m_ZunoPlayerErrorEventMap.end()) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("Error event %d occured."), error->second);
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
      return adapter->OnBuffering(record, LUMIVEX_LOG_SITE);
    case kMessageTimedText:
      return record == nullptr || record->data == nullptr ? kIgnored
                                                          : listener->OnTimedText(record->data);
    case kMessage177:
      return record == nullptr
                 ? kIgnored
                 : listener->OnInfo(IPlaybackEventListener::INFO_LIBRARY_177, record->value, 0);
    case kMessageDrmData:
      return record == nullptr || record->data == nullptr || record->value < 0
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

int CZunoPlayerAdapter::OnBuffering(const ZunoMessageParam* record, const LogSite& site) {
  // The last percentage that was reported: one for the process, whichever adapter reported it.
  // Adapters report from threads of their own, hence the atomic.
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
  LUMIVEX_DEBUG(LUMIVEX_LOG_LINE_AT(
                    site, "[INFO_BUFFERING_PROGRESS] Previous[%u] vs. Current[%u] Progress..."),
                previous, percent);
  prevPercent.store(percent, std::memory_order_relaxed);
  return m_pEventListener->OnInfo(IPlaybackEventListener::INFO_BUFFERING_PROGRESS,
                                  static_cast<int>(percent), 0);
}

void CZunoPlayerAdapter::OnCurrentPosition(unsigned long position, void* pUserData) {
  if (pUserData == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("Parameter for adapter instance is NULL."));
    return;
  }
  IPlaybackEventListener* const listener =
      static_cast<CZunoPlayerAdapter*>(pUserData)->GetEventListener();
  if (listener == nullptr) {
    LUMIVEX_ERROR(LUMIVEX_LOG_LINE("GetEventListener() returned NULL."));
    return;
  }
  listener->OnInfo(IPlaybackEventListener::INFO_CURRENT_POSITION, static_cast<int>(position), 0);
}
