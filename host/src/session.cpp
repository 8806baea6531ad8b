#include "session.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>
#include <variant>

#include "printable.h"

namespace lumivex::host {

Session::Session(Input* input,
                 std::string input_name,
                 Printer* printer,
                 std::chrono::milliseconds timeout)
    : input_(input),
      input_name_(std::move(input_name)),
      printer_(printer),
      timeout_(timeout),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Session::~Session() {
  close(wake_);
}

void Session::AddEvent(Json event) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    arrived_.push_back({std::move(event), Clock::now()});
  }
  eventfd_write(wake_, 1);
}

void Session::Interrupt(int status) {
  interrupted_ = status;
  eventfd_write(wake_, 1);
}

int Session::Run(Page* page) {
  page_ = page;
  int status = RunScript();
  input_->Hide();
  if (interrupted_ == kDone && !timed_out_ && !page->Settle(timeout_)) {
    std::fprintf(stderr,
                 "lumivex-host: the plug-in did not handle all posted messages within %lld s\n",
                 static_cast<long long>(timeout_.count() / 1000));
    status = status == kDone ? kFailed : status;
  }
  PrintEvents();
  return Stopped() != kDone ? Stopped() : status;
}

int Session::RunScript() {
  int status = kDone;
  for (;;) {
    PrintEvents();
    if (Stopped() != kDone) {
      return Stopped();
    }
    if (const std::optional<std::string> line = input_->TakeLine()) {
      ++line_number_;
      const int result = Execute(*line);
      if (result != kDone) {
        status = result;
        // A typing error does not end a session at the keyboard.
        if (result == kFailed || isatty(input_->descriptor()) == 0) {
          return status;
        }
      }
      continue;
    }
    if (input_->AtEnd()) {
      return status;
    }
    input_->Show();
    Sleep(true, Clock::time_point::max());
  }
}

int Session::Stopped() const {
  return interrupted_ != kDone ? interrupted_.load() : output_status_;
}

int Session::Fail(int status, const std::string& reason) const {
  std::fprintf(stderr, "%s:%zu: %s\n", input_name_.c_str(), line_number_,
               Printable(reason).c_str());
  return status;
}

void Session::CheckOutput(bool written) {
  if (written || output_status_ != kDone) {
    return;
  }
  if (errno == EPIPE) {
    output_status_ = 128 + SIGPIPE;
  } else {
    std::fprintf(stderr, "lumivex-host: cannot write output: %s\n", std::strerror(errno));
    output_status_ = kFailed;
  }
}

void Session::PrintEvents() {
  std::deque<Arrival> arrived;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    arrived.swap(arrived_);
  }
  if (!arrived.empty()) {
    input_->Hide();
  }
  for (Arrival& arrival : arrived) {
    if (output_status_ == kDone) {
      CheckOutput(printer_->Event(arrival.event, arrival.time - start_));
    }
    unmatched_.push_back(std::move(arrival.event));
    if (unmatched_.size() > kMaxUnmatched) {
      unmatched_.pop_front();
    }
  }
}

void Session::Sleep(bool for_input, Clock::time_point until) {
  std::array<pollfd, 2> descriptors = {pollfd{wake_, POLLIN, 0},
                                       pollfd{input_->descriptor(), POLLIN, 0}};
  int timeout = -1;
  if (until != Clock::time_point::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    timeout = static_cast<int>(std::max<int64_t>(left.count(), 0));
  }
  if (poll(descriptors.data(), for_input ? 2 : 1, timeout) <= 0) {
    return;
  }
  if (descriptors[0].revents != 0) {
    eventfd_t ignored = 0;
    eventfd_read(wake_, &ignored);
  }
  if (for_input && descriptors[1].revents != 0 && !input_->Fill()) {
    std::fprintf(stderr, "lumivex-host: %s: %s\n", input_name_.c_str(), std::strerror(errno));
    output_status_ = kFailed;
  }
}

