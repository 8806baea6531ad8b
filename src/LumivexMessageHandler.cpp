#include "LumivexMessageHandler.h"

#include <unistd.h>

#include <initializer_list>
#include <new>
#include <utility>
#include <vector>

#include "ExtensionSystemQuorvel.h"
#include "LumivexEventListener.h"
#include "ZunoPlayerAdapter.h"
#include "ZunoPlayerEventListener.h"

// An error result. The first three codes are the legacy DOMException codes of these names.
struct RequestRefusal {
  int32_t code;
  const char* name;
  const char* message;
};

namespace {

constexpr RequestRefusal NotSupported(const char* message) {
  return {9, "NotSupportedError", message};
}

constexpr RequestRefusal InvalidState(const char* message) {
  return {11, "InvalidStateError", message};
}

constexpr RequestRefusal Security(const char* message) {
  return {18, "SecurityError", message};
}

constexpr RequestRefusal InvalidValues(const char* message) {
  return {26, "InvalidValuesError", message};
}

constexpr RequestRefusal kNotDictionary = InvalidValues("Incoming message is not dictionary");
constexpr RequestRefusal kNotDictionaryPosted = InvalidValues("Incoming message is invalid");
constexpr RequestRefusal kNoModuleName = InvalidValues("Parameter moduleName is invalid");
constexpr RequestRefusal kNoCommand = InvalidValues("Parameter command is invalid");
constexpr RequestRefusal kNoPlayerPrivilege =
    Security("You do not have the lumivexplayer privilege");
constexpr RequestRefusal kNoRFManagerPrivilege =
    Security("You do not have the lumivexrfmanager privilege");
constexpr RequestRefusal kUnknownCommand = NotSupported("Command not recognized");
constexpr RequestRefusal kPosted = NotSupported("Parameters is invalid");
constexpr RequestRefusal kNoUrl = InvalidValues("Parameters are invalid");
constexpr RequestRefusal kInvalidParameter = InvalidValues("Parameter is invalid");
constexpr RequestRefusal kNoTuner = InvalidState("");

constexpr char kVersion[] = LUMIVEX_VERSION;  // of both modules

constexpr char kPlayerModule[] = "lumivexplayer";
constexpr char kRFManagerModule[] = "lumivexrfmanager";

constexpr char kPlayerPrivilege[] = "http://" LUMIVEX_DEVELOPER_HOST "/privilege/lumivexplayer";
constexpr char kRFManagerPrivilege[] =
    "http://" LUMIVEX_DEVELOPER_HOST "/privilege/lumivexrfmanager";

constexpr int kApplicationIdSize = 255;

// The rectangle in which the player shows its picture until the page asks for another.
constexpr unsigned int kInitialWidth = 1920;
constexpr unsigned int kInitialHeight = 1080;

// Answers of commands that the player or the tuner refused.
constexpr int32_t kNoValue = -1;
constexpr char kNoText[] = "FAILED";

// The values of "trackType" that the tuner's commands take.
constexpr int32_t kAudioTrack = 2;
constexpr int32_t kSubtitleTrack = 4;

// Tests the keys in their order; the first missing one ends the test.
bool HasKeys(const pp::VarDictionary& request, std::initializer_list<const char*> keys) {
  for (const char* key : keys) {
    if (!request.HasKey(key)) {
      return false;
    }
  }
  return true;
}

// Asks the browser once. False when the key is missing or holds something else.
bool GetString(const pp::VarDictionary& request, const char* key, std::string* text) {
  const pp::Var value = request.Get(key);
  if (!value.is_string()) {
    return false;
  }
  *text = value.AsString();
  return true;
}

int32_t Int(const pp::VarDictionary& request, const char* key) {
  return request.Get(key).AsInt();
}

unsigned int Unsigned(const pp::VarDictionary& request, const char* key) {
  return static_cast<unsigned int>(Int(request, key));
}

std::string String(const pp::VarDictionary& request, const char* key) {
  return request.Get(key).AsString();
}

ILumivexPlayer::MEDIA_TRACK_TYPE TrackType(const pp::VarDictionary& request) {
  return static_cast<ILumivexPlayer::MEDIA_TRACK_TYPE>(Int(request, "trackType"));
}

// Toward zero. A value that rounding lifted beyond 32 bits becomes the largest one, as in the
// device's own conversion.
unsigned int Truncate(float value) {
  constexpr float kBeyond = 4294967296.0F;
  return value < kBeyond ? static_cast<unsigned int>(value) : 0xFFFFFFFFU;
}

struct Area {
  unsigned int x, y, width, height;
};

// The largest area of the video's shape in the middle of the given one. Single precision and
// unsigned arithmetic throughout: the page counts on the very pixels.
Area FitToVideo(Area area, int videoWidth, int videoHeight) {
  const float videoRatio = static_cast<float>(videoWidth) / static_cast<float>(videoHeight);
  const float areaRatio = static_cast<float>(area.width) / static_cast<float>(area.height);
  if (videoRatio > areaRatio) {
    const unsigned int height = Truncate(static_cast<float>(area.width) / videoRatio);
    area.y += (area.height - height) >> 1;
    area.height = height;
  } else {
    const unsigned int width = Truncate(videoRatio * static_cast<float>(area.height));
    area.x += (area.width - width) >> 1;
    area.width = width;
  }
  return area;
}

}  // namespace

