// The commands stand in three places: the plug-in's table, the client and its types. None of them
// can grow without the others.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>
#include <string>

#include "slurp.h"

namespace {

using Names = std::set<std::string>;

// The text of a file from one mark to the next other.
std::string Section(const std::string& file, const std::string& from, const std::string& to) {
  const std::string text = Slurp(file);
  const std::size_t start = text.find(from);
  EXPECT_NE(start, std::string::npos) << from << " is not in " << file;
  const std::size_t body = start == std::string::npos ? text.size() : start + from.size();
  return text.substr(body, text.find(to, body) - body);
}

Names Find(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    EXPECT_TRUE(names.insert((*match)[1]).second) << (*match)[1] << " is there twice";
  }
  return names;
}

Names FunctionNames(const Names& commands) {
  Names names;
  for (std::string name : commands) {
    name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
    names.insert(name);
  }
  return names;
}

const std::string kClient = LUMIVEX_EXAMPLE_PAGES "/lumivex.js";
const std::string kTypes = LUMIVEX_EXAMPLE_PAGES "/lumivex.d.ts";
const std::string kPlugin = LUMIVEX_SOURCES "/LumivexMessageHandler.cpp";

TEST(ClientLists, HaveTheSameCommands) {
  const Names table = Find(Section(kPlugin, "m_messageMap = {", "};"), "\\{\"(\\w+)\",");
  EXPECT_EQ(table.size(), 34U);
  EXPECT_EQ(Find(Section(kClient, "const COMMANDS = {", "\n  };"), "([A-Z]\\w+): \\("), table);
  EXPECT_EQ(Find(Section(kTypes, "interface LumivexCommands {", "\n}"), "\n  ([A-Z]\\w+): \\{"),
            table);
  Names functions = Find(Section(kTypes, "interface LumivexPlayer {", "\n}"), "\n  (\\w+)\\(");
  functions.merge(Find(Section(kTypes, "interface LumivexTuner {", "\n}"), "\n  (\\w+)\\("));
  EXPECT_EQ(functions, FunctionNames(table));
}

TEST(ClientLists, HaveTheSameModules) {
  for (const auto& [module, next] :
       {std::pair("lumivexplayer: {", "\n    },"), std::pair("lumivexrfmanager: {", "\n    },")}) {
    const std::string name(module, std::string(module).find(':'));
    EXPECT_EQ(Find(Section(kClient, module, next), "([A-Z]\\w+): \\("),
              Find(Section(kTypes, "interface LumivexCommands {", "\n}"),
                   ("\n  ([A-Z]\\w+): \\{\\s*module: \"" + name + "\"").c_str()));
  }
}

TEST(ClientLists, HaveTheSameEvents) {
  const Names client = Find(Section(kClient, "const EVENTS = {", "\n  };"), "\n    (\\w+): \\(");
  EXPECT_EQ(Find(Section(kTypes, "type LumivexMessage =", ";\n\n"), "event: \"(\\w+)\""), client);
  Names posted;
  for (const char* event : {"PLAYBACK_ERROR_EVENT", "PLAYBACK_INFO_EVENT", "PLAYBACK_DRMINFO_EVENT",
                            "PLAYBACK_TIMEDTEXT_EVENT", "RF_INFO_EVENT"}) {
    posted.insert(event);
  }
  EXPECT_EQ(client, posted);
}

}  // namespace
