// What each line of a script means, and where it is wrong.

#include "host/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "host/vars.h"

namespace lumivex::host {
namespace {

using testing::HasSubstr;

std::string Describe(const ScriptLine& line) {
  struct Visitor {
    std::string operator()(const NoAction&) const { return "nothing"; }
    std::string operator()(const SendAction& a) const { return "send " + a.message.dump(); }
    std::string operator()(const PostAction& a) const { return "post " + a.message.dump(); }
    std::string operator()(const WaitAction& a) const {
      return "wait " + std::to_string(a.time.count());
    }
    std::string operator()(const WaitForAction& a) const {
      return "wait for " + a.event.dump() + " " + std::to_string(a.timeout.count()) +
             (a.expected ? " expect " + a.expected->dump() : "");
    }
    std::string operator()(const ExpectAction& a) const { return "expect " + a.reply.dump(); }
    std::string operator()(const ScriptError& e) const {
      return std::to_string(e.column) + ": " + e.reason;
    }
  };
  return std::visit(Visitor(), line);
}

TEST(ScriptTest, LinesSayWhatToDo) {
  const struct {
    std::string line;
    const char* action;
  } kCases[] = {
      {"", "nothing"},
      {" \t\r", "nothing"},
      {"  // a remark {", "nothing"},
      {"#!/usr/bin/lumivex-host", "nothing"},
      {"\xef\xbb\xbf# marked", "nothing"},
      {R"({"b": 1, "a": [2.5, null]})", R"(send {"a":[2.5,null],"b":1})"},
      {"\xef\xbb\xbf{}\r", "send {}"},
      {R"("text, not // a remark")", R"(send "text, not // a remark")"},
      {"[{\"$wait\": 1}]", R"(send [{"$wait":1}])"},
      {R"({"a": {"$post": 1}})", R"(send {"a":{"$post":1}})"},
      {R"({"": 1, "x$": 2})", R"(send {"":1,"x$":2})"},
      {R"({"twice": 1, "twice": 2})", R"(send {"twice":2})"},
      {"SeekTo msec=900", R"(send {"command":"SeekTo","moduleName":"lumivexplayer","msec":900})"},
      {" SelectRFTrack  trackType=2\tindex= ",
       R"(send {"command":"SelectRFTrack","index":"","moduleName":"lumivexrfmanager","trackType":2})"},
      {R"(SetDRMProperty propertyData="a \"b" type={"c":[1]})",
       R"(send {"command":"SetDRMProperty","moduleName":"lumivexplayer","propertyData":"a \"b","type":{"c":[1]}})"},
      {R"({"$post": null})", "post null"},
      {R"({"$post": {"$post": 1}})", R"(post {"$post":1})"},
      {R"({"$wait": 0})", "wait 0"},
      {R"({"$wait": 1.2})", "wait 2"},
      {R"({"$waitFor": {}})", "wait for {} 10000"},
      {R"({"timeout": 5, "$waitFor": {"event": "E"}})", R"(wait for {"event":"E"} 5)"},
      {R"({"$expect": {"code": 0}})", R"(expect {"code":0})"},
      {R"({"$expect": {"a": 1}, "$waitFor": {}})", R"(wait for {} 10000 expect {"a":1})"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Describe(ReadScriptLine(c.line)), c.action) << c.line;
  }
}

TEST(ScriptTest, MistakesAreFoundAtTheirColumn) {
  const std::string deepest = std::string(kMaxDepth, '[') + std::string(kMaxDepth, ']');
  EXPECT_TRUE(std::holds_alternative<SendAction>(ReadScriptLine(deepest)));
  const struct {
    std::string line;
    std::size_t column;
    const char* reason;
  } kCases[] = {
      {"{a: 1}", 2, "invalid literal"},
      {"  tru", 6, "invalid literal"},
      {R"({"a": 1)", 8, "unexpected end of input"},
      {R"({"a": 1} x)", 10, "expected end of input"},
      {"\xe2\x82\xac", 1, "invalid literal"},
      {"[\"\xe2\x82\xac\xe2\x82\xac\", x]", 8, "invalid literal"},
      {"[\"\xff\"]", 3, "UTF-8"},
      {std::string("[1,\0]", 5), 4, "invalid JSON"},
      {std::string("{\"$wait\": 1}\0{", 14), 13, "NUL"},
      {"[1, 1e999]", 5, "1e999"},
      {"[" + deepest + "]", kMaxDepth + 1U, "nested deeper"},
      {std::string(5000000, '['), kMaxDepth + 1U, "nested deeper"},
      {"Seek msec=1", 1, "unknown command \"Seek\""},
      {"  SeekTo msec=1 to=2", 17, "unknown argument \"to\"; SeekTo takes msec"},
      {"Start now", 7, "unknown argument \"now\"; Start takes no arguments"},
      {"SeekTo msec", 8, "argument \"msec\" needs a value"},
      {"SetDataSource url=\"open", 19, "neither JSON nor UTF-8 text"},
      {"SetDataSource url=\xff", 19, "neither JSON nor UTF-8 text"},
      {R"({"$stop": 1})", 2, "unknown directive \"$stop\""},
      {R"({"a": {"$wait": 5}, "$": 1})", 21, "unknown directive \"$\""},
      {R"({"$\u0077ait": "5"})", 16, "milliseconds"},
      {R"({"$wait": "5"})", 11, "milliseconds"},
      {R"({"$wait":-1})", 10, "milliseconds"},
      {R"({"$wait": 86400001})", 11, "$wait must be in milliseconds, at most one day"},
      {R"({"$wait": 1, "timeout": 2})", 14, "\"timeout\" cannot be combined with $wait"},
      {R"({"$post": {"a": "}\""}, "command": "x"})", 25,
       "\"command\" cannot be combined with $post"},
      {R"({"$waitFor": "E"})", 14, "must be an object"},
      {R"({"$waitFor": {}, "timeout": null})", 29, "milliseconds"},
      {R"({"$expect": 5})", 13, "$expect must be an object, part of a reply"},
      {R"({"$expect": {}, "timeout": 5})", 17, "\"timeout\" cannot be combined with $expect"},
      {R"({"$waitFor": {}, "$expect": []})", 29, "$expect must be an object, part of an event"},
      {R"({"$waitFor": {}, "$post": 1})", 2, "\"$waitFor\" cannot be combined with $post"},
  };
  for (const auto& c : kCases) {
    const ScriptLine line = ReadScriptLine(c.line);
    const ScriptError* const error = std::get_if<ScriptError>(&line);
    ASSERT_NE(error, nullptr) << c.line.substr(0, 60);
    EXPECT_EQ(error->column, c.column) << c.line.substr(0, 60) << ": " << error->reason;
    EXPECT_THAT(error->reason, HasSubstr(c.reason));
  }
}

}  // namespace
}  // namespace lumivex::host