const std::map<const std::string, CLumivexMessageHandler::Command>
    CLumivexMessageHandler::m_messageMap = {
        {"HasPlayerPrivilege", &CLumivexMessageHandler::HasPlayerPrivilege},
        {"SetDataSource", &CLumivexMessageHandler::SetDataSource},
        {"Start", &CLumivexMessageHandler::Start},
        {"Stop", &CLumivexMessageHandler::Stop},
        {"Pause", &CLumivexMessageHandler::Pause},
        {"Resume", &CLumivexMessageHandler::Resume},
        {"SeekTo", &CLumivexMessageHandler::SeekTo},
        {"SetPlaybackSpeed", &CLumivexMessageHandler::SetPlaybackSpeed},
        {"GetPlaybackSpeed", &CLumivexMessageHandler::GetPlaybackSpeed},
        {"SetDisplayArea", &CLumivexMessageHandler::SetDisplayArea},
        {"GetCurrentPosition", &CLumivexMessageHandler::GetCurrentPosition},
        {"GetDuration", &CLumivexMessageHandler::GetDuration},
        {"GetVideoWidth", &CLumivexMessageHandler::GetVideoWidth},
        {"GetVideoHeight", &CLumivexMessageHandler::GetVideoHeight},
        {"GetNumOfTracks", &CLumivexMessageHandler::GetNumOfTracks},
        {"GetSelectedTrack", &CLumivexMessageHandler::GetSelectedTrack},
        {"SelectTrack", &CLumivexMessageHandler::SelectTrack},
        {"GetTrackLanguageCode", &CLumivexMessageHandler::GetTrackLanguageCode},
        {"SetTimedTextSource", &CLumivexMessageHandler::SetTimedTextSource},
        {"SetDRMProperty", &CLumivexMessageHandler::SetDRMProperty},
        {"GetAvailableBitrates", &CLumivexMessageHandler::GetAvailableBitrates},
        {"GetPlayerVersion", &CLumivexMessageHandler::GetPlayerVersion},
        {"HasRFManagerPrivilege", &CLumivexMessageHandler::HasRFManagerPrivilege},
        {"GetRFManagerVersion", &CLumivexMessageHandler::GetRFManagerVersion},
        {"SetChannelType", &CLumivexMessageHandler::SetChannelType},
        {"TuneRFChannel", &CLumivexMessageHandler::TuneRFChannel},
        {"GetNumOfRFTracks", &CLumivexMessageHandler::GetNumOfRFTracks},
        {"GetSelectedRFTrack", &CLumivexMessageHandler::GetSelectedRFTrack},
        {"SelectRFTrack", &CLumivexMessageHandler::SelectRFTrack},
        {"GetRFSubtitleMode", &CLumivexMessageHandler::GetRFSubtitleMode},
        {"SetRFSubtitleMode", &CLumivexMessageHandler::SetRFSubtitleMode},
        {"GetRFSubtitleStatus", &CLumivexMessageHandler::GetRFSubtitleStatus},
        {"SetRFSubtitleStatus", &CLumivexMessageHandler::SetRFSubtitleStatus},
        {"GetRFTrackLanguageCode", &CLumivexMessageHandler::GetRFTrackLanguageCode},
};

pp::Module* pp::CreateModule() {
  return new (std::nothrow) CLumivexPluginModule();
}

// Life.

