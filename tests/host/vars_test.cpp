// The var table behind PPB_Var, PPB_VarDictionary and PPB_VarArray, called as a plug-in calls it.

#include "host/vars.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "host/browser.h"
#include "tables.h"

namespace lumivex::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class VarsTest : public testing::Test {
 protected:
  // Releases everything; nothing may be left.
  void TearDown() override {
    for (const PP_Var& var : owned_) {
      Release(var);
    }
    EXPECT_EQ(browser_.LiveVars(), 0);
    EXPECT_EQ(browser_.Defects().size(), defects_);
  }

  PP_Var Own(PP_Var var) { return owned_.emplace_back(var); }
  PP_Var NewText(const std::string& text) {
    return tables_.var.VarFromUtf8(text.data(), static_cast<uint32_t>(text.size()));
  }
  PP_Var Text(const std::string& text) { return Own(NewText(text)); }
  std::string TextOf(PP_Var var) {
    uint32_t length = 99;
    const char* const text = tables_.var.VarToUtf8(var, &length);
    return text == nullptr ? "null of " + std::to_string(length) : std::string(text, length);
  }
  void Release(PP_Var var) { tables_.var.Release(var); }

  Browser browser_;
  Tables tables_;
  std::vector<PP_Var> owned_;
  std::size_t defects_ = 0;  // that a test provokes
};

TEST_F(VarsTest, TextIsKeptOrRefused) {
  for (const std::string& text : {
           std::string(),
           std::string("a\0b", 3),
           std::string("\xc2\x80 \xe0\xa0\x80 \xef\xbf\xbf \xf0\x90\x80\x80 \xf4\x8f\xbf\xbf"),
           std::string("beside the surrogates \xed\x9f\xbf \xee\x80\x80"),
       }) {
    EXPECT_EQ(TextOf(Text(text)), text);
  }
  for (const char* text : {
           "continued a\x80",
           "cut short \xe2\x82",
           "overlong \xc0\xaf",
           "overlong \xe0\x9f\xbf",
           "overlong \xf0\x8f\xbf\xbf",
           "a surrogate \xed\xa0\x80",
           "above the range \xf4\x90\x80\x80",
           "\xfcmlaut of Latin-1",
       }) {
    EXPECT_EQ(Text(text).type, PP_VARTYPE_NULL) << text;
  }
}

TEST_F(VarsTest, ContainersHoldReferences) {
  const PP_Var dictionary = Own(tables_.dictionary.Create());
  const PP_Var array = tables_.array.Create();
  const PP_Var z = NewText("z");
  const PP_Var a = NewText("a");
  EXPECT_TRUE(tables_.dictionary.Set(dictionary, z, array));
  EXPECT_TRUE(tables_.dictionary.Set(dictionary, a, z));
  EXPECT_TRUE(tables_.dictionary.Set(dictionary, a, a));  // replaces, keeps its place
  EXPECT_TRUE(tables_.array.Set(array, 2, a));
  EXPECT_TRUE(tables_.array.Set(array, 2, z));  // replaces, too
  Release(z);
  Release(a);
  Release(array);
  EXPECT_EQ(browser_.vars().ToJson(dictionary),
            Json::parse(R"({"a": "a", "z": [null, null, "z"]})"));

  const PP_Var keys = Own(tables_.dictionary.GetKeys(dictionary));
  EXPECT_EQ(browser_.vars().ToJson(keys), Json::parse(R"(["a", "z"])"));
  const PP_Var key = Own(tables_.array.Get(keys, 1));
  const PP_Var got = Own(tables_.dictionary.Get(dictionary, key));
  EXPECT_EQ(got.value.as_id, array.value.as_id);
  EXPECT_EQ(tables_.array.GetLength(got), 3U);
  EXPECT_TRUE(tables_.array.SetLength(got, 2));
  EXPECT_EQ(tables_.array.Get(got, 2).type, PP_VARTYPE_UNDEFINED);
  EXPECT_TRUE(tables_.dictionary.HasKey(dictionary, key));
  tables_.dictionary.Delete(dictionary, key);
  EXPECT_FALSE(tables_.dictionary.HasKey(dictionary, key));
  EXPECT_EQ(tables_.dictionary.Get(dictionary, key).type, PP_VARTYPE_UNDEFINED);
}

