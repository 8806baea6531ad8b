#ifndef INC_LUMIVEXEVENTLISTENER_H_
#define INC_LUMIVEXEVENTLISTENER_H_

#include <string>

#include "LumivexPlatform.h"

class CLumivexMessageHandler;

// Forwards the tuner's events to the message handler, on the tuner's thread.
class CLumivexEventListener final : public IEventListener {
 public:
  // The handler is not owned and must outlive the registration of this listener.
  explicit CLumivexEventListener(CLumivexMessageHandler* messageHandler);

  void OnEvent(unsigned int contentType, int param1, const std::string& param2) override;

 private:
  CLumivexMessageHandler* m_pMessageHandler;  // set once, so any thread may read it
};

#endif  // INC_LUMIVEXEVENTLISTENER_H_
