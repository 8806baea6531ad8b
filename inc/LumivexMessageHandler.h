#ifndef INC_LUMIVEXMESSAGEHANDLER_H_
#define INC_LUMIVEXMESSAGEHANDLER_H_

#include <sys/prctl.h>

#include <cstdint>
#include <map>
#include <string>

#include "ILumivexPlayer.h"
#include "IPlaybackEventListener.h"
#include "LumivexLog.h"
#include "LumivexPlatform.h"

class CLumivexEventListener;
struct RequestRefusal;

// Log tag of the message handler and of the two listeners.
inline constexpr char kLogTag[] = "LUMIVEX_PPLUGIN";

// The one object through which a page talks to the plug-in.
//
// A request is a dictionary with the strings "moduleName" and "command" and the command's arguments
// as further keys. A blocking request is checked, including the privilege of its module, and runs
// the command of that name; PPBaseMessageHandler::createMessage packs the reply. A non-blocking
// request is checked in the same way and then always refused. Events of the player and the tuner
// are posted to the page as dictionaries.
//
// Threads: constructed and destroyed on the plug-in's main thread, before the worker thread starts
// and after it has ended. Messages arrive on the worker thread, one at a time. The On... functions
// are called on threads of the player library and of the tuner; they read m_pInstance alone. No
// lock is taken.
class CLumivexMessageHandler : public PPBaseMessageHandler {
 public:
  using Command = pp::Var (CLumivexMessageHandler::*)(const pp::VarDictionary&);

  // The commands by name: built when the library is loaded, shared by all instances, only read.
  static const std::map<const std::string, Command> m_messageMap;

  // The instance owns this handler and must outlive it.
  explicit CLumivexMessageHandler(pp::Instance* instance);
  CLumivexMessageHandler(const CLumivexMessageHandler&) = delete;
  CLumivexMessageHandler& operator=(const CLumivexMessageHandler&) = delete;
  ~CLumivexMessageHandler() override;

  // Registers the handler on the calling thread's message loop.
  void Register();

  // Post one event to the page. Any thread may call them.
  void OnError(int type, int extra);
  void OnInfo(int type, int param1, int param2);
  void OnDRMInfo(int type, const std::string& data);
  void OnTimedText(const std::string& text);
  void OnRFInfo(int eventType);

 protected:
  void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;
  pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;

 private:
  // Checks a request up to and including its command, logging for the hook at site. Null when it
  // passed. Sets moduleName and command as soon as they are known.
  const RequestRefusal* CheckRequest(const pp::VarDictionary& request,
                                     std::string* moduleName,
                                     std::string* command,
                                     LogSite site = LogSite::Caller()) const;

  // Makes sure that there is a tuner instance; false when it could not be obtained.
  bool InitRFManager();

  // The commands of the player.
  pp::Var HasPlayerPrivilege(const pp::VarDictionary& request);
  pp::Var SetDataSource(const pp::VarDictionary& request);
  pp::Var Start(const pp::VarDictionary& request);
  pp::Var Stop(const pp::VarDictionary& request);
  pp::Var Pause(const pp::VarDictionary& request);
  pp::Var Resume(const pp::VarDictionary& request);
  pp::Var SeekTo(const pp::VarDictionary& request);
  pp::Var SetPlaybackSpeed(const pp::VarDictionary& request);
  pp::Var GetPlaybackSpeed(const pp::VarDictionary& request);
  pp::Var SetDisplayArea(const pp::VarDictionary& request);
  pp::Var GetCurrentPosition(const pp::VarDictionary& request);
  pp::Var GetDuration(const pp::VarDictionary& request);
  pp::Var GetVideoWidth(const pp::VarDictionary& request);
  pp::Var GetVideoHeight(const pp::VarDictionary& request);
  pp::Var GetNumOfTracks(const pp::VarDictionary& request);
  pp::Var GetSelectedTrack(const pp::VarDictionary& request);
  pp::Var SelectTrack(const pp::VarDictionary& request);
  pp::Var GetTrackLanguageCode(const pp::VarDictionary& request);
  pp::Var SetTimedTextSource(const pp::VarDictionary& request);
  pp::Var SetDRMProperty(const pp::VarDictionary& request);
  pp::Var GetAvailableBitrates(const pp::VarDictionary& request);
  pp::Var GetPlayerVersion(const pp::VarDictionary& request);

