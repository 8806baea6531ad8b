#ifndef CRFMANAGER_H_
#define CRFMANAGER_H_

#include <string>

// The broadcast tuner service, librf-manager.so. The exported names and parameter lists are a
// binary contract: another implementation of the library may take the place of ours at run time.
//
// Threads: every function may be called on any thread. Events come on a thread of the tuner, which
// holds no lock meanwhile: a listener may call the tuner inside OnEvent, except ReleaseInstance.
//
// There is one tuner, which all callers of GetInstance share: what one of them tunes, selects or
// sets applies to the others. It is reset when the last of them has released it.

#pragma GCC visibility push(default)

struct _Eo_Opaque;

// Receives tuner events on the tuner's own thread.
class IEventListener {
 public:
  virtual ~IEventListener() = default;
  // contentType: 0 the service is tuned, 1 there is no signal. param1 is the program number and
  // param2 the name of the service; param2 is valid only during the call. Must not throw.
  virtual void OnEvent(unsigned int contentType, int param1, const std::string& param2) = 0;
};

class CTVSHandler {
 public:
  // 0 normal (the default), 1 for the hard of hearing.
  enum LUMIVEX_SUBTITLE_MODE : int {};
};

class CAppUtil {
 public:
  // Writes the NUL-terminated application id of a process into buffer, of size bytes; a longer id
  // is truncated. Returns 0 on success; otherwise nothing is written.
  static int GetKelvoAppIDByPID(int pid, char* buffer, int size);
};

class CRFManager {
 public:
  // 0 terrestrial (the default), 1 cable.
  enum LUMIVEX_CHANNEL_TYPE : int {};

  // The tuner, or null if applicationId is null or the service cannot start. It belongs to the
  // service: call ReleaseInstance once for each successful call. The other two arguments are not
  // used here.
  static CRFManager* GetInstance(const char* applicationId, bool, _Eo_Opaque*);

  // Releases the tuner once; without a matching GetInstance it does nothing. It unregisters the
  // listener and waits for a running OnEvent, so hold no lock that OnEvent needs. The caller may
  // then delete its listener.
  static void ReleaseInstance();

  // All of the following return true on success; false while nobody holds the tuner, and for an
  // unknown argument. On failure, outputs and state are unchanged.

  // The only listener from now on. The caller owns it and must keep it until ReleaseInstance has
  // returned.
  bool RegisterRFEventHandler(IEventListener* listener);
  bool SetSubtitleWindowSubsurface(unsigned int windowId);
  // False before a window was set.
  bool ShowSubtitleWindow();
  // For the next tuning; the current service stays tuned.
  bool SetChType(LUMIVEX_CHANNEL_TYPE type);

  // True: tuning has started, and its event follows after about 200 ms. Nothing is tuned until
  // then. It cancels tuning in progress, which then gets no event. False: the channel type has no
  // such service; no event follows, and nothing changes.
  bool TuneRFChannel(int major, int minor, int programNumber, int transportStreamId);

  // All of the following are about the tuned service and return false while there is none. Indexes
  // start at 0; tuning selects the first track of each kind.
  bool GetNumOfMultiAudio(unsigned int* count);
  bool GetNumOfSubtitle(unsigned int* count);
  bool GetCurrentAudioIndex(int* index);
  // False also for a service without subtitles.
  bool GetCurrentSubtitleIndex(int* index);
  bool ChangeAudioByIndex(unsigned int index);
  bool ChangeSubtitleByIndex(int index);
  bool GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode);
  bool SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE mode);
  // Hidden until set.
  bool GetSubtitleStatus(bool* shown);
  bool SetSubtitleStatus(bool shown);
  // Languages are ISO 639-2 codes of three letters.
  bool GetMultiAudioLanguageByIndex(unsigned int index, std::string* language);
  bool GetSubtitleLanguageByIndex(unsigned int index, std::string* language);
};

#pragma GCC visibility pop

#endif  // CRFMANAGER_H_
