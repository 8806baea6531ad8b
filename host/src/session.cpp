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

namespace lumivex::host {

namespace {

// A command that takes longer than this is taken for one that hangs.
constexpr std::chrono::seconds kPatience{60};

const char* Explain(Page::Outcome outcome) {
  switch (outcome) {
    case Page::Outcome::kNoHandler:
      return "the plug-in has no message handler registered";
    case Page::Outcome::kTimedOut:
      return "the plug-in did not answer within 60 s";
    case Page::Outcome::kNotPassable:
      return "the message or its answer cannot be passed";
    default:
      return "the page is gone";
  }
}

}  // namespace

Session::Session(Input* input, std::string input_name, Printer* printer)
    : input_(input),
      input_name_(std::move(input_name)),
      printer_(printer),
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
  const int status = RunScript();
  if (interrupted_ == kDone) {
    page->Settle(kPatience);
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
        // A slip of the hand should not cost a person at the keyboard the session.
        if (result != kBadScript || isatty(input_->descriptor()) == 0) {
          return status;
        }
      }
      continue;
    }
    if (input_->AtEnd()) {
      return status;
    }
    Sleep(true, Clock::time_point::max());
  }
}

int Session::Stopped() const {
  return interrupted_ != kDone ? interrupted_.load() : output_status_;
}

int Session::Fail(int status, const std::string& reason) const {
  std::fprintf(stderr, "%s:%zu: %s\n", input_name_.c_str(), line_number_, reason.c_str());
  return status;
}

void Session::CheckOutput(bool written) {
  if (written || output_status_ != kDone) {
    return;
  }
  if (errno == EPIPE) {  // whoever read the output has seen enough
    output_status_ = 128 + SIGPIPE;
  } else {
    std::fprintf(stderr, "lumivex-host: cannot write the output: %s\n", std::strerror(errno));
    output_status_ = kFailed;
  }
}

void Session::PrintEvents() {
  std::deque<Arrival> arrived;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    arrived.swap(arrived_);
  }
  for (Arrival& arrival : arrived) {
    if (output_status_ == kDone) {
      CheckOutput(printer_->Event(arrival.event, arrival.time - start_));
    }
    unmatched_.push_back(std::move(arrival.event));
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
  return std::visit([this](const auto& action) { return Execute(action); }, ReadScriptLine(line));
}

int Session::Execute(const ScriptError& error) {
  std::fprintf(stderr, "%s:%zu:%zu: %s\n", input_name_.c_str(), line_number_, error.column,
               error.reason.c_str());
  return kBadScript;
}

int Session::Execute(const SendAction& action) {
  CheckOutput(printer_->Sent(action.message));
  const Clock::time_point sent = Clock::now();
  const Page::Answer answer = page_->SendBlocking(action.message, kPatience);
  if (answer.outcome == Page::Outcome::kAnswered) {
    CheckOutput(printer_->Reply(answer.value, Clock::now() - sent));
    return kDone;
  }
  return Stopped() != kDone
             ? Stopped()
             : Fail(kFailed, std::string("the message has no answer: ") + Explain(answer.outcome));
}

int Session::Execute(const PostAction& action) {
  CheckOutput(printer_->Sent({{"$post", action.message}}));
  if (page_->Post(action.message)) {
    return kDone;
  }
  return Stopped() != kDone ? Stopped() : Fail(kFailed, "the plug-in receives no messages");
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
    if (TakeMatch(action.event) || Stopped() != kDone) {
      return kDone;
    }
    if (Clock::now() >= end) {
      return Fail(kWaitRanOut, "no event with " + ToLine(action.event) + " came within " +
                                   std::to_string(action.timeout.count()) + " ms");
    }
    Sleep(false, end);
  }
}

bool Session::TakeMatch(const Json& wanted) {
  const auto found = std::find_if(unmatched_.begin(), unmatched_.end(),
                                  [&wanted](const Json& event) { return Matches(wanted, event); });
  if (found == unmatched_.end()) {
    return false;
  }
  unmatched_.erase(unmatched_.begin(), found + 1);
  return true;
}

}  // namespace lumivex::host
