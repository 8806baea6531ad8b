#include "plugin_test.h"

#include <optional>

namespace lumivex::test {

void PluginTest::SetUp() {
  Stage::Reset();
  journal_.Take();
}

void PluginTest::TearDown() {
  Close();
}

void PluginTest::Load(Browser::Options options) {
  options.extension_system = services_;
  browser_ = std::make_unique<Browser>(std::move(options));
  std::string error;
  ASSERT_TRUE(LoadPlugin(browser_.get(), &error)) << error;
}

void PluginTest::Open() {
  ASSERT_NO_FATAL_FAILURE(Load());
  page_ = NewPage();
  ASSERT_NE(page_, nullptr);
  journal_.Take();
  now_ = {};
}

void PluginTest::Close() {
  page_.reset();
  if (browser_ == nullptr) {
    return;
  }
  std::string error;
  EXPECT_TRUE(browser_->Unload(&error)) << error;
  EXPECT_THAT(browser_->Defects(), IsEmpty());
  EXPECT_EQ(browser_->LiveVars(), 0);
  EXPECT_EQ(browser_->LiveResources(), 0);
  browser_.reset();
  EXPECT_EQ(stage_.players, 0);
  EXPECT_EQ(stage_.tuners, 0);
}

std::unique_ptr<Page> PluginTest::NewPage() {
  std::string error;
  std::unique_ptr<Page> page = browser_->CreatePage({}, &error);
  EXPECT_NE(page, nullptr) << error;
  return page;
}

std::string PluginTest::Send(const Json& message, Page* page) {
  host::VarTable* const vars = &browser_->vars();
  const host::OwnedVar request(vars, vars->FromJson(message).value());
  return Ask(vars, page == nullptr ? page_.get() : page, request.get());
}

void PluginTest::Compare(const Json& message) {
  SCOPED_TRACE(message.dump());
  journal_.Take();
  const std::string reply = Send(message);
  const Lines journal = journal_.Take();
  const Outcome expected = Expect(message, &now_);
  EXPECT_EQ(reply, expected.reply);
  EXPECT_THAT(journal, ElementsAreArray(expected.journal));
}

Json PluginTest::Request(const std::string& module,
                         const std::string& command,
                         const std::string& arguments) {
  Json message = Json::parse(arguments);
  message["moduleName"] = module;
  message["command"] = command;
  return message;
}

std::vector<Json> PluginTest::Events(Page* page) {
  std::vector<Json> events;
  while (std::optional<Json> event = (page == nullptr ? *page_ : *page).NextEvent()) {
    events.push_back(std::move(*event));
  }
  return events;
}

}  // namespace lumivex::test