int Session::Execute(const std::string& line) {
  const ScriptLine action = ReadScriptLine(line);
  const bool is_sent =
      std::holds_alternative<SendAction>(action) || std::holds_alternative<PostAction>(action);
  const bool is_typed = isatty(input_->descriptor()) != 0;
  if (!is_sent && !is_typed && !std::holds_alternative<ScriptError>(action)) {
    if (const std::size_t end = line.find_last_not_of(" \t\r"); end != std::string::npos) {
      CheckOutput(printer_->Note(line.substr(0, end + 1)));
    }
  }
  return std::visit([this](const auto& known) { return Execute(known); }, action);
}

int Session::Execute(const ScriptError& error) {
  std::fprintf(stderr, "%s:%zu:%zu: %s\n", input_name_.c_str(), line_number_, error.column,
               Printable(error.reason).c_str());
  return kBadScript;
}

int Session::Execute(const SendAction& action) {
  CheckOutput(printer_->Sent(action.message));
  const Clock::time_point sent = Clock::now();
  Page::Answer answer = page_->SendBlocking(action.message, timeout_);
  if (answer.outcome == Page::Outcome::kAnswered) {
    const Clock::time_point now = Clock::now();
    CheckOutput(
        printer_->Reply({action.message, line_number_, answer.value, now - sent, now - start_}));
    last_reply_ = std::move(answer.value);
    return kDone;
  }
  timed_out_ = answer.outcome == Page::Outcome::kTimedOut;
  return Stopped() != kDone ? Stopped() : Fail(kFailed, "no reply: " + Explain(answer.outcome));
}

std::string Session::Explain(Page::Outcome outcome) const {
  switch (outcome) {
    case Page::Outcome::kNoHandler:
      return "the plug-in has no message handler";
    case Page::Outcome::kTimedOut:
      return "the plug-in did not reply within " + std::to_string(timeout_.count() / 1000) + " s";
    case Page::Outcome::kNotPassable:
      return "the message or its reply is invalid or nested too deep";
    default:
      return "the page is closed";
  }
}

int Session::Execute(const PostAction& action) {
  CheckOutput(printer_->Sent({{"$post", action.message}}));
  if (page_->Post(action.message)) {
    return kDone;
  }
  return Stopped() != kDone ? Stopped() : Fail(kFailed, Explain(Page::Outcome::kNoHandler));
}

int Session::Execute(const WaitAction& action) {
  const Clock::time_point end = Clock::now() + action.time;
  do {
    Sleep(false, end);
    PrintEvents();
  } while (Stopped() == kDone && Clock::now() < end);
  return kDone;
}

int Session::Execute(const WaitForAction& action) {
  const Clock::time_point end = Clock::now() + action.timeout;
  for (;;) {
    PrintEvents();
    if (const std::optional<Json> event = TakeMatch(action.event)) {
      return action.expected ? Compare(*action.expected, *event) : kDone;
    }
    if (Stopped() != kDone) {
      return kDone;
    }
    if (Clock::now() >= end) {
      return Fail(kTimedOut, "no event matched " + ToLine(action.event) + " within " +
                                 std::to_string(action.timeout.count()) + " ms");
    }
    Sleep(false, end);
  }
}

int Session::Execute(const ExpectAction& action) {
  return last_reply_ ? Compare(action.reply, *last_reply_)
                     : Fail(kBadScript, "$expect has no reply to check yet");
}

int Session::Compare(const Json& expected, const Json& seen) const {
  return Matches(expected, seen)
             ? kDone
             : Fail(kUnexpected, "expected " + ToLine(expected) + ", got " + ToLine(seen));
}

std::optional<Json> Session::TakeMatch(const Json& wanted) {
  const auto found = std::find_if(unmatched_.begin(), unmatched_.end(),
                                  [&wanted](const Json& event) { return Matches(wanted, event); });
  if (found == unmatched_.end()) {
    return std::nullopt;
  }
  Json event = std::move(*found);
  unmatched_.erase(unmatched_.begin(), found + 1);
  return event;
}

}  // namespace lumivex::host
