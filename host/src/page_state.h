#ifndef HOST_PAGE_STATE_H_
#define HOST_PAGE_STATE_H_

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
  // False if it was closed already. Wakes everyone who waits for an answer.
  bool SetClosed();

  // The handler registered before, if any.
  std::shared_ptr<Registration> SetHandler(std::shared_ptr<Registration> registration);
  bool HasHandler() const;  // that gets messages

  // Queues a message for the handler, in order among all senders.
  // call is null for a message that has no answer.
  Page::Outcome Send(VarTable* vars, OwnedVar message, std::shared_ptr<Call> call);
  // Queues a mark for the handler that finishes the call.
  Page::Outcome SendMark(std::shared_ptr<Call> call);
  void Forget(const std::shared_ptr<Call>& call);

  // False if the page is gone; the event is then dropped and reported to on_dropped.
  bool AddEvent(Json event);
  std::optional<Json> TakeEvent(std::chrono::milliseconds timeout);

 private:
  // Keeps the event or hands it on; false, with the event untouched, if the page is gone.
  bool TryAddEvent(Json* event);
  // Queues the task that make_task returns.
  Page::Outcome Enqueue(
      const std::shared_ptr<Call>& call,
      const std::function<Loop::Task(const std::shared_ptr<Registration>&)>& make_task);

  const PP_Instance instance_;
  const Browser::EventCallback on_event_;
  const std::function<void(const Json& event)> on_dropped_;

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
