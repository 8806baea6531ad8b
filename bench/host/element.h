#ifndef BENCH_HOST_ELEMENT_H_
#define BENCH_HOST_ELEMENT_H_

#include <memory>
#include <string>

#include "host/browser.h"
#include "host/json.h"

namespace lumivex::bench {

enum class Plugin { kLumivex, kEcho };
const char* PathOf(Plugin plugin);

// Ends the program: a benchmark's precondition does not hold.
[[noreturn]] void Fail(const std::string& problem);

// A browser with one of the plug-ins and any number of its elements. One at a time; main thread.
// Fails at the end on leaks and misuse.
class Session {
 public:
  explicit Session(Plugin plugin);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  host::Browser& browser() { return browser_; }
  std::unique_ptr<host::Page> CreatePage(host::Browser::EventCallback on_event = nullptr);

 private:
  void* library_ = nullptr;
  host::Browser browser_;
};

// One element with player and tuner, ready for any command.
class Element {
 public:
  explicit Element(Plugin plugin, host::Browser::EventCallback on_event = nullptr);

  host::VarTable& vars() { return session_.browser().vars(); }
  host::Page& page() { return *page_; }
  host::OwnedVar Var(const host::Json& json);

  // Calls the plug-in's registered handler on this thread, without the browser's loop and copies.
  host::OwnedVar Ask(PP_Var message);
  // Sends once, on the element's thread. Fails unless the reply has the code or, from the echo
  // plug-in, is the message itself.
  void Check(const host::Json& message, int code);

 private:
  const Plugin plugin_;
  Session session_;
  std::unique_ptr<host::Page> page_;
};

}  // namespace lumivex::bench

#endif  // BENCH_HOST_ELEMENT_H_
