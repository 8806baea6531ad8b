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

// How long the plug-in may take to end once the script has ended.
inline constexpr std::chrono::seconds kGrace{5};

// Exit statuses of lumivex-host. A signal that ends it gives 128 and its number, as in a shell.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  // no plug-in, a message without an answer
inline constexpr int kBadScript = 2;
inline constexpr int kWaitRanOut = 3;
inline constexpr int kPluginDefect = 4;
inline constexpr int kUnexpected = 5;

// Plays a script as the one thread of a page would: while a blocking message is out no event is
// seen; the events posted meanwhile come right behind its reply, before the next line.
class Session {
 public:
  // input_name is what errors call the script; timeout is how long a message may take.
  Session(Input* input,
          std::string input_name,
          Printer* printer,
          std::chrono::milliseconds timeout);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Any thread; in the order of posting.
  void AddEvent(Json event);
  // Any thread: ends the script, with this as the exit status.
  void Interrupt(int status);

  // Plays the script to its end and answers the exit status. Errors go to standard error. Before
  // the end it waits until what was posted has been handled, unless a message timed out before.
  int Run(Page* page);
  // Prints the events that have come; for those that come between the script's end and the page's.
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
  // Sleeps until an event comes, the script is interrupted or, if asked for, there is input.
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

  // Of the script's thread.
  Page* page_ = nullptr;
  std::size_t line_number_ = 0;
  std::deque<Json> unmatched_;  // the newest since the one that satisfied the last $waitFor
  std::optional<Json> last_reply_;
  bool timed_out_ = false;
  int output_status_ = kDone;
};

}  // namespace lumivex::host

#endif  // HOST_SESSION_H_
