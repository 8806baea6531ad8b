#ifndef INC_ILUMIVEXPLAYER_H_
#define INC_ILUMIVEXPLAYER_H_

#include <string>
#include <vector>

#include "IPlaybackEventListener.h"

// A streaming player. Operations answer false, -1 or 0.0 on failure and never throw. They are
// called from one thread at a time, except GetVideoWidth and GetVideoHeight, which the player's own
// events may also call. Always inherited as a virtual base, and deleted through this interface.
//
// The order of the operations is a binary contract with hosts that get a player from
// GetLumivexPlayer; the numbers of the enumerations come from the page unchanged.
class ILumivexPlayer {
 public:
  enum MEDIA_TRACK_TYPE : int {
    MEDIA_TRACK_TYPE_VIDEO = 1,
    MEDIA_TRACK_TYPE_AUDIO = 2,
    MEDIA_TRACK_TYPE_TIMED_TEXT = 3,
    MEDIA_TRACK_TYPE_SUBTITLE = 4
  };

  enum VIDEO_SCALING_MODE : int {
    VIDEO_SCALING_MODE_KEEP_ASPECT_RATIO = 0,
    VIDEO_SCALING_MODE_FILL = 1  // use the whole area
  };

  enum DRM_PROPERTY_TYPE : int {
    DRM_PROPERTY_REQUEST_CHALLENGE_DATA = 0,
    DRM_PROPERTY_SET_DRM_LICENSE = 1,
    DRM_PROPERTY_LICENSE_SERVER = 2,
    DRM_PROPERTY_WMDRM_COOKIE = 3
  };

  // The caller owns the listener, which must outlive the player.
  explicit ILumivexPlayer(IPlaybackEventListener* listener) : m_pEventListener(listener) {}
  ILumivexPlayer(const ILumivexPlayer&) = delete;
  ILumivexPlayer& operator=(const ILumivexPlayer&) = delete;
  virtual ~ILumivexPlayer() = default;

  // The window to show the picture in, and the rectangle inside it in pixels.
  virtual bool SetDisplay(
      int windowId, unsigned int x, unsigned int y, unsigned int width, unsigned int height) = 0;
  virtual bool SetDataSource(const std::string& url, unsigned int timeOffset) = 0;
  virtual bool Start() = 0;
  virtual bool Stop() = 0;
  virtual bool Pause() = 0;
  virtual bool Resume() = 0;
  virtual bool SeekTo(int msec) = 0;
  virtual float GetPlaybackSpeed() = 0;  // the speed that was last accepted; 0.0 before the first
  virtual bool SetPlaybackSpeed(float speed) = 0;
  virtual bool SetDisplayArea(unsigned int x,
                              unsigned int y,
                              unsigned int width,
                              unsigned int height,
                              VIDEO_SCALING_MODE mode) = 0;
  virtual int GetCurrentPosition() = 0;  // milliseconds
  virtual int GetDuration() = 0;         // milliseconds
  // Appends to the caller's vector; unchanged on failure.
  virtual bool GetAvailableBitrates(std::vector<unsigned int>* pAvailableBitrates) = 0;
  virtual int GetVideoWidth() = 0;   // pixels
  virtual int GetVideoHeight() = 0;  // pixels
  virtual int GetNumOfTracks(MEDIA_TRACK_TYPE type) = 0;
  virtual int GetSelectedTrack(MEDIA_TRACK_TYPE type) = 0;
  virtual bool SelectTrack(MEDIA_TRACK_TYPE type, int index) = 0;
  virtual bool GetTrackLanguageCode(MEDIA_TRACK_TYPE type,
                                    int index,
                                    std::string* languageCode) = 0;
  virtual bool SetTimedTextSource(const std::string& filePath) = 0;
  virtual bool SetDRMProperty(DRM_PROPERTY_TYPE type, const std::string& propertyData) = 0;
  virtual void GetVersion(int* major, int* minor) = 0;  // not supported: outputs unchanged

 protected:
  IPlaybackEventListener* const m_pEventListener;  // set once, so any thread may read it
};

// A new player that the caller owns and deletes, or null if listener is null. If the player library
// cannot be loaded, every operation of the player returns its failure value. Hosts find this
// function by its plain name.
extern "C" __attribute__((visibility("default"))) ILumivexPlayer* GetLumivexPlayer(
    IPlaybackEventListener* listener);

#endif  // INC_ILUMIVEXPLAYER_H_
