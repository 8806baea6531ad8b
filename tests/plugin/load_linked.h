#ifndef TESTS_PLUGIN_LOAD_LINKED_H_
#define TESTS_PLUGIN_LOAD_LINKED_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

namespace lumivex::test {

// The browser in these tests notes what the plug-in posts, with the types of the vars, as
// "post {...}" in the journal, and what it registers here. While registrations are swallowed they
// are answered with success and go no further.
struct Registrations {
  static Registrations& Get();

  bool swallow = false;
  PP_Instance instance = 0;
  void* handler = nullptr;
  PP_Resource loop = 0;
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_LOAD_LINKED_H_
