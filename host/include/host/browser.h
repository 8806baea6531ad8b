#ifndef HOST_BROWSER_H_
#define HOST_BROWSER_H_

// The browser's side of the Pepper interface, without a window: loads a plug-in library by file,
// embeds it in pages, passes messages both ways and records what the plug-in does wrong.
//
//   Browser browser;                                  // this thread is now the main thread
//   std::string error;
//   if (!browser.Load("liblumivex-pplugin.so", &error)) ...
//   std::unique_ptr<Page> page = browser.CreatePage({}, &error);
//   Page::Answer answer = page->SendBlocking({{"moduleName", "lumivexplayer"}, ...});
//   std::optional<Json> event = page->NextEvent(std::chrono::seconds(1));
//   page.reset();
//   browser.Unload(&error);
//   EXPECT_THAT(browser.Defects(), IsEmpty());        // leaked vars are among them
//
// Threads. The thread that constructs the browser is the plug-in's main thread. Load, create, close
// and unload there; elsewhere these abort the process. Any thread may send messages and take
// events. Messages are handled on the thread of the plug-in's own message loop and need no main
// loop. Calls that the plug-in posts to the main thread run inside RunMainLoop or RunPending.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/extension_system.h"
#include "host/json.h"
#include "host/vars.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_module.h"
#include "ppapi/c/ppb.h"

namespace lumivex::host {

class PageState;
class Runtime;

// One plug-in element of a page. Any thread may call it unless stated otherwise; it must not be
// destroyed during a call.
class Page {
 public:
  enum class Outcome {
    kAnswered,
    // No message handler is registered, no thread runs its loop, or the loop ended first.
    kNoHandler,
    kPageGone,     // the page was closed before the answer
    kTimedOut,     // the message may still be handled; its answer will be dropped
    kNotPassable,  // the message or its answer is nested deeper than kMaxDepth, or not valid
  };
  struct Answer {
    Outcome outcome;
    Json value;  // null unless answered
  };
  struct VarAnswer {
    Outcome outcome;
    OwnedVar value;  // undefined unless answered
  };

  static constexpr std::chrono::milliseconds kPatience{30000};

  ~Page();  // closes; main thread
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  // Sends a message and waits for its answer. Messages, blocking or not, reach the handler one at a
  // time in the order of sending. Must not be called on the thread of the handler's loop.
  Answer SendBlocking(const Json& message, std::chrono::milliseconds timeout = kPatience);
  // The same without JSON, for what JSON cannot express: undefined, or 2.0 as opposed to 2. The
  // message is copied.
  VarAnswer SendBlockingVar(PP_Var message, std::chrono::milliseconds timeout = kPatience);

  // Sends a message that has no answer. Without a message handler it goes to PPP_Messaging on the
  // main thread. False if nobody receives it.
  bool Post(const Json& message);

  // Waits until the handler has handled all messages sent before. False if that takes too long.
  bool Settle(std::chrono::milliseconds timeout = kPatience);

  // The oldest event not yet taken; null if none arrives in time. Events that arrived before the
  // page was closed can still be taken.
  std::optional<Json> NextEvent(std::chrono::milliseconds timeout = std::chrono::milliseconds(0));

  // Ends the element as leaving the page does. Main thread; further calls do nothing.
  //
  // First the page is gone: messages not yet started are dropped, waiting senders get kPageGone,
  // and whatever the plug-in posts from now on is dropped. Then DidDestroy runs, possibly while the
  // handler still works on a message. When DidDestroy returns, the handler counts as unregistered,
  // but its Destroy is not called: in a plug-in that cleans up, its thread has ended and the
  // handler is gone. A handler that the plug-in unregisters inside DidDestroy does get the call.
  void Close();

  bool IsOpen() const;
  bool HasHandler() const;
  PP_Instance instance() const;

 private:
  friend class Browser;
  Page(std::shared_ptr<Runtime> runtime, std::shared_ptr<PageState> state);

  const std::shared_ptr<Runtime> runtime_;
  const std::shared_ptr<PageState> state_;
};

// The three functions that a plug-in library exports.
struct ModuleEntry {
  int32_t (*initialize)(PP_Module module, PPB_GetInterface get_browser_interface);
  const void* (*get_interface)(const char* name);
  void (*shutdown)();  // may be null
};

// A call of the private "GenericSyncCall" as the browser saw it.
struct SyncCall {
  PP_Instance instance;
  std::string operation;  // empty if not a string
  Json data;              // null for undefined
  int32_t result;
};

// One at a time per process, because the tables are plain C functions.
class Browser {
 public:
  struct Options {
    ExtensionAnswers extension_answers;
    std::shared_ptr<ExtensionSystem> extension_system;  // if set, answers instead
    // Called for each event that is dropped because its page was closed, on the thread that posted
    // it; on several threads at once, if they post at once.
    std::function<void(const Json& event)> on_dropped;
  };
  using Attributes = std::vector<std::pair<std::string, std::string>>;
  // Called for each event, in order and one at a time, on the thread that posted it; the event is
  // then not kept for NextEvent. It must neither send a blocking message nor take events.
  using EventCallback = std::function<void(Json event)>;

  explicit Browser(Options options);
  Browser();
  ~Browser();  // unloads; every Page must be closed or destroyed on its way
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  // Opens the library and initialises the module. False, with the reason, when either fails.
  bool Load(const std::string& path, std::string* error);
  // The same for a plug-in that is linked into the program.
  bool LoadModule(const ModuleEntry& entry, std::string* error);
  // Closes the pages that are open, shuts the module down, closes the library, and then records
  // every var and resource that still exists as a defect. False when the library cannot be closed.
  bool Unload(std::string* error = nullptr);

  // Null, with the reason, if the plug-in refuses. The attributes are those of the element. The
  // browser keeps about 3 KB for every page, even a closed one, because the plug-in may still use
  // it.
  std::unique_ptr<Page> CreatePage(const Attributes& attributes = {},
                                   std::string* error = nullptr,
                                   EventCallback on_event = nullptr);

  // Runs work for the main thread until QuitMainLoop, which any thread may call, even before.
  void RunMainLoop();
  void QuitMainLoop();
  void RunPending();  // only what is due now
  void PostToMainThread(std::function<void()> work);

  VarTable& vars();
  // get_browser_interface, as the plug-in calls it.
  static const void* GetInterface(const char* name);

  std::vector<std::string> Defects() const;
  int64_t LiveVars() const;
  int64_t LiveResources() const;            // references of the plug-in to message loops
  std::vector<std::string> DescribeLive();  // a line for each of the first vars, and each resource
  std::vector<SyncCall> GenericSyncCalls() const;

  // Faults: from now on the browser lacks this interface / registering a handler returns this.
  void WithholdInterface(const std::string& name);
  void ForceRegisterResult(std::optional<int32_t> result);
  int InterfaceRequests(const std::string& name) const;

 private:
  const std::shared_ptr<Runtime> runtime_;
  void* library_ = nullptr;
  std::optional<ModuleEntry> module_;
};

}  // namespace lumivex::host

#endif  // HOST_BROWSER_H_