CLumivexMessageHandler::CLumivexMessageHandler(pp::Instance* instance)
    : m_pInstance(instance),
      m_pRFManager(nullptr),
      m_pRFEventListener(nullptr),
      m_pLumivexPlayer(nullptr),
      m_pLumivexPlayerEventListener(nullptr),
      m_hasLumivexPlayerPrivilege(false),
      m_hasLumivexRFMangerPrivilege(false),
      m_windowId(-1) {
  pp::ExtensionSystemQuorvelWRT extensionSystem{pp::InstanceHandle(instance)};
  m_hasLumivexPlayerPrivilege = extensionSystem.CheckPrivilege(kPlayerPrivilege);
  m_hasLumivexRFMangerPrivilege = extensionSystem.CheckPrivilege(kRFManagerPrivilege);
  LUMIVEX_DEBUG("m_hasLumivexPlayerPrivilege : %d / m_hasLumivexRFMangerPrivilege : %d",
                m_hasLumivexPlayerPrivilege, m_hasLumivexRFMangerPrivilege);
  LUMIVEX_DEBUG("LumivexPlayer Version : %s / LumivexRFManager Version: %s", kVersion, kVersion);
  m_windowId = extensionSystem.GetWindowId();
  LUMIVEX_DEBUG("App window Resource ID -> %d", m_windowId);

  LUMIVEX_DEBUG("Create m_pLumivexPlayerEventListener");
  m_pLumivexPlayerEventListener = new CZunoPlayerEventListener(this);
  m_pLumivexPlayer = new CZunoPlayerAdapter(m_pLumivexPlayerEventListener);
  if (!m_pLumivexPlayer->SetDisplay(m_windowId, 0, 0, kInitialWidth, kInitialHeight)) {
    LUMIVEX_ERROR("SetDisplay() returned false.");
  }
  LUMIVEX_DEBUG("End of constructor");
}

CLumivexMessageHandler::~CLumivexMessageHandler() {
  LUMIVEX_DEBUG("Lumivex Pepper destructor starts.");
  if (m_pRFManager != nullptr) {
    // The tuner calls the listener until it is released.
    CRFManager::ReleaseInstance();
    delete m_pRFEventListener;
  }
  delete m_pLumivexPlayer;
  delete m_pLumivexPlayerEventListener;
  LUMIVEX_DEBUG("Lumivex Pepper destructor end .");
}

void CLumivexMessageHandler::Register() {
  m_pInstance->RegisterMessageHandler(this, pp::MessageLoop::GetCurrent());
}

// Requests and replies.

const RequestRefusal* CLumivexMessageHandler::CheckRequest(const pp::VarDictionary& request,
                                                           std::string* moduleName,
                                                           std::string* command,
                                                           LogSite site) const {
  if (!GetString(request, "moduleName", moduleName)) {
    return &kNoModuleName;
  }
  LUMIVEX_DEBUG_AT(site, "=================> moduleName: %s", moduleName->c_str());
  // The module name selects the privilege to test and nothing else: a name that is neither of the
  // two passes no gate.
  if (*moduleName == kPlayerModule && !m_hasLumivexPlayerPrivilege) {
    return &kNoPlayerPrivilege;
  }
  if (*moduleName == kRFManagerModule && !m_hasLumivexRFMangerPrivilege) {
    return &kNoRFManagerPrivilege;
  }
  return GetString(request, "command", command) ? nullptr : &kNoCommand;
}

pp::Var CLumivexMessageHandler::HandleBlockingMessageImpl(pp::InstanceHandle,
                                                          const pp::Var& message) {
  if (!message.is_dictionary()) {
    return Refuse(kNotDictionary);
  }
  const pp::VarDictionary request(message);
  std::string moduleName;
  std::string command;
  if (const RequestRefusal* refusal = CheckRequest(request, &moduleName, &command)) {
    return Refuse(*refusal);
  }
  LUMIVEX_DEBUG("=================> command: %s", command.c_str());
  const auto found = m_messageMap.find(command);
  if (found == m_messageMap.end()) {
    LUMIVEX_ERROR("Can not handle the command!! ");
    return Refuse(kUnknownCommand);
  }
  return (this->*found->second)(request);
}

void CLumivexMessageHandler::HandleMessageImpl(pp::InstanceHandle instance,
                                               const pp::Var& message) {
  const pp::Instance page(instance.pp_instance());
  std::string moduleName;
  std::string command;
  const RequestRefusal* refusal =
      message.is_dictionary() ? CheckRequest(pp::VarDictionary(message), &moduleName, &command)
                              : &kNotDictionaryPosted;
  std::string name;
  if (refusal == nullptr) {
    refusal = &kPosted;
    name = command;
  } else if (refusal == &kNoPlayerPrivilege) {
    LUMIVEX_ERROR("[LumivexMessageHandler] m_hasLumivexPlayerPrivilege fail");
    name = moduleName;
  } else if (refusal == &kNoRFManagerPrivilege) {
    name = moduleName;
  }
  responseData(page, name, refusal->code, pp::Var(pp::Var::Null()), refusal->name,
               refusal->message);
}

