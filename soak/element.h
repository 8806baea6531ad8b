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
#include "promises.h"
#include "random.h"

namespace lumivex::soak {

// What all elements did so far.
struct Counts {
  static constexpr std::array<int, 5> kCodes = {0, 9, 11, 18, 26};

  std::atomic<int64_t> opened{0};
  std::atomic<int64_t> messages{0};  // sent, blocking and not
  std::array<std::atomic<int64_t>, kCodes.size()> replies{};
  std::atomic<int64_t> events{0};  // that reached their page
};

// One element of the plug-in with a thread of the page that sends messages all the time. Checks
// every reply and every event.
class Element {
 public:
  // Main thread, as is the destructor. The number is the element's own in the process.
  Element(host::Browser* browser, test::AnsweringServices* services, int number, Counts* counts);
  ~Element();  // in the midst of everything
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

 private:
  void Send();
  bool SendBlocking(PP_Var message, const std::string& text);  // false: the page is gone
  bool Post(PP_Var message);
  void OnEvent(const host::Json& event);
  void OnPostedReply(const host::Json& reply);

  host::VarTable* const vars_;
  const int number_;
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
