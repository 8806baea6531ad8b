#ifndef INC_IPLAYBACKEVENTLISTENER_H_
#define INC_IPLAYBACKEVENTLISTENER_H_

#include <string>

// Receives what the player reports on its own. Called on threads of the player library, possibly
// while an operation of the player runs on another thread; the arguments are valid only during the
// call. Operations return true if the event was accepted. Always inherited as a virtual base.
//
// The numbers of the enumerations reach the page unchanged.
class IPlaybackEventListener {
 public:
  // The player library does not say what its errors mean; only their numbers are fixed.
  enum ERROR_TYPE : int {
    ERROR_GENERAL = 0,  // stands for seven different errors of the library
    ERROR_LIBRARY_186 = 1,
    ERROR_LIBRARY_134 = 2,
    ERROR_LIBRARY_182 = 4,
    ERROR_LIBRARY_183 = 5,
    ERROR_LIBRARY_184 = 6,
    ERROR_LIBRARY_187 = 7,
    ERROR_LIBRARY_68 = 8
  };

  enum INFO_TYPE : int {
    INFO_LIBRARY_32 = 0,
    INFO_BUFFERING_START = 1,
    INFO_BUFFERING_COMPLETE = 2,
    INFO_BUFFERING_PROGRESS = 3,  // param1: percentage
    INFO_LIBRARY_96 = 4,
    INFO_LIBRARY_97 = 5,
    INFO_CURRENT_POSITION = 6,  // param1: position in milliseconds
    INFO_LIBRARY_35 = 7,
    INFO_VIDEO_RESOLUTION = 8,  // param1: width, param2: height, in pixels; -1 when unknown
    INFO_LIBRARY_177 = 9        // param1: the value that came with the message
  };

  enum DRM_INFO_TYPE : int { DRM_INFO_DATA = 0 };

  virtual ~IPlaybackEventListener() = default;

  virtual bool OnError(ERROR_TYPE type, int extra) = 0;
  virtual bool OnInfo(INFO_TYPE type, int param1, int param2) = 0;
  virtual bool OnDRMInfo(DRM_INFO_TYPE type, const std::string& pData) = 0;  // may hold NUL bytes
  virtual bool OnTimedText(const std::string& pText) = 0;
};

#endif  // INC_IPLAYBACKEVENTLISTENER_H_
