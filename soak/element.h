#ifndef SOAK_ELEMENT_H_
#define SOAK_ELEMENT_H_

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "host/browser.h"
#include "pause.h"
#include "promises.h"
#include "random.h"

namespace lumivex::soak {

// What all elements did so far.
struct Counts {
  static constexpr std::array<int, 5> kCodes = {0, 9, 11, 18, 26};

  std::atomic<int64_t> opened{0};
  std::atomic<int64_t> messages{0};  // sent, blocking and not
  std::array<std::atomic<int64_t>, kCodes.size()> replies{};
  std::atomic<int64_t> events{0};   // that reached their page
  std::atomic<int64_t> dropped{0};  // events whose page was gone
};

// One element of the plug-in with a thread of the page that sends messages all the time. Checks
// every reply and every event.
class Element {
 public:
  // Main thread, as is the destructor. The number is the element's own in the process. What is
  // pointed at must outlive the element.
  Element(host::Browser* browser,
          test::AnsweringServices* services,
          int number,
          Pause* pause,
          Counts* counts);
  ~Element();  // in the midst of everything
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  // In a pause: waits until all that was sent is done and answered.
  void Settle();

 private:
  void Send();
  bool SendOne();  // false: the page is gone
  bool SendBlocking(PP_Var message, const std::string& text);
  bool Post(PP_Var message);
  void OnEvent(const host::Json& event);
  void OnPostedReply(const host::Json& reply);

  host::VarTable* const vars_;
  const int number_;
  Pause* const pause_;
  Counts* const counts_;
  Random random_;            // of the sender
  bool tuner_held_ = false;  // sender

  std::mutex mutex_;
  std::deque<test::Expected> posted_;  // guarded by mutex_

  std::unique_ptr<host::Page> page_;
  test::Privileges privileges_;
  std::thread sender_;
};

}  // namespace lumivex::soak

#endif  // SOAK_ELEMENT_H_
