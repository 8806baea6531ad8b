// README, page reference, client and typings have the commands of the contract, each once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>

#include "contract.h"
#include "slurp.h"

namespace lumivex::test {
namespace {

// The names that the pattern finds in a file, from one text to the next other.
Lines Names(const std::string& path,
            const std::string& from,
            const std::string& to,
            const char* pattern) {
  const std::string file = Slurp(LUMIVEX_PROJECT_FOLDER "/" + path);
  const std::size_t start = file.find(from);
  EXPECT_NE(start, std::string::npos) << from << " is not in " << path;
  const std::string text =
      start == std::string::npos
          ? ""
          : file.substr(start + from.size(),
                        file.find(to, start + from.size()) - start - from.size());
  const std::regex regex(pattern);
  Lines names;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    names.push_back((*match)[1]);
  }
  return names;
}

TEST(Documentation, HasEveryCommandOnceAndNoOther) {
  Lines all;
  for (const auto& [module, types] :
       {std::pair(kPlayer, "PlayerCommands {"), std::pair(kTuner, "TunerCommands {")}) {
    Lines names;
    for (const Command& command : Commands()) {
      if (command.message.at("moduleName") == module &&
          (names.empty() || names.back() != command.name)) {
        names.push_back(command.name);
      }
    }
    const auto are_names = testing::UnorderedElementsAreArray(names);
    EXPECT_THAT(Names("README.md", std::string("| `") + module + "` | ", " |\n", "(\\w+)"),
                are_names);
    EXPECT_THAT(Names("examples/page/lumivex.js", std::string(module) + ": {", "\n    },",
                      "([A-Z]\\w+): \\("),
                are_names);
    EXPECT_THAT(Names("examples/page/module.d.ts", types, "\n}", "\n  (\\w+): Command<"),
                are_names);
    all.insert(all.end(), names.begin(), names.end());
  }
  // A command's row begins with its name and ends with an example that calls it.
  EXPECT_THAT(
      Names("docs/page-api.md", "", "no end", R"(\n\| `([A-Z]\w+)` \|[^\n]*\| `call\('\1')"),
      testing::UnorderedElementsAreArray(all));
}

TEST(Documentation, HasEveryEvent) {
  const auto events = testing::UnorderedElementsAre("PLAYBACK_ERROR_EVENT", "PLAYBACK_INFO_EVENT",
                                                    "PLAYBACK_DRMINFO_EVENT",
                                                    "PLAYBACK_TIMEDTEXT_EVENT", "RF_INFO_EVENT");
  EXPECT_THAT(Names("examples/page/lumivex.js", "const EVENTS = {", "\n  };", "\n    (\\w+): \\("),
              events);
  EXPECT_THAT(
      Names("examples/page/module.d.ts", "type PluginMessage =", ";\n\n", "event: \"(\\w+)\""),
      events);
}

}  // namespace
}  // namespace lumivex::test
