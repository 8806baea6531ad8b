#ifndef INC_ZUNOPLAYERADAPTER_H_
#define INC_ZUNOPLAYERADAPTER_H_

#include <map>
#include <string>
#include <vector>

#include "ILumivexPlayer.h"
#include "IZunoPlayer.h"
#include "LumivexLog.h"

// The player over the platform's media player library. The library is opened at construction and
// closed at destruction; without a player from it, every operation returns its failure value. Takes
// no lock: the two callbacks run on threads of the library, and the player pointer that they read
// changes only in the constructor, before they are registered, and in the destructor, after the
// library's player is gone.
class CZunoPlayerAdapter final : public virtual ILumivexPlayer {
 public:
  explicit CZunoPlayerAdapter(IPlaybackEventListener* listener);
  ~CZunoPlayerAdapter() override;

  bool SetDisplay(int windowId,
                  unsigned int x,
                  unsigned int y,
                  unsigned int width,
                  unsigned int height) override;
  bool SetDataSource(const std::string& url, unsigned int timeOffset) override;
  bool Start() override;
  bool Stop() override;
  bool Pause() override;
  bool Resume() override;
  bool SeekTo(int msec) override;
  float GetPlaybackSpeed() override;
  bool SetPlaybackSpeed(float speed) override;
  bool SetDisplayArea(unsigned int x,
                      unsigned int y,
                      unsigned int width,
                      unsigned int height,
                      VIDEO_SCALING_MODE mode) override;
  int GetCurrentPosition() override;
  int GetDuration() override;
  bool GetAvailableBitrates(std::vector<unsigned int>* pAvailableBitrates) override;
  int GetVideoWidth() override;
  int GetVideoHeight() override;
  int GetNumOfTracks(MEDIA_TRACK_TYPE type) override;
  int GetSelectedTrack(MEDIA_TRACK_TYPE type) override;
  bool SelectTrack(MEDIA_TRACK_TYPE type, int index) override;
  bool GetTrackLanguageCode(MEDIA_TRACK_TYPE type, int index, std::string* languageCode) override;
  bool SetTimedTextSource(const std::string& filePath) override;
  bool SetDRMProperty(DRM_PROPERTY_TYPE type, const std::string& propertyData) override;
  void GetVersion(int* major, int* minor) override;

 private:
  IZunoPlayer* GetPlayerInstance();
  IPlaybackEventListener* GetEventListener();
  static int StreamTypeConverter(MEDIA_TRACK_TYPE type);

  // The library's callbacks, on its threads; pUserData is the adapter itself.
  static int OnMessage(int id, void* pParam, void* pUserData);
  static void OnCurrentPosition(unsigned long position, void* pUserData);
  int OnBuffering(const ZunoMessageParam* record, LogSite site = LogSite::Caller());

  bool HasPlayer(LogSite site = LogSite::Caller()) const;

  static const std::map<const _MsgType, const IPlaybackEventListener::ERROR_TYPE>
      m_ZunoPlayerErrorEventMap;

  void* m_pPlayerLibHandle;
  IZunoPlayer* m_pZunoPlayer;
  float m_playbackSpeed;  // thread that calls the operations
  bool m_isBuffering;     // message callback only
};

#endif  // INC_ZUNOPLAYERADAPTER_H_
