#include "ZunoPlayerEventListener.h"

#include "LumivexLog.h"
#include "LumivexMessageHandler.h"

CZunoPlayerEventListener::CZunoPlayerEventListener(CLumivexMessageHandler* messageHandler)
    : m_pMessageHandler(messageHandler) {
  LUMIVEX_DEBUG("[CZunoPlayerEventListener] constructor");
}

bool CZunoPlayerEventListener::OnError(ERROR_TYPE type, int extra) {
  LUMIVEX_DEBUG("[CZunoPlayerEventListener][OnError] type: [%d], extra: [%d]", type, extra);
  m_pMessageHandler->OnError(type, extra);
  return true;
}

bool CZunoPlayerEventListener::OnInfo(INFO_TYPE type, int param1, int param2) {
  LUMIVEX_DEBUG("[CZunoPlayerEventListener][OnInfo] type: [%d], param1: [%d], param2: [%d]", type,
                param1, param2);
  m_pMessageHandler->OnInfo(type, param1, param2);
  return true;
}

bool CZunoPlayerEventListener::OnDRMInfo(DRM_INFO_TYPE type, const std::string& pData) {
  LUMIVEX_DEBUG("[CZunoPlayerEventListener][OnDRMInfo] type: [%d], pData: [%s]", type,
                pData.c_str());
  m_pMessageHandler->OnDRMInfo(type, pData);
  return true;
}

bool CZunoPlayerEventListener::OnTimedText(const std::string& pText) {
  LUMIVEX_DEBUG("[CZunoPlayerEventListener][OnTimedText] pText: %s", pText.c_str());
  m_pMessageHandler->OnTimedText(pText);
  return true;
}
