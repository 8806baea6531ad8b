#ifndef HOST_PAGE_STATE_H_
#define HOST_PAGE_STATE_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

#include "host/browser.h"
#include "host/json.h"
#include "host/vars.h"
#include "loops.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/ppp_message_handler.h"

namespace lumivex::host {

// A message handler as the plug-in registered it.
struct Registration {
  const PPP_MessageHandler* handler;
  void* user_data;
  std::shared_ptr<Loop> loop;
  // False once DidDestroy has returned: the handler's memory may be gone.
  std::atomic<bool> usable{true};
};

// A blocking message that a sender waits for. The first outcome counts.
class Call {
 public:
  // Converts the response on the handler's thread, before the plug-in can change it.
  using Convert = std::function<bool(const PP_Var& response)>;

  explicit Call(Convert convert) : convert_(std::move(convert)) {}

  void Answer(const PP_Var& response);
  void Finish(Page::Outcome outcome);
  Page::Outcome Wait(std::chrono::milliseconds timeout);

 private:
  const Convert convert_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Page::Outcome> outcome_;  // guarded by mutex_
};

// The browser's state of one plug-in element. Outlives the page, because the plug-in may post to an
// element that is gone. Any thread may use it.
class PageState {
 public:
  // on_dropped may be empty.
  PageState(PP_Instance instance,
            Browser::EventCallback on_event,
            std::function<void(const Json& event)> on_dropped)
      : instance_(instance), on_event_(std::move(on_event)), on_dropped_(std::move(on_dropped)) {}

  PP_Instance instance() const { return instance_; }
  bool IsOpen() const;
  // False when it was closed before. Wakes who waits for an answer.
  bool SetClosed();
  void DropHandler();  // after DidDestroy

  // The handler registered before, if any.
  std::shared_ptr<Registration> SetHandler(std::shared_ptr<Registration> registration);
  bool HasHandler() const;  // that gets messages

  // Puts a message into the queue of the handler, in order among all senders.
  // call is null for a message without an answer.
  Page::Outcome Send(VarTable* vars, OwnedVar message, std::shared_ptr<Call> call);
  // Puts a mark into the queue of the handler that finishes the call.
  Page::Outcome SendMark(std::shared_ptr<Call> call);
  void Forget(const std::shared_ptr<Call>& call);

  // False when the page is gone: the event is counted and dropped, and the browser's user told.
  bool AddEvent(Json event);
  std::optional<Json> TakeEvent(std::chrono::milliseconds timeout);
  int64_t DroppedEvents() const { return dropped_events_.load(); }

 private:
  // Keeps the event or hands it on; false, and the event untouched, when the page is gone.
  bool TryAddEvent(Json* event);
  // What make_task gives is put into the queue of the handler.
  Page::Outcome Enqueue(
      const std::shared_ptr<Call>& call,
      const std::function<Loop::Task(const std::shared_ptr<Registration>&)>& make_task);

  const PP_Instance instance_;
  const Browser::EventCallback on_event_;
  const std::function<void(const Json& event)> on_dropped_;
  std::atomic<int64_t> dropped_events_{0};

  mutable std::mutex mutex_;
  bool open_ = true;  // written under mutex_ and events_mutex_, so that either is enough to read
  // Guarded by mutex_.
  std::shared_ptr<Registration> handler_;
  std::unordered_set<std::shared_ptr<Call>> calls_;

  std::mutex events_mutex_;
  std::condition_variable event_came_;
  std::deque<Json> events_;  // guarded by events_mutex_
};

}  // namespace lumivex::host

#endif  // HOST_PAGE_STATE_H_
