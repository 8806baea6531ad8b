#ifndef BENCH_HOST_ELEMENT_H_
#define BENCH_HOST_ELEMENT_H_

#include <memory>
#include <string>

#include "host/browser.h"
#include "host/json.h"

namespace lumivex::bench {

enum class Plugin { kLumivex, kEcho };
const char* PathOf(Plugin plugin);

// Ends the program: what a benchmark stands on is not as it has to be, so that no figure counts.
[[noreturn]] void Fail(const std::string& problem);

// A browser with one of the plug-ins, and as many elements of it as wanted. One at a time; main
// thread. In the end everything must have been given back to the browser, without a misuse.
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

// One element, ready for any of its commands: player and tuner are there.
class Element {
 public:
  explicit Element(Plugin plugin, host::Browser::EventCallback on_event = nullptr);

  host::VarTable& vars() { return session_.browser().vars(); }
  host::Page& page() { return *page_; }
  host::OwnedVar Var(const host::Json& json);

  // What the handler that the plug-in registered answers, asked on the calling thread, past the
  // browser's loop and the copying of messages.
  host::OwnedVar Ask(PP_Var message);
  // Asks once, on the element's thread. Fails unless the answer has the code, or without a code is
  // the message itself.
  void Check(const host::Json& message, int code);

 private:
  const Plugin plugin_;
  Session session_;
  std::unique_ptr<host::Page> page_;
};

}  // namespace lumivex::bench

#endif  // BENCH_HOST_ELEMENT_H_
