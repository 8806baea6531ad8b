#include <memory>
#include <utility>

#include "host/browser.h"
#include "page_state.h"
#include "runtime.h"

namespace lumivex::host {

namespace {

Page::Outcome Await(VarTable* vars,
                    PageState* page,
                    OwnedVar message,
                    std::chrono::milliseconds timeout,
                    Call::Convert convert) {
  const auto call = std::make_shared<Call>(std::move(convert));
  const Page::Outcome sent = page->Send(vars, std::move(message), call);
  if (sent != Page::Outcome::kAnswered) {
    return sent;
  }
  const Page::Outcome outcome = call->Wait(timeout);
  page->Forget(call);
  return outcome;
}

}  // namespace

Page::Page(std::shared_ptr<Runtime> runtime, std::shared_ptr<PageState> state)
    : runtime_(std::move(runtime)), state_(std::move(state)) {}

Page::~Page() {
  Close();
}

void Page::Close() {
  if (state_->IsOpen()) {
    runtime_->RequireMainThread("Page::Close");
    runtime_->ClosePage(state_.get());
  }
}

Page::Answer Page::SendBlocking(const Json& message, std::chrono::milliseconds timeout) {
  VarTable* const vars = &runtime_->vars;
  const std::optional<PP_Var> var = vars->FromJson(message);
  if (!var) {
    return {Outcome::kNotPassable, nullptr};
  }
  // Shared with the handler's thread, which may reply after this sender timed out.
  const auto value = std::make_shared<Json>();
  const Outcome outcome = Await(vars, state_.get(), OwnedVar(vars, *var), timeout,
                                [vars, value](const PP_Var& response) {
                                  std::optional<Json> json = vars->ToJson(response);
                                  if (json) {
                                    *value = std::move(*json);
                                  }
                                  return json.has_value();
                                });
  return {outcome, outcome == Outcome::kAnswered ? std::move(*value) : Json()};
}

Page::VarAnswer Page::SendBlockingVar(PP_Var message, std::chrono::milliseconds timeout) {
  VarTable* const vars = &runtime_->vars;
  const std::optional<PP_Var> var = vars->DeepCopy(message);
  if (!var) {
    return {Outcome::kNotPassable, OwnedVar(vars, UndefinedVar())};
  }
  const auto value = std::make_shared<OwnedVar>(vars, UndefinedVar());
  const Outcome outcome = Await(vars, state_.get(), OwnedVar(vars, *var), timeout,
                                [vars, value](const PP_Var& response) {
                                  const std::optional<PP_Var> copy = vars->DeepCopy(response);
                                  if (copy) {
                                    *value = OwnedVar(vars, *copy);
                                  }
                                  return copy.has_value();
                                });
  return {outcome,
          outcome == Outcome::kAnswered ? std::move(*value) : OwnedVar(vars, UndefinedVar())};
}

bool Page::Post(const Json& message) {
  VarTable* const vars = &runtime_->vars;
  const std::optional<PP_Var> var = vars->FromJson(message);
  if (!var) {
    return false;
  }
  OwnedVar owned(vars, *var);
  if (state_->HasHandler()) {
    return state_->Send(vars, std::move(owned), nullptr) == Outcome::kAnswered;
  }
  const PPP_Messaging* const messaging = runtime_->plugin_messaging;
  if (messaging == nullptr || !state_->IsOpen()) {
    return false;
  }
  // Shared, because a task must be copyable.
  const auto shared = std::make_shared<OwnedVar>(std::move(owned));
  return runtime_->loops.main_loop()->Post([state = state_, messaging, shared] {
    if (state->IsOpen()) {
      messaging->HandleMessage(state->instance(), shared->get());
    }
  });
}

bool Page::Settle(std::chrono::milliseconds timeout) {
  const auto mark = std::make_shared<Call>(nullptr);
  if (state_->SendMark(mark) != Outcome::kAnswered) {
    return true;  // nothing can be under way
  }
  const Outcome outcome = mark->Wait(timeout);
  state_->Forget(mark);
  return outcome != Outcome::kTimedOut;
}

std::optional<Json> Page::NextEvent(std::chrono::milliseconds timeout) {
  return state_->TakeEvent(timeout);
}

bool Page::IsOpen() const {
  return state_->IsOpen();
}

bool Page::HasHandler() const {
  return state_->HasHandler();
}

PP_Instance Page::instance() const {
  return state_->instance();
}

}  // namespace lumivex::host
