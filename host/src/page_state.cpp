#include "page_state.h"

namespace lumivex::host {

namespace {

// A message in the handler's queue. If it is dropped with the queue, the sender is notified.
class Delivery {
 public:
  Delivery(VarTable* vars,
           PageState* page,
           std::shared_ptr<Registration> registration,
           OwnedVar message,
           std::shared_ptr<Call> call)
      : vars_(vars),
        page_(page),
        registration_(std::move(registration)),
        message_(std::move(message)),
        call_(std::move(call)) {}
  ~Delivery() {
    if (call_ != nullptr) {
      call_->Finish(Page::Outcome::kNoHandler);
    }
  }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  void Run() const {
    if (!page_->IsOpen()) {
      return;
    }
    const PPP_MessageHandler* const handler = registration_->handler;
    if (call_ == nullptr) {
      handler->HandleMessage(page_->instance(), registration_->user_data, &message_.get());
      return;
    }
    PP_Var response = UndefinedVar();
    handler->HandleBlockingMessage(page_->instance(), registration_->user_data, &message_.get(),
                                   &response);
    const OwnedVar owned(vars_, response);
    call_->Answer(owned.get());
  }

 private:
  VarTable* const vars_;
  PageState* const page_;  // lives as long as the browser
  const std::shared_ptr<Registration> registration_;
  const OwnedVar message_;
  const std::shared_ptr<Call> call_;
};

// Finishes a call when its turn comes.
class Mark {
 public:
  explicit Mark(std::shared_ptr<Call> call) : call_(std::move(call)) {}
  ~Mark() { call_->Finish(Page::Outcome::kNoHandler); }
  Mark(const Mark&) = delete;
  Mark& operator=(const Mark&) = delete;

  void Run() const { call_->Finish(Page::Outcome::kAnswered); }

 private:
  const std::shared_ptr<Call> call_;
};

}  // namespace

void Call::Answer(const PP_Var& response) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (outcome_) {
      return;
    }
    outcome_ = convert_(response) ? Page::Outcome::kAnswered : Page::Outcome::kNotPassable;
  }
  changed_.notify_all();
}

void Call::Finish(Page::Outcome outcome) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (outcome_) {
      return;
    }
    outcome_ = outcome;
  }
  changed_.notify_all();
}

Page::Outcome Call::Wait(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!changed_.wait_for(lock, timeout, [this] { return outcome_.has_value(); })) {
    outcome_ = Page::Outcome::kTimedOut;
  }
  return *outcome_;
}

bool PageState::IsOpen() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return open_;
}

bool PageState::SetClosed() {
  {
    // Once the page appears closed, all its events are there and no sender waits.
    const std::scoped_lock lock(events_mutex_, mutex_);
    if (!open_) {
      return false;
    }
    open_ = false;
    for (const std::shared_ptr<Call>& call : calls_) {
      call->Finish(Page::Outcome::kPageGone);
    }
    calls_.clear();
  }
  event_came_.notify_all();
  return true;
}

std::shared_ptr<Registration> PageState::SetHandler(std::shared_ptr<Registration> registration) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(handler_, std::move(registration));
}

bool PageState::HasHandler() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return handler_ != nullptr && handler_->loop->IsServed();
}

Page::Outcome PageState::Send(VarTable* vars, OwnedVar message, std::shared_ptr<Call> call) {
  return Enqueue(call, [&](const std::shared_ptr<Registration>& handler) {
    const auto delivery = std::make_shared<Delivery>(vars, this, handler, std::move(message), call);
    return [delivery] { delivery->Run(); };
  });
}

Page::Outcome PageState::SendMark(std::shared_ptr<Call> call) {
  return Enqueue(call, [&call](const std::shared_ptr<Registration>&) {
    const auto mark = std::make_shared<Mark>(call);
    return [mark] { mark->Run(); };
  });
}

Page::Outcome PageState::Enqueue(
    const std::shared_ptr<Call>& call,
    const std::function<Loop::Task(const std::shared_ptr<Registration>&)>& make_task) {
  // Destroyed after the lock: an unsent message releases its vars and may wake its sender.
  Loop::Task task;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!open_) {
    return Page::Outcome::kPageGone;
  }
  if (handler_ == nullptr || !handler_->loop->IsServed()) {
    return Page::Outcome::kNoHandler;
  }
  task = make_task(handler_);
  if (!handler_->loop->Post(task)) {
    return Page::Outcome::kNoHandler;
  }
  if (call != nullptr) {
    calls_.insert(call);
  }
  return Page::Outcome::kAnswered;
}

void PageState::Forget(const std::shared_ptr<Call>& call) {
  const std::lock_guard<std::mutex> lock(mutex_);
  calls_.erase(call);
}

bool PageState::AddEvent(Json event) {
  if (TryAddEvent(&event)) {
    return true;
  }
  if (on_dropped_ != nullptr) {
    on_dropped_(event);
  }
  return false;
}

bool PageState::TryAddEvent(Json* event) {
  {
    const std::lock_guard<std::mutex> lock(events_mutex_);
    if (!open_) {
      return false;
    }
    if (on_event_ != nullptr) {
      on_event_(std::move(*event));
      return true;
    }
    events_.push_back(std::move(*event));
  }
  event_came_.notify_one();
  return true;
}

std::optional<Json> PageState::TakeEvent(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(events_mutex_);
  event_came_.wait_for(lock, timeout, [this] { return !events_.empty() || !open_; });
  if (events_.empty()) {
    return std::nullopt;
  }
  Json event = std::move(events_.front());
  events_.pop_front();
  return event;
}

}  // namespace lumivex::host
