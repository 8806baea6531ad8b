#ifndef TESTS_PEPPER_PEPPER_TEST_H_
#define TESTS_PEPPER_PEPPER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/browser.h"
#include "ppapi/c/pp_var.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/module.h"

namespace lumivex::test {

// What the plug-in of these tests does.
struct Plugin {
  static Plugin& Get();
  static void Reset();

  bool creates_module = true;
  bool module_starts = true;
  enum { kInstance, kNoInstance, kThrows } creates = kInstance;
  bool instance_starts = true;

  int modules = 0;    // alive
  int instances = 0;  // alive
  pp::Instance* instance = nullptr;
  std::vector<std::string> seen;      // by the instance
  std::atomic<bool> attached{false};  // a thread to its loop
};

// References that the wrapper library holds, by var: what it was given, added and released.
struct References {
  static References& Get();
  static int Of(const PP_Var& var) { return Get().counts[var.value.as_id]; }

  std::map<int64_t, int> counts;
  int calls = 0;
};

// Loads the library into a browser that watches the counts.
class PepperTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;  // nothing may be left, nothing may have been used wrongly

  void Load(const std::vector<std::string>& withheld = {});
  void Open();  // with one page

  std::unique_ptr<host::Browser> browser_;
  std::unique_ptr<host::Page> page_;
};

}  // namespace lumivex::test

#endif  // TESTS_PEPPER_PEPPER_TEST_H_
