#ifndef FUZZ_COMMON_PROMISES_H_
#define FUZZ_COMMON_PROMISES_H_

// What a page is promised, whatever it sends and whatever the platform answers. A broken promise
// ends the process.

#include <array>
#include <cstddef>
#include <string>

#include "answers.h"
#include "host/browser.h"

namespace lumivex::test {

struct PromisedCommand {
  const char* name;
  char value;        // of the reply: b bool, i int32, d double, s string, x bool or int32
  const char* keys;  // that a request must have, each ended by a blank; a string when after "
  char tuner;        // o: obtains the tuner, u: only uses it, t: and also refuses track types
};
extern const std::array<PromisedCommand, 34> kCommands;

struct Privileges {
  bool player = false;
  bool tuner = false;
};

// The browser's private services, answering what Say() says. A privilege is held only when they
// said true and no more; the privileges are those of the page that asked last.
class AnsweringServices : public host::ExtensionSystem {
 public:
  int32_t GenericSyncCall(host::VarTable& vars,
                          PP_Instance instance,
                          PP_Var operation,
                          PP_Var data,
                          PP_Var* result) override;

  Privileges privileges;
};

// What a message comes to by its envelope.
struct Expected {
  int code;                        // 0: the command runs
  const PromisedCommand* command;  // that runs
  std::string name;                // of a posted reply
};
Expected Envelope(host::VarTable* vars, const Privileges& privileges, PP_Var message);

// Checks the four values of a reply as the page reads them, and how many members there are in all.
// Answers the code.
int CheckReply(const host::Json& reply, std::size_t members);

// What is known of the platform at the time of a reply.
struct Circumstances {
  bool tuner_held;
  bool bad_text;  // it may have given text that is not UTF-8
};

// Checks the reply to a blocking message. Answers the code.
int CheckAnswer(host::VarTable* vars,
                PP_Var message,
                const Expected& expected,
                PP_Var answer,
                const Circumstances& now);

// Checks the reply to a posted message.
void CheckPostedReply(const host::Json& reply, const Expected& expected);

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_PROMISES_H_
