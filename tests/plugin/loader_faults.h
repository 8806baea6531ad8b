#ifndef TESTS_PLUGIN_LOADER_FAULTS_H_
#define TESTS_PLUGIN_LOADER_FAULTS_H_

#include <string>

namespace lumivex::test {

// The dynamic loader as the plug-in's objects see it: it has the player library, or fails as told.
// Calls appear in the journal under their names.
struct LoaderFaults {
  static LoaderFaults& Get();

  // "dlopen", "dlsym", "dlclose", or "dlerror", which gives no reason for a dlopen that fails.
  std::string failing;
  int open = 0;  // handles
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_LOADER_FAULTS_H_