pp::Var CLumivexMessageHandler::Success(pp::Var value) {
  return createMessage(0, std::move(value), std::string(), std::string());
}

pp::Var CLumivexMessageHandler::Refuse(const RequestRefusal& refusal) {
  return createMessage(refusal.code, pp::Var(pp::Var::Null()), refusal.name, refusal.message);
}

pp::Var CLumivexMessageHandler::HasPlayerPrivilege(const pp::VarDictionary&) {
  return Success(m_hasLumivexPlayerPrivilege);
}

pp::Var CLumivexMessageHandler::HasRFManagerPrivilege(const pp::VarDictionary&) {
  return Success(m_hasLumivexRFMangerPrivilege);
}

// Playback. A refusal by the player is not an error result: it is a value of the reply.

pp::Var CLumivexMessageHandler::SetDataSource(const pp::VarDictionary& request) {
  std::string url;
  if (!GetString(request, "url", &url)) {
    return Refuse(kNoUrl);
  }
  if (url.empty()) {
    return Refuse(kInvalidParameter);
  }
  const unsigned int timeOffset =
      request.HasKey("timeOffset") ? Unsigned(request, "timeOffset") : 0;
  LUMIVEX_DEBUG("[SetDataSource] url: %s, timeOffset: %u", url.c_str(), timeOffset);
  return Success(m_pLumivexPlayer->SetDataSource(url, timeOffset) ||
                 LUMIVEX_ERROR("[SetDataSource] SetDataSource(%s, %u) returned false.", url.c_str(),
                               timeOffset));
}

pp::Var CLumivexMessageHandler::Start(const pp::VarDictionary&) {
  return Success(m_pLumivexPlayer->Start() || LUMIVEX_ERROR("Start() returned false."));
}

pp::Var CLumivexMessageHandler::Stop(const pp::VarDictionary&) {
  return Success(m_pLumivexPlayer->Stop() || LUMIVEX_ERROR("Stop() returned false."));
}

pp::Var CLumivexMessageHandler::Pause(const pp::VarDictionary&) {
  return Success(m_pLumivexPlayer->Pause() || LUMIVEX_ERROR("Pause() returned false."));
}

pp::Var CLumivexMessageHandler::Resume(const pp::VarDictionary&) {
  return Success(m_pLumivexPlayer->Resume() || LUMIVEX_ERROR("Resume() returned false."));
}

pp::Var CLumivexMessageHandler::SeekTo(const pp::VarDictionary& request) {
  if (!request.HasKey("msec")) {
    return Refuse(kInvalidParameter);
  }
  const int msec = Int(request, "msec");
  LUMIVEX_DEBUG("msec: %d", msec);
  return Success(m_pLumivexPlayer->SeekTo(msec) ||
                 LUMIVEX_ERROR("SeekTo(%d) returned false.", msec));
}

pp::Var CLumivexMessageHandler::SetPlaybackSpeed(const pp::VarDictionary& request) {
  if (!request.HasKey("speed")) {
    return Refuse(kInvalidParameter);
  }
  const float speed = static_cast<float>(request.Get("speed").AsDouble());
  LUMIVEX_DEBUG("[SetPlaybackSpeed] SetPlaybackSpeed: %f", static_cast<double>(speed));
  return Success(m_pLumivexPlayer->SetPlaybackSpeed(speed) ||
                 LUMIVEX_ERROR("SetPlaybackSpeed(%f) returned false.", static_cast<double>(speed)));
}

pp::Var CLumivexMessageHandler::GetPlaybackSpeed(const pp::VarDictionary&) {
  const double speed = m_pLumivexPlayer->GetPlaybackSpeed();
  LUMIVEX_DEBUG("[GetPlaybackSpeed] %f", speed);
  return Success(speed);
}

pp::Var CLumivexMessageHandler::GetCurrentPosition(const pp::VarDictionary&) {
  const int value = m_pLumivexPlayer->GetCurrentPosition();
  LUMIVEX_DEBUG("GetCurrentPosition returned %d.", value);
  return Success(value);
}

pp::Var CLumivexMessageHandler::GetDuration(const pp::VarDictionary&) {
  const int value = m_pLumivexPlayer->GetDuration();
  LUMIVEX_DEBUG("GetDuration() returned %d.", value);
  return Success(value);
}

