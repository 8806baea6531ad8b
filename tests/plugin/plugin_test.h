#ifndef TESTS_PLUGIN_PLUGIN_TEST_H_
#define TESTS_PLUGIN_PLUGIN_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "contract.h"
#include "host/browser.h"
#include "journal.h"
#include "page.h"
#include "stage.h"

namespace lumivex::test {

using host::Browser;
using host::Json;
using host::Page;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// Loads the plug-in as the test program does: the real library, or the objects linked into it.
bool LoadPlugin(Browser* browser, std::string* error);

// The fixture is the page. In the end everything must have been given back.
class PluginTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  void Load(Browser::Options options = {});
  void Open();  // loads and embeds the plug-in, with an empty journal
  void Close();
  std::unique_ptr<Page> NewPage();

  // The reply to a blocking message, as Describe has it.
  std::string Send(const Json& message, Page* page = nullptr);
  // Sends a message and compares reply and journal with the contract.
  void Compare(const Json& message);
  // Adds "moduleName" and "command" and fills in the rest from JSON text.
  static Json Request(const std::string& module,
                      const std::string& command,
                      const std::string& arguments = "{}");

  std::vector<Json> Events(Page* page = nullptr);  // not taken yet

  std::shared_ptr<PrivateServices> services_ = std::make_shared<PrivateServices>();
  Stage& stage_ = Stage::Get();
  Journal& journal_ = Journal::Get();
  std::unique_ptr<Browser> browser_;
  std::unique_ptr<Page> page_;
  Circumstances now_;  // for the contract
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_PLUGIN_TEST_H_