  // The commands of the tuner.
  pp::Var HasRFManagerPrivilege(const pp::VarDictionary& request);
  pp::Var GetRFManagerVersion(const pp::VarDictionary& request);
  pp::Var SetChannelType(const pp::VarDictionary& request);
  pp::Var TuneRFChannel(const pp::VarDictionary& request);
  pp::Var GetNumOfRFTracks(const pp::VarDictionary& request);
  pp::Var GetSelectedRFTrack(const pp::VarDictionary& request);
  pp::Var SelectRFTrack(const pp::VarDictionary& request);
  pp::Var GetRFSubtitleMode(const pp::VarDictionary& request);
  pp::Var SetRFSubtitleMode(const pp::VarDictionary& request);
  pp::Var GetRFSubtitleStatus(const pp::VarDictionary& request);
  pp::Var SetRFSubtitleStatus(const pp::VarDictionary& request);
  pp::Var GetRFTrackLanguageCode(const pp::VarDictionary& request);

  // Replies of the commands.
  pp::Var Success(pp::Var value);
  pp::Var Refuse(const RequestRefusal& refusal);

  pp::Instance* m_pInstance;                  // not owned; set once, so any thread may read it
  CRFManager* m_pRFManager;                   // the tuner service's; worker thread
  CLumivexEventListener* m_pRFEventListener;  // owned, set while m_pRFManager is; worker thread
  ILumivexPlayer* m_pLumivexPlayer;           // owned
  IPlaybackEventListener* m_pLumivexPlayerEventListener;  // owned, outlives the player
  bool m_hasLumivexPlayerPrivilege;
  bool m_hasLumivexRFMangerPrivilege;
  int32_t m_windowId;  // -1 when the runtime gave none
};

// One plug-in element: its handler and the worker thread on which the page's messages arrive. Made
// and deleted by the module on the plug-in's main thread.
class CLumivexPluginInstance : public pp::Instance {
 public:
  explicit CLumivexPluginInstance(PP_Instance instance)
      : pp::Instance(instance),
        message_handler_(this),
        additional_thread_(new pp::SimpleThreadAwaitLoop(pp::InstanceHandle(this))) {
    constexpr char kTag[] = "KPP_BASE";
    prctl(PR_SET_NAME, "kpp.lumivex", 0UL, 0UL);
    LUMIVEX_LOG(LOG_ID_SYSTEM, DLOG_ERROR, kTag, LogSite::Caller(),
                "[PluginLogging] begin additional_thread_->Start()");
    additional_thread_->Start();
    LUMIVEX_LOG(LOG_ID_SYSTEM, DLOG_ERROR, kTag, LogSite::Caller(),
                "[PluginLogging] begin RegisterMessageHandler");
    if (RegisterMessageHandler(&message_handler_, additional_thread_->message_loop()) == 0) {
      LUMIVEX_LOG(LOG_ID_SYSTEM, DLOG_ERROR, kTag, LogSite::Caller(),
                  "[PluginLogging]  RegisterMessageHandler success");
    } else {
      LUMIVEX_LOG(LOG_ID_SYSTEM, DLOG_ERROR, kTag, LogSite::Caller(),
                  "[PluginLogging]  RegisterMessageHandler Fail");
    }
  }
  CLumivexPluginInstance(const CLumivexPluginInstance&) = delete;
  CLumivexPluginInstance& operator=(const CLumivexPluginInstance&) = delete;

  // The thread that calls the handler ends before the handler is destroyed.
  ~CLumivexPluginInstance() override { delete additional_thread_; }

  bool Init(uint32_t, const char*[], const char*[]) override { return true; }

 private:
  CLumivexMessageHandler message_handler_;
  pp::SimpleThreadAwaitLoop* additional_thread_;  // owned
};

class CLumivexPluginModule : public pp::Module {
 public:
  pp::Instance* CreateInstance(PP_Instance instance) override {
    return new CLumivexPluginInstance(instance);
  }
};

#endif  // INC_LUMIVEXMESSAGEHANDLER_H_