pp::Var CLumivexMessageHandler::GetVideoWidth(const pp::VarDictionary&) {
  const int value = m_pLumivexPlayer->GetVideoWidth();
  LUMIVEX_DEBUG("GetVideoWidth() returned %d.", value);
  return Success(value);
}

pp::Var CLumivexMessageHandler::GetVideoHeight(const pp::VarDictionary&) {
  const int value = m_pLumivexPlayer->GetVideoHeight();
  LUMIVEX_DEBUG("GetVideoHeight() returned %d.", value);
  return Success(value);
}

pp::Var CLumivexMessageHandler::GetPlayerVersion(const pp::VarDictionary&) {
  return Success(kVersion);
}

// Display, tracks, timed text, DRM and bitrates.

pp::Var CLumivexMessageHandler::SetDisplayArea(const pp::VarDictionary& request) {
  if (!HasKeys(request, {"x", "y", "width", "height"})) {
    return Refuse(kInvalidParameter);
  }
  Area area = {Unsigned(request, "x"), Unsigned(request, "y"), Unsigned(request, "width"),
               Unsigned(request, "height")};
  LUMIVEX_DEBUG("[SetDisplayArea] SetDisplayArea(%u, %u, %u, %u) starts", area.x, area.y,
                area.width, area.height);
  if (request.HasKey("scalingMode") &&
      Int(request, "scalingMode") == ILumivexPlayer::VIDEO_SCALING_MODE_KEEP_ASPECT_RATIO) {
    const int videoWidth = m_pLumivexPlayer->GetVideoWidth();
    const int videoHeight = m_pLumivexPlayer->GetVideoHeight();
    if (videoWidth <= 0 || videoHeight <= 0) {
      return Success(false);
    }
    area = FitToVideo(area, videoWidth, videoHeight);
    LUMIVEX_DEBUG("[SetDisplayArea] After adjusting for ScalingMode - (%u, %u, %u, %u).", area.x,
                  area.y, area.width, area.height);
  }
  // The fitting is done here: the player is always asked to fill the area.
  return Success(m_pLumivexPlayer->SetDisplayArea(area.x, area.y, area.width, area.height,
                                                  ILumivexPlayer::VIDEO_SCALING_MODE_FILL) ||
                 LUMIVEX_ERROR("SetDisplayArea() returned false."));
}

pp::Var CLumivexMessageHandler::GetNumOfTracks(const pp::VarDictionary& request) {
  if (!request.HasKey("trackType")) {
    return Refuse(kInvalidParameter);
  }
  return Success(m_pLumivexPlayer->GetNumOfTracks(TrackType(request)));
}

pp::Var CLumivexMessageHandler::GetSelectedTrack(const pp::VarDictionary& request) {
  if (!request.HasKey("trackType")) {
    return Refuse(kInvalidParameter);
  }
  const ILumivexPlayer::MEDIA_TRACK_TYPE trackType = TrackType(request);
  const int index = m_pLumivexPlayer->GetSelectedTrack(trackType);
  LUMIVEX_DEBUG("GetSelectedTrack(%d) returned %d.", trackType, index);
  return Success(index);
}

pp::Var CLumivexMessageHandler::SelectTrack(const pp::VarDictionary& request) {
  if (!HasKeys(request, {"trackType", "index"})) {
    return Refuse(kInvalidParameter);
  }
  const ILumivexPlayer::MEDIA_TRACK_TYPE trackType = TrackType(request);
  const int index = Int(request, "index");
  LUMIVEX_DEBUG("SelectTrack(%d, %d)", trackType, index);
  return Success(m_pLumivexPlayer->SelectTrack(trackType, index) ||
                 LUMIVEX_ERROR("SelectTrack(%d, %d) returned false.", trackType, index));
}

pp::Var CLumivexMessageHandler::GetTrackLanguageCode(const pp::VarDictionary& request) {
  if (!HasKeys(request, {"trackType", "index"})) {
    return Refuse(kInvalidParameter);
  }
  const ILumivexPlayer::MEDIA_TRACK_TYPE trackType = TrackType(request);
  const int index = Int(request, "index");
  LUMIVEX_DEBUG("[GetTrackLanguageCode] trackType: %d, index: %d", trackType, index);
  std::string language;
  if (!m_pLumivexPlayer->GetTrackLanguageCode(trackType, index, &language)) {
    LUMIVEX_ERROR("GetTrackLanguageCode(%d, %d) returned false.", trackType, index);
    return Success(kNoText);
  }
  LUMIVEX_DEBUG("[GetTrackLanguageCode][Success] language: %s, string length: %d", language.c_str(),
                static_cast<int>(language.size()));
  return Success(language.c_str());
}

