// The bridge to the runtime's private services.

#include "ExtensionSystemQuorvel.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr char kInterface[] = "PPB_ExtensionSystem_Quorvel;0.1";

class Bridge : public PluginTest {
 protected:
  // What the runtime answers from now on, whatever it is asked.
  void Answer(int32_t status, const Json& value) {
    services_->answer = [this, status, value](PP_Instance, const std::string&, PP_Var* result) {
      *result = browser_->vars().FromJson(value).value();
      return status;
    };
  }

  template <class Object>
  Object Make() {
    return Object(pp::InstanceHandle(page_->instance()));
  }
};

TEST_F(Bridge, ConvertsAnswersOfEveryType) {
  Open();
  const struct {
    int32_t status;
    Json value;
    bool as_bool;
    int32_t window;
    const char* raw;
  } kCases[] = {
      {0, true, true, -1, "true"},
      {0, false, false, -1, "false"},
      {0, 1, false, 1, "1"},
      {0, -7.9, false, -7, "double -7.9000000000000004"},
      {0, "true", false, -1, "\"true\""},
      {0, nullptr, false, -1, "null"},
      {1, true, false, -1, "undefined"},
      {-2, 1, false, -1, "undefined"},
  };
  const int64_t vars = browser_->LiveVars();
  for (const auto& row : kCases) {
    SCOPED_TRACE(std::string(row.raw) + ", status " + std::to_string(row.status));
    Answer(row.status, row.value);
    auto bridge = Make<pp::ExtensionSystemQuorvelKelvo>();
    EXPECT_EQ(bridge.CheckPrivilege("p"), row.as_bool);
    EXPECT_EQ(bridge.SetIMERecommendedWords("w"), row.as_bool);
    EXPECT_EQ(bridge.SetIMERecommendedWordsType(row.as_bool), row.as_bool);
    EXPECT_EQ(bridge.GetWindowId(), row.window);
    EXPECT_EQ(bridge.GetWindowId(), row.window);  // never cached
    EXPECT_EQ(Describe(&browser_->vars(), bridge.GenericSyncCall("op", pp::Var(5)).pp_var()),
              row.raw);
    EXPECT_THAT(journal_.Take(),
                ElementsAreArray(Script(
                    R"(bridge check_ace_privilege "p" | bridge set_ime_recommended_words "w" | )"
                    "bridge set_ime_recommended_words_type " +
                    std::string(row.as_bool ? "true" : "false") +
                    " | bridge get_window_id undefined | bridge get_window_id undefined | "
                    "bridge op 5")));
  }
  EXPECT_EQ(browser_->LiveVars(), vars);
}

TEST_F(Bridge, AsksForAPrivilegeOncePerObject) {
  Open();
  for (const bool first : {true, false}) {
    SCOPED_TRACE(first);
    auto bridge = Make<pp::ExtensionSystemQuorvelWRT>();
    Answer(0, first);
    EXPECT_EQ(bridge.CheckPrivilege("http://a"), first);
    Answer(0, !first);
    EXPECT_EQ(bridge.CheckPrivilege("http://a"), first);
    EXPECT_EQ(bridge.CheckPrivilege(std::string("http://a")), first);
    EXPECT_EQ(bridge.CheckPrivilege("http://b"), !first);
    EXPECT_EQ(bridge.CheckPrivilege(""), !first);
    EXPECT_EQ(Make<pp::ExtensionSystemQuorvelWRT>().CheckPrivilege("http://a"), !first);
    EXPECT_THAT(journal_.Take(), ElementsAre(R"(bridge check_ace_privilege "http://a")",
                                             R"(bridge check_ace_privilege "http://b")",
                                             R"(bridge check_ace_privilege "")",
                                             R"(bridge check_ace_privilege "http://a")"));
  }
  auto bridge = Make<pp::ExtensionSystemQuorvelWRT>();
  Answer(0, true);
  for (const pp::Var& no_text : {pp::Var(5), pp::Var(), pp::Var(true), pp::Var(pp::Var::Null())}) {
    EXPECT_FALSE(bridge.CheckPrivilege(no_text));
  }
  EXPECT_THAT(journal_.Take(), IsEmpty());
  // The answer for a number was not cached under its text.
  EXPECT_TRUE(bridge.CheckPrivilege("5"));
}

TEST_F(Bridge, PassesOnTheEmbeddersNameAndInformation) {
  Open();
  const int64_t vars = browser_->LiveVars();
  {
    auto bridge = Make<pp::ExtensionSystemQuorvel>();
    const std::pair<Json, const char*> kNames[] = {{"true", "true"}, {1, ""}, {nullptr, ""}};
    for (const auto& [answer, name] : kNames) {
      services_->embedder_name = answer;
      EXPECT_EQ(bridge.GetEmbedderName(), name);
    }
    EXPECT_EQ(Describe(&browser_->vars(), bridge.GetCurrentExtensionInfo().pp_var()), "{}");
  }
  EXPECT_EQ(browser_->LiveVars(), vars);
}

TEST_F(Bridge, RemembersTheFirstEmbedder) {
  Open();
  EXPECT_TRUE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  services_->embedder_name = "Another";
  EXPECT_TRUE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  EXPECT_THAT(journal_.Take(), ElementsAre("bridge embedder name"));
  EXPECT_EQ(Make<pp::ExtensionSystemQuorvel>().GetEmbedderName(), "Another");
}

TEST_F(Bridge, RemembersAForeignEmbedder) {
  Open();
  services_->embedder_name = "kelvowrt";
  EXPECT_FALSE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  services_->embedder_name = "KelvoWRT";
  EXPECT_FALSE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
}

TEST_F(Bridge, FailsWithoutTheInterfaceAndAsksForItOnce) {
  Load();
  browser_->WithholdInterface(kInterface);
  page_ = NewPage();
  auto bridge = Make<pp::ExtensionSystemQuorvelWRT>();
  EXPECT_FALSE(bridge.CheckPrivilege("http://a"));
  EXPECT_EQ(bridge.GetWindowId(), -1);
  EXPECT_EQ(bridge.GetEmbedderName(), "");
  EXPECT_FALSE(bridge.IsValid());
  EXPECT_FALSE(bridge.SetIMERecommendedWords("w"));
  EXPECT_FALSE(bridge.SetIMERecommendedWordsType(true));
  EXPECT_TRUE(bridge.GetCurrentExtensionInfo().is_undefined());
  EXPECT_TRUE(bridge.GenericSyncCall("check_ace_privilege", "http://a").is_undefined());
  EXPECT_EQ(browser_->InterfaceRequests(kInterface), 1);
}

}  // namespace
}  // namespace lumivex::test