TEST_F(VarsTest, MisuseIsRecordedAndHarmless) {
  const PP_Var dictionary = Own(tables_.dictionary.Create());
  const PP_Var array = Own(tables_.array.Create());
  const PP_Var text = Text("text");
  const PP_Var dead = NewText("dead");
  Release(dead);
  const PP_Var reused = Text("in the place of the dead one");
  PP_Var unknown = text;
  unknown.value.as_id = (int64_t{1} << 32) | 12345;
  PP_Var mistyped = dictionary;
  mistyped.type = PP_VARTYPE_STRING;
  PP_Var wild = text;
  wild.type = static_cast<PP_VarType>(13);

  const struct {
    std::function<void()> misuse;
    const char* recorded;
  } kCases[] = {
      {[&] { Release(dead); }, "was already released"},
      {[&] { tables_.var.AddRef(dead); }, "AddRef: string"},
      {[&] { EXPECT_EQ(TextOf(dead), "null of 0"); }, "VarToUtf8"},
      {[&] { Release(unknown); }, "does not exist"},
      {[&] { Release(mistyped); }, "does not exist"},
      {[&] { Release(wild); }, "value of unknown type"},
      {[&] { EXPECT_EQ(TextOf(IntVar(5)), "null of 0"); }, "VarToUtf8: int32 is not a string"},
      {[&] { EXPECT_EQ(tables_.var.VarFromUtf8(nullptr, 3).type, PP_VARTYPE_NULL); },
       "VarFromUtf8"},
      {[&] { EXPECT_FALSE(tables_.dictionary.Set(dictionary, IntVar(1), text)); },
       "VarDictionary.Set, key: int32 is not a string"},
      {[&] { EXPECT_FALSE(tables_.dictionary.Set(dictionary, text, dead)); },
       "VarDictionary.Set: "},
      {[&] { EXPECT_FALSE(tables_.dictionary.HasKey(dictionary, NullVar())); }, "HasKey, key"},
      {[&] { EXPECT_EQ(tables_.dictionary.Get(NullVar(), text).type, PP_VARTYPE_UNDEFINED); },
       "VarDictionary.Get: null is not a dictionary"},
      {[&] { Release(tables_.dictionary.GetKeys(text)); }, "VarDictionary.GetKeys"},
      {[&] { EXPECT_FALSE(tables_.array.Set(array, 4000000000U, text)); }, "would become too long"},
      {[&] { EXPECT_FALSE(tables_.array.SetLength(array, 4000000000U)); }, "would become too long"},
      {[&] { EXPECT_EQ(tables_.array.Get(dictionary, 0).type, PP_VARTYPE_UNDEFINED); },
       "Array.Get"},
  };
  for (const auto& c : kCases) {
    c.misuse();
    ASSERT_EQ(browser_.Defects().size(), ++defects_) << c.recorded;
    EXPECT_THAT(browser_.Defects().back(), HasSubstr(c.recorded));
  }

  // Uncounted values may be released, and no misuse above lost a reference.
  Release(IntVar(1));
  tables_.var.AddRef(UndefinedVar());
  EXPECT_EQ(TextOf(reused), "in the place of the dead one");
}

TEST_F(VarsTest, ContainersThatHoldThemselvesAreNotPassed) {
  const PP_Var outer = Own(tables_.array.Create());
  const PP_Var inner = Own(tables_.dictionary.Create());
  EXPECT_TRUE(tables_.array.Set(outer, 0, inner));
  EXPECT_TRUE(tables_.array.Set(outer, 1, inner));  // twice is no cycle
  EXPECT_EQ(browser_.vars().ToJson(outer), Json::parse("[{}, {}]"));
  EXPECT_TRUE(tables_.dictionary.Set(inner, Text("key"), outer));
  EXPECT_FALSE(browser_.vars().ToJson(outer));
  EXPECT_FALSE(browser_.vars().DeepCopy(inner));
  EXPECT_THAT(browser_.Defects(), ElementsAre(HasSubstr("itself"), HasSubstr("itself")));
  tables_.array.SetLength(outer, 0);
  EXPECT_EQ(browser_.vars().ToJson(inner), Json::parse(R"({"key": []})"));
  defects_ = 2;
}