pp::Var CLumivexMessageHandler::SetTimedTextSource(const pp::VarDictionary& request) {
  std::string filePath;
  if (!GetString(request, "URI", &filePath)) {
    return Refuse(kInvalidParameter);
  }
  LUMIVEX_DEBUG("[SetTimedTextSource] filePath: [%s]", filePath.c_str());
  return Success(m_pLumivexPlayer->SetTimedTextSource(filePath) ||
                 LUMIVEX_ERROR("SetTimedTextSource(%s) returned false.", filePath.c_str()));
}

pp::Var CLumivexMessageHandler::SetDRMProperty(const pp::VarDictionary& request) {
  if (!HasKeys(request, {"type", "propertyData"})) {
    return Refuse(kInvalidParameter);
  }
  const auto type = static_cast<ILumivexPlayer::DRM_PROPERTY_TYPE>(Int(request, "type"));
  const std::string propertyData = String(request, "propertyData");
  return Success(
      m_pLumivexPlayer->SetDRMProperty(type, propertyData) ||
      LUMIVEX_ERROR("SetDRMProperty(%d, %s) returned false.", type, propertyData.c_str()));
}

pp::Var CLumivexMessageHandler::GetAvailableBitrates(const pp::VarDictionary&) {
  std::string text;
  std::vector<unsigned int> bitrates;
  if (!m_pLumivexPlayer->GetAvailableBitrates(&bitrates)) {
    LUMIVEX_ERROR("GetAvailableBitrates() returned false.");
    return Success(text);
  }
  for (std::size_t i = 0; i < bitrates.size(); ++i) {
    LUMIVEX_DEBUG("The bitrates[%d] is %lu", static_cast<int>(i),
                  static_cast<unsigned long>(bitrates[i]));
    text += (i == 0 ? "" : ",") + std::to_string(bitrates[i]);
  }
  return Success(text);
}

// The tuner.

bool CLumivexMessageHandler::InitRFManager() {
  if (m_pRFManager != nullptr) {
    LUMIVEX_DEBUG("RFManager is already initialized.");
    return true;
  }
  char applicationId[kApplicationIdSize] = {};
  CAppUtil::GetKelvoAppIDByPID(getppid(), applicationId, kApplicationIdSize);
  m_pRFManager = CRFManager::GetInstance(applicationId, false, nullptr);
  if (m_pRFManager == nullptr) {
    return LUMIVEX_ERROR("Getting RFManager instance failed.");
  }
  m_pRFEventListener = new CLumivexEventListener(this);
  m_pRFManager->RegisterRFEventHandler(m_pRFEventListener);
  m_pRFManager->SetSubtitleWindowSubsurface(static_cast<unsigned int>(m_windowId));
  m_pRFManager->ShowSubtitleWindow();
  LUMIVEX_DEBUG("RFManager is initialized");
  return true;
}

pp::Var CLumivexMessageHandler::GetRFManagerVersion(const pp::VarDictionary&) {
  return Success(kVersion);
}

pp::Var CLumivexMessageHandler::SetChannelType(const pp::VarDictionary& request) {
  if (!InitRFManager()) {
    return Refuse(kNoTuner);
  }
  if (!request.HasKey("channelType")) {
    return Refuse(kInvalidParameter);
  }
  const int channelType = Int(request, "channelType");
  LUMIVEX_DEBUG("[SetChannelType] channelType : %d", channelType);
  m_pRFManager->SetChType(static_cast<CRFManager::LUMIVEX_CHANNEL_TYPE>(channelType));
  return Success(true);
}

pp::Var CLumivexMessageHandler::TuneRFChannel(const pp::VarDictionary& request) {
  if (!InitRFManager()) {
    return Refuse(kNoTuner);
  }
  // "ptc" is required but not used.
  if (!HasKeys(request, {"ptc", "major", "minor", "programNum", "transportStreamID"})) {
    return Refuse(kInvalidParameter);
  }
  const int major = Int(request, "major");
  const int minor = Int(request, "minor");
  const int programNum = Int(request, "programNum");
  const int transportStreamId = Int(request, "transportStreamID");
  LUMIVEX_DEBUG("[TuneRFChannel] major: %d, minor: %d, progNum: %d, tsid: %d", major, minor,
                programNum, transportStreamId);
  return Success(m_pRFManager->TuneRFChannel(major, minor, programNum, transportStreamId) ||
                 LUMIVEX_ERROR("TuneRFChannel(%d, %d, %d, %d) returned false.", major, minor,
                               programNum, transportStreamId));
}

