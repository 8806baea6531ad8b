// Loading a plug-in library by file, creating elements, the private interface, unloading.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/browser.h"
#include "tables.h"

namespace lumivex::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(LoadTest, LoadsAndUnloadsAgainAndAgain) {
  for (int round = 0; round < 3; ++round) {
    std::vector<Json> dropped;
    Browser::Options options;
    options.on_dropped = [&dropped](const Json& event) { dropped.push_back(event); };
    Browser browser(options);
    std::string error;
    ASSERT_TRUE(browser.Load(ECHO_PLUGIN, &error)) << error;
    EXPECT_FALSE(browser.Load(ECHO_PLUGIN, &error));
    EXPECT_THAT(error, HasSubstr("already"));
    std::unique_ptr<Page> page = browser.CreatePage({{"mode", "early"}});
    EXPECT_EQ(page->NextEvent(), Json("early"));
    EXPECT_EQ(page->SendBlocking({{"some", "thing"}}).value, Json({{"some", "thing"}}));
    EXPECT_EQ(browser.InterfaceRequests("PPB_Var;1.2"), 1);
    page->SendBlocking({{"do", "window"}});
    ASSERT_EQ(browser.GenericSyncCalls().size(), 1U);
    EXPECT_EQ(browser.GenericSyncCalls().front().instance, page->instance());
    EXPECT_EQ(browser.GenericSyncCalls().front().operation, "get_window_id");
    EXPECT_EQ(browser.GenericSyncCalls().front().result, 0);
    EXPECT_TRUE(browser.Unload(&error)) << error;  // closes the page
    EXPECT_FALSE(page->IsOpen());
    EXPECT_THAT(dropped, ElementsAre("shut down"));
    EXPECT_THAT(browser.Defects(), IsEmpty());
    EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";
  }
}

TEST(LoadTest, TheEndOfTheBrowserUnloads) {
  ASSERT_TRUE(Browser().Load(ECHO_PLUGIN, nullptr));
  EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";
}

TEST(LoadTest, FailuresSayWhy) {
  Browser browser;
  std::string error;
  EXPECT_EQ(browser.CreatePage({}, &error), nullptr);
  EXPECT_THAT(error, HasSubstr("no plug-in"));
  EXPECT_FALSE(browser.Load("/nowhere/plugin.so", &error));
  EXPECT_THAT(error, HasSubstr("/nowhere/plugin.so"));
  EXPECT_FALSE(browser.Load("libm.so.6", &error));
  EXPECT_THAT(error, HasSubstr("PPP_InitializeModule"));
  browser.WithholdInterface("PPB_Messaging;1.2");
  EXPECT_FALSE(browser.Load(ECHO_PLUGIN, &error));
  EXPECT_THAT(error, HasSubstr("returned -2"));
  EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";

  static int shutdowns = 0;
  ModuleEntry entry = Plugin::Entry();
  entry.shutdown = [] { ++shutdowns; };
  entry.get_interface = [](const char*) -> const void* { return nullptr; };
  EXPECT_FALSE(browser.LoadModule(entry, &error));
  EXPECT_THAT(error, HasSubstr("PPP_Instance;1.1"));
  EXPECT_EQ(shutdowns, 1);
  EXPECT_EQ(Browser::GetInterface("PPB_NoSuch;1.0"), nullptr);
  EXPECT_EQ(Browser::GetInterface(nullptr), nullptr);
}

TEST(LoadTest, RefusedElementIsNoPage) {
  Browser browser;
  ASSERT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
  for (const char* mode : {"refuse", "throw"}) {
    std::string error;
    EXPECT_EQ(browser.CreatePage({{"other", "early"}, {"mode", mode}}, &error), nullptr);
    EXPECT_THAT(error, HasSubstr("refused"));
    EXPECT_EQ(browser.LiveResources(), 0);
  }
  browser.Unload();
  EXPECT_THAT(browser.Defects(), IsEmpty());
}

TEST(LoadDeathTest, OneBrowserOnItsOwnThread) {
  testing::GTEST_FLAG(death_test_style) = DEATH_TEST_STYLE;
  EXPECT_DEATH(
      {
        Browser first;
        Browser second;
      },
      "another browser exists");
  EXPECT_DEATH(
      {
        Browser browser;
        std::thread([&browser] { browser.CreatePage(); }).join();
      },
      "not called on the browser");
}

}  // namespace
}  // namespace lumivex::host
