// What the documents say there is, and what there is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>

#include "LumivexMessageHandler.h"
#include "slurp.h"

namespace {

// How often each of the names that pattern finds stands in text.
std::map<std::string, int> Count(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::map<std::string, int> names;
  for (std::sregex_iterator found(text.begin(), text.end(), regex), end; found != end; ++found) {
    ++names[(*found)[1]];
  }
  return names;
}

TEST(Documentation, HasEveryCommandOnceAndNoOther) {
  std::map<std::string, int> commands;
  for (const auto& [name, command] : CLumivexMessageHandler::m_messageMap) {
    commands[name] = 1;
  }
  // A command's row begins with its name and ends with an example that calls it.
  const std::string reference = Slurp(LUMIVEX_PROJECT_FOLDER "/docs/page-api.md");
  EXPECT_EQ(Count(reference, "\\n\\| `([A-Z][A-Za-z]+)` \\|"), commands);
  EXPECT_EQ(Count(reference, "\\| `call\\('([A-Za-z]+)'"), commands);

  const std::string readme = Slurp(LUMIVEX_PROJECT_FOLDER "/README.md");
  for (const auto& [name, count] : commands) {
    EXPECT_THAT(readme, testing::ContainsRegex("[ ,]" + name + "(,| \\|)"));
  }
}

}  // namespace