// Tracks and subtitles of the tuned service. These commands never obtain the tuner instance, and
// they test it before they look at the request.

pp::Var CLumivexMessageHandler::GetNumOfRFTracks(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!request.HasKey("trackType")) {
    return Refuse(kInvalidParameter);
  }
  unsigned int totalNumber = 0;
  switch (Int(request, "trackType")) {
    case kAudioTrack:
      LUMIVEX_DEBUG("[GetNumOfRFTracks][Audio] GetNumOfMultiAudio()");
      if (!m_pRFManager->GetNumOfMultiAudio(&totalNumber)) {
        LUMIVEX_ERROR("GetNumOfMultiAudio() returned false.");
        return Success(kNoValue);
      }
      break;
    case kSubtitleTrack:
      LUMIVEX_DEBUG("[GetNumOfRFTracks][Subtitle] GetNumOfSubtitle()");
      if (!m_pRFManager->GetNumOfSubtitle(&totalNumber)) {
        LUMIVEX_ERROR("GetNumOfSubtitle() returned false.");
        return Success(kNoValue);
      }
      break;
    default:
      LUMIVEX_ERROR("Wrong media type.");
      return Refuse(kInvalidParameter);
  }
  LUMIVEX_DEBUG("[GetNumOfRFTracks] totalNumber: %u", totalNumber);
  return Success(static_cast<int32_t>(totalNumber));
}

pp::Var CLumivexMessageHandler::GetSelectedRFTrack(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!request.HasKey("trackType")) {
    return Refuse(kInvalidParameter);
  }
  const int trackType = Int(request, "trackType");
  LUMIVEX_DEBUG("[GetSelectedRFTrack] trackType: %d ", trackType);
  int index = -1;
  switch (trackType) {
    case kAudioTrack:
      LUMIVEX_DEBUG("[GetSelectedRFTrack] GetCurrentAudioInfo()");
      if (!m_pRFManager->GetCurrentAudioIndex(&index)) {
        LUMIVEX_ERROR("GetCurrentAudioIndex() returned false.");
        return Success(kNoValue);
      }
      break;
    case kSubtitleTrack:
      LUMIVEX_DEBUG("[GetSelectedRFTrack]");
      if (!m_pRFManager->GetCurrentSubtitleIndex(&index)) {
        LUMIVEX_ERROR("GetCurrentSubtitleIndex() returned false.");
        return Success(kNoValue);
      }
      break;
    default:
      LUMIVEX_ERROR("Wrong media track type.");
      return Refuse(kInvalidParameter);
  }
  LUMIVEX_DEBUG("[GetSelectedRFTrack] index: %d", index);
  return Success(index);
}

pp::Var CLumivexMessageHandler::SelectRFTrack(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!HasKeys(request, {"trackType", "index"})) {
    return Refuse(kInvalidParameter);
  }
  const int trackType = Int(request, "trackType");
  const int index = Int(request, "index");
  LUMIVEX_DEBUG("[SelectRFTrack] trackType: %d, index: %d", trackType, index);
  switch (trackType) {
    case kAudioTrack:
      LUMIVEX_DEBUG("[SelectRFTrack] ChangeAudioByIndex()");
      return Success(m_pRFManager->ChangeAudioByIndex(static_cast<unsigned int>(index)));
    case kSubtitleTrack:
      LUMIVEX_DEBUG("[SelectRFTrack] ChangeSubtitleByIndex()");
      return Success(m_pRFManager->ChangeSubtitleByIndex(index));
    default:
      LUMIVEX_ERROR("Wrong media track type.");
      return Refuse(kInvalidParameter);
  }
}

pp::Var CLumivexMessageHandler::GetRFTrackLanguageCode(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!HasKeys(request, {"trackType", "index"})) {
    return Refuse(kInvalidParameter);
  }
  const int trackType = Int(request, "trackType");
  const int index = Int(request, "index");
  LUMIVEX_DEBUG("[GetRFTrackLanguageCode] trackType: %d, index: %d", trackType, index);
  std::string languageCode;
  switch (trackType) {
    case kAudioTrack:
      LUMIVEX_DEBUG("[GetRFTrackLanguageCode] GetMultiAudioLanguageByIndex()");
      if (!m_pRFManager->GetMultiAudioLanguageByIndex(static_cast<unsigned int>(index),
                                                      &languageCode)) {
        LUMIVEX_ERROR("GetMultiAudioLanguageByIndex() retunred false.");
        return Success(kNoText);
      }
      break;
    case kSubtitleTrack:
      LUMIVEX_DEBUG("[GetRFTrackLanguageCode] GetSubtitleLanguageByIndex()");
      if (!m_pRFManager->GetSubtitleLanguageByIndex(static_cast<unsigned int>(index),
                                                    &languageCode)) {
        LUMIVEX_ERROR("GetSubtitleLanguageByIndex() retunred false.");
        return Success(kNoText);
      }
      break;
    default:
      LUMIVEX_ERROR("Wrong media track type.");
      return Refuse(kInvalidParameter);
  }
  LUMIVEX_DEBUG("[GetRFTrackLanguageCode] languageCode : %s", languageCode.c_str());
  return Success(languageCode);
}