TEST_F(VarsTest, DeepNestingNeitherPassesNorOverflows) {
  const auto nested = [this](int levels) {
    PP_Var var = tables_.array.Create();
    for (int i = 1; i < levels; ++i) {
      const PP_Var outer = tables_.array.Create();
      tables_.array.Set(outer, 0, var);
      Release(var);
      var = outer;
    }
    return Own(var);
  };
  const PP_Var most = nested(kMaxDepth);
  const PP_Var more = nested(kMaxDepth + 1);
  const PP_Var many = nested(200000);
  EXPECT_TRUE(browser_.vars().ToJson(most));
  EXPECT_FALSE(browser_.vars().ToJson(more));
  EXPECT_FALSE(browser_.vars().DeepCopy(many));
  EXPECT_THAT(browser_.Defects(), ElementsAre(HasSubstr("too deep"), HasSubstr("too deep")));

  const std::optional<PP_Var> back =
      browser_.vars().FromJson(browser_.vars().ToJson(most).value_or(Json()));
  ASSERT_TRUE(back);
  Own(*back);
  EXPECT_FALSE(browser_.vars().FromJson(Json::array({*browser_.vars().ToJson(most)})));
  defects_ = 2;
}

TEST_F(VarsTest, NumbersAreConvertedAsAPageDoes) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const struct {
    Json json;
    PP_Var var;
  } kCases[] = {
      {0, IntVar(0)},
      {2.0, IntVar(2)},
      {2.5, DoubleVar(2.5)},
      {2147483647, IntVar(2147483647)},
      {2147483648, DoubleVar(2147483648.0)},
      {-2147483648LL, IntVar(INT32_MIN)},
      {-2147483649LL, DoubleVar(-2147483649.0)},
      {18446744073709551615ULL, DoubleVar(18446744073709551616.0)},
      {-0.0, DoubleVar(-0.0)},
      {kInf, DoubleVar(kInf)},
      {std::nan(""), DoubleVar(std::nan(""))},
  };
  for (const auto& c : kCases) {
    const PP_Var var = browser_.vars().FromJson(c.json).value_or(UndefinedVar());
    EXPECT_EQ(var.type, c.var.type) << c.json;
    EXPECT_EQ(var.value.as_id, c.var.value.as_id) << c.json;  // bit by bit
  }
}

TEST_F(VarsTest, JsonOfAVarIsWhatAPageSees) {
  const PP_Var dictionary = Own(tables_.dictionary.Create());
  const PP_Var array = Own(tables_.array.Create());
  const PP_Var text = Text("text \xe2\x82\xac");
  const struct {
    PP_Var value;
    const char* json;  // null: left out
  } kCases[] = {
      {text, "\"text \xe2\x82\xac\""},
      {BoolVar(false), "false"},
      {IntVar(-5), "-5"},
      {DoubleVar(2.0), "2"},
      {DoubleVar(0.5), "0.5"},
      {DoubleVar(1e300), "1e+300"},
      {DoubleVar(std::nan("")), "null"},
      {NullVar(), "null"},
      {UndefinedVar(), nullptr},
      {array, "[null]"},
  };
  tables_.array.Set(array, 0, UndefinedVar());
  std::string expected;
  for (std::size_t i = 0; i < std::size(kCases); ++i) {
    const std::string name = "key" + std::to_string(i);
    tables_.dictionary.Set(dictionary, Text(name), kCases[i].value);
    if (kCases[i].json != nullptr) {
      expected += (expected.empty() ? "{\"" : ",\"") + name + "\":" + kCases[i].json;
    }
  }
  EXPECT_EQ(browser_.vars().ToJson(dictionary).value_or(Json()).dump(), expected + "}");
}

}  // namespace
}  // namespace lumivex::host
