#include "LumivexEventListener.h"

#include "LumivexLog.h"
#include "LumivexMessageHandler.h"

namespace {

// The tuner's event that the page gets; all others are only logged.
constexpr unsigned int TUNE_SUCCESS = 0;

}  // namespace

CLumivexEventListener::CLumivexEventListener(CLumivexMessageHandler* messageHandler)
    : m_pMessageHandler(messageHandler) {
  LUMIVEX_DEBUG("[CLumivexEventListener] constructor");
}

void CLumivexEventListener::OnEvent(unsigned int contentType,
                                    int param1,
                                    const std::string& param2) {
  LUMIVEX_DEBUG("[CLumivexEventListener][OnEvent] contentType: [%d], param1: [%d], param2: [%s]",
                static_cast<int>(contentType), param1, param2.c_str());
  if (contentType != TUNE_SUCCESS) {
    return;
  }
  LUMIVEX_DEBUG("[CLumivexEventListener][OnEvent][OnRFInfo] Event TUNE_SUCCESS");
  m_pMessageHandler->OnRFInfo(static_cast<int>(TUNE_SUCCESS));
}
