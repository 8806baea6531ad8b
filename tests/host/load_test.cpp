// Loading a plug-in library by file, creating elements, the private interface, unloading.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <thread>

#include "host/browser.h"
#include "tables.h"

namespace lumivex::host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Json kPrivilege = {{"do", "privilege"},
                         {"value", "http://developer.quorvel.com/privilege/lumivexplayer"}};

TEST(LoadTest, LoadsAndUnloadsAgainAndAgain) {
  for (int round = 0; round < 3; ++round) {
    Browser browser;
    std::string error;
    ASSERT_TRUE(browser.Load(ECHO_PLUGIN, &error)) << error;
    EXPECT_FALSE(browser.Load(ECHO_PLUGIN, &error));
    EXPECT_THAT(error, HasSubstr("already"));
    std::unique_ptr<Page> page = browser.CreatePage({{"mode", "early"}});
    EXPECT_EQ(page->NextEvent(), Json("early"));
    EXPECT_EQ(page->SendBlocking({{"some", "thing"}}).value, Json({{"some", "thing"}}));
    EXPECT_EQ(browser.InterfaceRequests("PPB_Var;1.2"), 1);
    EXPECT_TRUE(browser.Unload(&error)) << error;  // closes the page
    EXPECT_FALSE(page->IsOpen());
    EXPECT_THAT(browser.Defects(), IsEmpty());
    EXPECT_EQ(dlopen(ECHO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays";
  }
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

  ModuleEntry entry = Plugin::Entry();
  entry.get_interface = [](const char*) -> const void* { return nullptr; };
  EXPECT_FALSE(browser.LoadModule(entry, &error));
  EXPECT_THAT(error, HasSubstr("PPP_Instance;1.1"));
  EXPECT_EQ(Browser::GetInterface("PPB_NoSuch;1.0"), nullptr);
  EXPECT_EQ(Browser::GetInterface(nullptr), nullptr);
}

TEST(LoadTest, RefusedElementIsNoPage) {
  Browser browser;
  ASSERT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
  std::string error;
  EXPECT_EQ(browser.CreatePage({{"other", "refuse"}, {"mode", "refuse"}}, &error), nullptr);
  EXPECT_THAT(error, HasSubstr("refused"));
  browser.Unload();
  EXPECT_THAT(browser.Defects(), IsEmpty());
}

TEST(LoadTest, LeaksAreReportedWhenTheLibraryIsGone) {
  Browser browser;
  ASSERT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
  std::unique_ptr<Page> page = browser.CreatePage();
  page->SendBlocking({{"do", "leak"}});
  page->SendBlocking({{"do", "twice"}});
  page.reset();
  EXPECT_EQ(browser.LiveVars(), 1);
  browser.Unload();
  EXPECT_THAT(browser.Defects(), ElementsAre(HasSubstr("was already released"),
                                             "leaked: string \"forgotten\", references: 1"));
}

TEST(LoadTest, PrivateInterfaceAnswersAsTheRuntimeWould) {
  const std::string host = "http://developer.quorvel.com";
  const struct {
    const char* what;
    std::set<std::string> denied;
    Json uri;
    bool granted;
  } kCases[] = {
      {"known", {}, host + "/privilege/lumivexplayer", true},
      {"on another host", {}, "http://x/privilege/lumivexrfmanager", true},
      {"unknown path", {}, host + "/privilege/other", false},
      {"longer path", {}, host + "/privilege/lumivexplayer/x", false},
      {"no URI", {}, "/privilege/lumivexplayer", false},
      {"no host", {}, "http:///privilege/lumivexplayer", false},
      {"no string", {}, 5, false},
      {"another denied", {"/privilege/lumivexrfmanager"}, host + "/privilege/lumivexplayer", true},
  };
  for (const auto& c : kCases) {
    Browser::Options options;
    options.extension_answers.denied_privileges = c.denied;
    Browser browser(options);
    ASSERT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
    const auto page = browser.CreatePage();
    EXPECT_EQ(page->SendBlocking({{"do", "privilege"}, {"value", c.uri}}).value, c.granted)
        << c.what;
    ASSERT_EQ(browser.GenericSyncCalls().size(), 1U);
    const SyncCall call = browser.GenericSyncCalls().front();
    EXPECT_EQ(call.instance, page->instance());
    EXPECT_EQ(call.operation, "check_ace_privilege");
    EXPECT_EQ(call.data, c.uri);
    EXPECT_EQ(call.result, 0);
  }
}

TEST(LoadTest, PrivateInterfaceCanBeSilentReplacedOrAbsent) {
  class Stubborn : public ExtensionSystem {
   public:
    int32_t GenericSyncCall(VarTable& vars, PP_Instance, PP_Var, PP_Var, PP_Var* result) override {
      *result = vars.FromUtf8("no bool");
      return 0;
    }
  };
  const auto ask = [](const Browser::Options& options) {
    Browser browser(options);
    EXPECT_TRUE(browser.Load(ECHO_PLUGIN, nullptr));
    const Json answer = browser.CreatePage()->SendBlocking(kPrivilege).value;
    EXPECT_EQ(browser.InterfaceRequests("PPB_ExtensionSystem_Quorvel;0.1"), 1);
    browser.Unload();
    EXPECT_THAT(browser.Defects(), IsEmpty());
    return answer;
  };
  Browser::Options options;
  options.extension_system = std::make_shared<Stubborn>();
  EXPECT_EQ(ask(options), "no bool");
  options.offer_extension_system = false;
  EXPECT_EQ(ask(options), nullptr);
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
