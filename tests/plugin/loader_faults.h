#ifndef TESTS_PLUGIN_LOADER_FAULTS_H_
#define TESTS_PLUGIN_LOADER_FAULTS_H_

namespace lumivex::test {

// The dynamic loader as the plug-in's objects see it: it has the player library, or fails as told.
// Calls appear in the journal under their names.
struct LoaderFaults {
  static LoaderFaults& Get();

  bool missing = false;                // dlopen answers null ...
  const char* error = "no such file";  // ... and dlerror this, once
  bool has_entry = true;
  int close_result = 0;
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_LOADER_FAULTS_H_
