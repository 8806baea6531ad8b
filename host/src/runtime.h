#ifndef HOST_RUNTIME_H_
#define HOST_RUNTIME_H_

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/browser.h"
#include "host/defects.h"
#include "host/vars.h"
#include "loops.h"
#include "page_state.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"

namespace lumivex::host {

// The state that the C tables, the browser and its pages share.
class Runtime {
 public:
  explicit Runtime(Browser::Options options);

  // The one that the tables use; null if there is no browser.
  static Runtime* Current() { return current_.load(std::memory_order_acquire); }
  void Serve();  // aborts if another one is current
  void StopServing();

  // For the page's side: aborts on any thread but the main thread.
  void RequireMainThread(const char* function) const;
  // For the plug-in's side: records a defect instead.
  void ExpectMainThread(const char* function);

  std::shared_ptr<PageState> AddPage(Browser::EventCallback on_event);
  PageState* FindPage(PP_Instance instance) const;
  std::vector<std::shared_ptr<PageState>> Pages() const;
  // Main thread; see Page::Close.
  void ClosePage(PageState* page);

  const void* GetInterface(const char* name);
  int InterfaceRequests(const std::string& name) const;
  void Withhold(const std::string& name);
  void ForceRegisterResult(std::optional<int32_t> result);
  std::optional<int32_t> ForcedRegisterResult() const;
  void AddSyncCall(SyncCall call);
  std::vector<SyncCall> SyncCalls() const;

  const Browser::Options options;
  const std::shared_ptr<ExtensionSystem> extension_system;
  Defects defects;
  VarTable vars{&defects};
  LoopTable loops{&defects};

  // Set on the main thread before there are pages.
  const PPP_Instance* plugin_instance = nullptr;
  std::atomic<const PPP_Messaging*> plugin_messaging{nullptr};

 private:
  inline static std::atomic<Runtime*> current_{nullptr};

  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<std::shared_ptr<PageState>> pages_;  // by instance - 1
  std::set<std::string> withheld_;
  std::map<std::string, int> interface_requests_;
  std::optional<int32_t> register_result_;
  std::vector<SyncCall> sync_calls_;
};

// The browser's table of that name, or null. Defined with the tables.
const void* FindTable(const std::string& name);

}  // namespace lumivex::host

#endif  // HOST_RUNTIME_H_
