#ifndef HOST_SESSION_H_
#define HOST_SESSION_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "host/browser.h"
#include "host/script.h"
#include "input.h"
#include "printer.h"

namespace lumivex::host {

// Time for the plug-in to shut down after the script.
inline constexpr std::chrono::seconds kGrace{5};

// Exit statuses of lumivex-host. A signal n gives 128 + n, as in a shell.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  // no plug-in, or a message without a reply
inline constexpr int kBadScript = 2;
inline constexpr int kTimedOut = 3;
inline constexpr int kPluginDefect = 4;
inline constexpr int kUnexpected = 5;

// Plays a script as the thread of a page would: no event is dispatched during a blocking message;
// those posted meanwhile follow right after its reply, before the next line.
class Session {
 public:
  // input_name is the script's name in errors; timeout is for one message.
  Session(Input* input,
          std::string input_name,
          Printer* printer,
          std::chrono::milliseconds timeout);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Any thread.
  void AddEvent(Json event);
  // Any thread. Ends the script with this exit status.
  void Interrupt(int status);

  // Plays the script and returns the exit status. Errors go to standard error. At the end it waits
  // until all posted messages have been handled, unless a message has timed out.
  int Run(Page* page);
  // Prints the events so far; call it again once the page is closed.
  void PrintEvents();

 private:
  using Clock = std::chrono::steady_clock;
  struct Arrival {
    Json event;
    Clock::time_point time;
  };

  int RunScript();
  int Execute(const std::string& line);
  int Execute(const NoAction&) { return kDone; }
  int Execute(const SendAction& action);
  int Execute(const PostAction& action);
  int Execute(const WaitAction& action);
  int Execute(const WaitForAction& action);
  int Execute(const ExpectAction& action);
  int Execute(const ScriptError& error);

  std::optional<Json> TakeMatch(const Json& wanted);
  int Compare(const Json& expected, const Json& seen) const;
  // Until an event arrives, the script is interrupted or, if for_input, there is input.
  void Sleep(bool for_input, Clock::time_point until);
  int Stopped() const;  // a status other than kDone ends the script
  void CheckOutput(bool written);
  int Fail(int status, const std::string& reason) const;
  std::string Explain(Page::Outcome outcome) const;

  static constexpr std::size_t kMaxUnmatched = 10000;

  Input* const input_;
  const std::string input_name_;
  Printer* const printer_;
  const std::chrono::milliseconds timeout_;
  const Clock::time_point start_ = Clock::now();
  const int wake_;  // an eventfd, counted up by AddEvent and Interrupt

  std::atomic<int> interrupted_{kDone};
  std::mutex mutex_;
  std::deque<Arrival> arrived_;  // guarded by mutex_

  // Used by the script's thread only.
  Page* page_ = nullptr;
  std::size_t line_number_ = 0;
  std::deque<Json> unmatched_;  // since the one that satisfied the last $waitFor
  std::optional<Json> last_reply_;
  bool timed_out_ = false;
  int output_status_ = kDone;
};

}  // namespace lumivex::host

#endif  // HOST_SESSION_H_
