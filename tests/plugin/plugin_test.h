#ifndef TESTS_PLUGIN_PLUGIN_TEST_H_
#define TESTS_PLUGIN_PLUGIN_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/browser.h"
#include "journal.h"
#include "player_recorder.h"
#include "tuner_recorder.h"

namespace lumivex::test {

using host::Browser;
using host::Json;
using host::Page;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

inline constexpr char kPlayer[] = "lumivexplayer";
inline constexpr char kTuner[] = "lumivexrfmanager";

// The private services of the browser. A call appears in the journal as "bridge operation data".
class PrivateServices : public host::ExtensionSystem {
 public:
  // Grants both privileges and gives window 7, unless told otherwise by the call: "operation data".
  std::function<int32_t(PP_Instance instance, const std::string& call, PP_Var* result)> answer;
  std::function<PP_Var(host::VarTable* vars)> embedder_name;
  bool player_privilege = true;
  bool tuner_privilege = true;

  PP_Var GetEmbedderName(host::VarTable& vars, PP_Instance instance) override;
  int32_t GenericSyncCall(host::VarTable& vars,
                          PP_Instance instance,
                          PP_Var operation,
                          PP_Var data,
                          PP_Var* result) override;
};

// A var with its types: 2, double 2, "text", null, {"key": 1}.
std::string Describe(host::VarTable* vars, PP_Var var);

std::string Ok(const std::string& value);
std::string Refused(int code, const std::string& name, const std::string& message);
std::string BadParameter();  // what most commands say to missing keys
std::string NoTuner();

// Lists put together.
Lines operator+(Lines first, const Lines& second);

// A journal in short, its lines set apart by " | ". "h:F text" is a line that the message handler
// logs in function F, H one at error priority, a and A the adapter's, l and t those of the player's
// and the tuner's listener, K the instance's; any other line stands as it is. Without ":F" the
// function is the one given. Of lines that begin with + or -, those with the other sign are left
// out; with no sign given, they keep theirs.
Lines Script(const std::string& text, const std::string& function = "", char sign = 0);

// Loads the plug-in as the test program does: the real library, or the objects linked into it.
bool LoadPlugin(Browser* browser, std::string* error);

// The fixture is the page. In the end everything must have been given back to the browser.
class PluginTest : public testing::Test {
 protected:
  struct Outcome {
    std::string reply;
    Lines journal;
  };
  using MoreVars = std::vector<std::pair<std::string, PP_Var>>;

  void SetUp() override;
  void TearDown() override;

  void Load();
  void Open();  // loads and embeds the plug-in, with an empty journal
  void Close();
  std::unique_ptr<Page> NewPage();

  // The reply to a blocking message.
  std::string Send(const Json& message, const MoreVars& more = {}, Page* page = nullptr);
  // The same for the JSON text of a command's arguments, its name among them. The journal is what
  // came after the two lines that the envelope gives, which are checked here.
  Outcome Run(const std::string& request, const char* module = kPlayer, const MoreVars& more = {});
  // Adds "moduleName" and "command" and fills in the rest from JSON text.
  static Json Request(const std::string& module,
                      const std::string& command,
                      const std::string& arguments = "{}");

  std::vector<Json> Events(Page* page = nullptr);  // that have come

  std::chrono::milliseconds patience_ = Page::kPatience;
  std::shared_ptr<PrivateServices> services_ = std::make_shared<PrivateServices>();
  PlayerRecorder& player_ = PlayerRecorder::Get();
  TunerRecorder& tuner_ = TunerRecorder::Get();
  Journal& journal_ = Journal::Get();
  std::unique_ptr<Browser> browser_;
  std::unique_ptr<Page> page_;
};

}  // namespace lumivex::test

#endif  // TESTS_PLUGIN_PLUGIN_TEST_H_