pp::Var CLumivexMessageHandler::GetRFSubtitleMode(const pp::VarDictionary&) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  CTVSHandler::LUMIVEX_SUBTITLE_MODE mode{};
  if (!m_pRFManager->GetSubtitleMode(&mode)) {
    LUMIVEX_ERROR("GetSubtitleMode() returned false.");
    return Success(kNoValue);
  }
  LUMIVEX_DEBUG("[GetRFSubtitleMode] subtitle mode: %d", mode);
  return Success(static_cast<int32_t>(mode));
}

pp::Var CLumivexMessageHandler::SetRFSubtitleMode(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!request.HasKey("subtitleMode")) {
    return Refuse(kInvalidParameter);
  }
  const int mode = Int(request, "subtitleMode");
  return Success(
      m_pRFManager->SetSubtitleMode(static_cast<CTVSHandler::LUMIVEX_SUBTITLE_MODE>(mode)) ||
      LUMIVEX_ERROR("SetSubtitleMode(%d) returned false.", mode));
}

pp::Var CLumivexMessageHandler::GetRFSubtitleStatus(const pp::VarDictionary&) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  bool shown = false;
  const bool result = m_pRFManager->GetSubtitleStatus(&shown);
  if (!result) {
    LUMIVEX_ERROR("GetSubtitleStatus() returned false.");
    return Success(kNoValue);
  }
  LUMIVEX_DEBUG("[GetRFSubtitleStatus] subtitle status: %d, result: %d", shown, result);
  return Success(shown);
}

pp::Var CLumivexMessageHandler::SetRFSubtitleStatus(const pp::VarDictionary& request) {
  if (m_pRFManager == nullptr) {
    return Refuse(kNoTuner);
  }
  if (!request.HasKey("showStatus")) {
    return Refuse(kInvalidParameter);
  }
  const bool show = request.Get("showStatus").AsBool();
  return Success(m_pRFManager->SetSubtitleStatus(show) ||
                 LUMIVEX_ERROR("ShowSubtitle(%d) returned false.", show));
}

// Events.

void CLumivexMessageHandler::OnError(int type, int extra) {
  pp::VarDictionary event;
  event.Set("event", "PLAYBACK_ERROR_EVENT");
  event.Set("type", type);
  event.Set("extra", extra);
  LUMIVEX_ERROR("[OnError] PLAYBACK_ERROR_EVENT >> eventType: %d, extra: %d", type, extra);
  m_pInstance->PostMessage(event);
}

void CLumivexMessageHandler::OnInfo(int type, int param1, int param2) {
  pp::VarDictionary event;
  event.Set("event", "PLAYBACK_INFO_EVENT");
  event.Set("type", type);
  event.Set("param1", param1);
  event.Set("param2", param2);
  LUMIVEX_DEBUG("[OnInfo] PLAYBACK_INFO_EVENT >> eventType: %d, param1: %d, param2: %d", type,
                param1, param2);
  m_pInstance->PostMessage(event);
}

// Text goes to the page up to its first NUL byte.
void CLumivexMessageHandler::OnDRMInfo(int type, const std::string& data) {
  pp::VarDictionary event;
  event.Set("event", "PLAYBACK_DRMINFO_EVENT");
  event.Set("type", type);
  event.Set("data", data.c_str());
  m_pInstance->PostMessage(event);
}

void CLumivexMessageHandler::OnTimedText(const std::string& text) {
  pp::VarDictionary event;
  event.Set("event", "PLAYBACK_TIMEDTEXT_EVENT");
  event.Set("text", text.c_str());
  m_pInstance->PostMessage(event);
}

void CLumivexMessageHandler::OnRFInfo(int eventType) {
  pp::VarDictionary event;
  event.Set("event", "RF_INFO_EVENT");
  event.Set("eventType", eventType);
  m_pInstance->PostMessage(event);
}
