#ifndef TESTS_PLUGIN_LOAD_LINKED_H_
#define TESTS_PLUGIN_LOAD_LINKED_H_

#include <mutex>
#include <set>
#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

namespace lumivex::test {

// The browser's tables in these tests. Their calls go to the browser, are remembered by name
// ("PPB_Var.AddRef", and "interface PPB_Var;1.2" for asking for a table), and fail on demand. What
// the plug-in posts appears in the journal as "post {...}" with the types of the vars. Any thread.
class BrowserCalls {
 public:
  static BrowserCalls& Get();

  std::set<std::string> Take();  // names since the last time
  // From now on the calls of that name fail and no other, or the nth of them alone; none when
  // empty.
  void Fail(const std::string& name, int nth = 0);
  int Failed();                 // calls since something was last told to fail
  bool Note(const char* name);  // whether the call has to fail

 private:
  std::mutex mutex_;
  std::set<std::string> names_;
  std::string failing_;
  int nth_ = 0;
  int noted_ = 0;  // calls of that name
  int failed_ = 0;
};

// What the plug-in registered last. While registrations are swallowed they are answered with
// success and go no further.
struct Registrations {
  static Registrations& Get();

  bool swallow = false;
  PP_Instance instance = 0;
  void* handler = nullptr;
  PP_Resource loop = 0;
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_LOAD_LINKED_H_
