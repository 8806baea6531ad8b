// Every command against the contract: when the platform agrees, refuses or leaves its outputs
// alone, without a player, without a tuner, and with invalid requests.

#include <map>
#include <set>

#include "LumivexMessageHandler.h"
#include "host/commands.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

class EveryCommand : public PluginTest {
 protected:
  // The calls on player and tuner that a request comes to, as for Stage.
  static std::set<std::string> Calls(const Json& request, Circumstances now) {
    std::set<std::string> calls;
    for (const std::string& line : Expect(request, &now).journal) {
      if (line.compare(0, 7, "player ") == 0 || line.compare(0, 6, "tuner ") == 0) {
        calls.insert(line.substr(0, line.find('(')));
      }
    }
    return calls;
  }

  void CompareAll() {
    for (const Command& command : Commands()) {
      const Json request = command.message;
      Compare(request);
      for (const std::string& call : Calls(request, now_)) {
        SCOPED_TRACE(call);
        stage_.failing = {call};
        Compare(request);
        stage_.failing.clear();
        stage_.silent = {call};
        Compare(request);
        stage_.silent.clear();
      }
      for (const auto& [key, value] : request.items()) {
        Json other = request;
        other.erase(key);
        Compare(other);
        for (const Json& no_text : {Json(42), Json(), Json::array({"x"}), Json("")}) {
          if (value.is_string()) {
            other[key] = no_text;
            Compare(other);
          }
        }
      }
    }
  }
};

// The plug-in's table, the contract and the page's client, which host::Commands is made of.
TEST_F(EveryCommand, IsInTheContract) {
  std::map<std::string, std::string> contract;
  for (const Command& command : Commands()) {
    contract[command.name] = command.message.at("moduleName").get<std::string>();
  }
  std::map<std::string, std::string> client;
  for (const host::Command& command : host::Commands()) {
    client[std::string(command.name)] = command.module;
  }
  EXPECT_EQ(contract, client);
  for (const auto& [name, command] : CLumivexMessageHandler::m_messageMap) {
    EXPECT_EQ(contract.erase(name), 1U) << name;
  }
  EXPECT_THAT(contract, IsEmpty()) << "commands that the plug-in lacks";
}

TEST_F(EveryCommand, WithPlayerAndTuner) {
  Open();
  Compare({{"moduleName", kTuner}, {"command", "SetChannelType"}, {"channelType", 1}});
  EXPECT_TRUE(now_.has_tuner);
  CompareAll();
}

TEST_F(EveryCommand, WithNeither) {
  stage_.failing = {"player Create"};
  Open();
  now_.has_player = false;
  stage_.failing.clear();
  // A tuner that cannot be obtained is asked for each time.
  stage_.answer = [](const std::string& call) {
    Answer answer = call.compare(0, 6, "player") == 0 ? Stage::Get().player : Stage::Get().tuner;
    answer.success = call != "tuner GetInstance";
    return answer;
  };
  CompareAll();
  EXPECT_FALSE(now_.has_tuner);
}

}  // namespace
}  // namespace lumivex::test
