#ifndef INC_ZUNOPLAYEREVENTLISTENER_H_
#define INC_ZUNOPLAYEREVENTLISTENER_H_

#include <string>

#include "IPlaybackEventListener.h"

class CLumivexMessageHandler;

// Forwards the player's events to the message handler, on the thread on which they come.
class CZunoPlayerEventListener final : public virtual IPlaybackEventListener {
 public:
  // The handler is not owned and must outlive the player that calls this listener.
  explicit CZunoPlayerEventListener(CLumivexMessageHandler* messageHandler);

  bool OnError(ERROR_TYPE type, int extra) override;
  bool OnInfo(INFO_TYPE type, int param1, int param2) override;
  bool OnDRMInfo(DRM_INFO_TYPE type, const std::string& pData) override;
  bool OnTimedText(const std::string& pText) override;

 private:
  CLumivexMessageHandler* m_pMessageHandler;  // set once, so any thread may read it
};

#endif  // INC_ZUNOPLAYEREVENTLISTENER_H_
