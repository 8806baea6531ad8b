// The bridge to the runtime's private services.

#include "ExtensionSystemQuorvel.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

constexpr char kInterface[] = "PPB_ExtensionSystem_Quorvel;0.1";

class Bridge : public PluginTest {
 protected:
  // The next answer of the runtime, whatever it is asked.
  void Answer(int32_t status, const std::function<PP_Var(host::VarTable* vars)>& make) {
    services_->answer = [this, status, make](PP_Instance, const std::string&, PP_Var* result) {
      *result = make(&browser_->vars());
      return status;
    };
  }

  template <class Object>
  Object Make() {
    return Object(pp::InstanceHandle(page_->instance()));
  }
};

PP_Var True(host::VarTable*) {
  return host::BoolVar(true);
}
PP_Var False(host::VarTable*) {
  return host::BoolVar(false);
}
PP_Var One(host::VarTable*) {
  return host::IntVar(1);
}
PP_Var Fraction(host::VarTable*) {
  return host::DoubleVar(-7.9);
}
PP_Var Text(host::VarTable* vars) {
  return vars->FromUtf8("true");
}
PP_Var Null(host::VarTable*) {
  return host::NullVar();
}

TEST_F(Bridge, AnswersOfEveryType) {
  Open();
  const struct {
    int32_t status;
    PP_Var (*make)(host::VarTable*);
    bool as_bool;
    int32_t window;
    const char* raw;
  } kCases[] = {
      {0, &True, true, -1, "true"},       {0, &False, false, -1, "false"},
      {0, &One, false, 1, "1"},           {0, &Fraction, false, -7, "double -7.9000000000000004"},
      {0, &Text, false, -1, "\"true\""},  {0, &Null, false, -1, "null"},
      {1, &True, false, -1, "undefined"}, {-2, &One, false, -1, "undefined"},
  };
  const int64_t vars = browser_->LiveVars();
  for (const auto& row : kCases) {
    SCOPED_TRACE(std::string(row.raw) + ", status " + std::to_string(row.status));
    Answer(row.status, row.make);
    auto bridge = Make<pp::ExtensionSystemQuorvelKelvo>();
    EXPECT_EQ(bridge.CheckPrivilege("p"), row.as_bool);
    EXPECT_EQ(bridge.SetIMERecommendedWords("w"), row.as_bool);
    EXPECT_EQ(bridge.SetIMERecommendedWordsType(row.as_bool), row.as_bool);
    EXPECT_EQ(bridge.GetWindowId(), row.window);
    EXPECT_EQ(bridge.GetWindowId(), row.window);  // asked for every time
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

TEST_F(Bridge, PrivilegesAreAskedOncePerObject) {
  Open();
  for (const bool first : {true, false}) {
    SCOPED_TRACE(first);
    auto bridge = Make<pp::ExtensionSystemQuorvelWRT>();
    Answer(0, first ? &True : &False);
    EXPECT_EQ(bridge.CheckPrivilege("http://a"), first);
    Answer(0, first ? &False : &True);
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
  Answer(0, &True);
  for (const pp::Var& no_text : {pp::Var(5), pp::Var(), pp::Var(true), pp::Var(pp::Var::Null())}) {
    EXPECT_FALSE(bridge.CheckPrivilege(no_text));
  }
  EXPECT_THAT(journal_.Take(), IsEmpty());
  // A number's text was not kept as an answer.
  EXPECT_TRUE(bridge.CheckPrivilege("5"));
}

TEST_F(Bridge, TheEmbeddersNameAndInformation) {
  Open();
  const int64_t vars = browser_->LiveVars();
  {
    auto bridge = Make<pp::ExtensionSystemQuorvel>();
    const std::pair<PP_Var (*)(host::VarTable*), const char*> kNames[] = {
        {&Text, "true"}, {&One, ""}, {&Null, ""}};
    for (const auto& [make, name] : kNames) {
      services_->embedder_name = make;
      EXPECT_EQ(bridge.GetEmbedderName(), name);
    }
    EXPECT_EQ(Describe(&browser_->vars(), bridge.GetCurrentExtensionInfo().pp_var()), "{}");
  }
  EXPECT_EQ(browser_->LiveVars(), vars);
}

TEST_F(Bridge, TheFirstAnswerOnTheEmbedderIsKept) {
  Open();
  EXPECT_TRUE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  services_->embedder_name = [](host::VarTable* vars) { return vars->FromUtf8("Another"); };
  EXPECT_TRUE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  EXPECT_THAT(journal_.Take(), ElementsAre("bridge embedder name"));
  EXPECT_EQ(Make<pp::ExtensionSystemQuorvel>().GetEmbedderName(), "Another");
}

TEST_F(Bridge, ANoOnTheEmbedderIsKeptToo) {
  Open();
  services_->embedder_name = [](host::VarTable* vars) { return vars->FromUtf8("kelvowrt"); };
  EXPECT_FALSE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
  services_->embedder_name = nullptr;
  EXPECT_FALSE(Make<pp::ExtensionSystemQuorvelWRT>().IsValid());
}

TEST_F(Bridge, WithoutTheInterfaceEverythingFailsAndNobodyAsksAgain) {
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
