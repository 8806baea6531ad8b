// Values: who holds how many references, and what the accessors make of every type.

#include "ppapi/cpp/var.h"

#include <cmath>
#include <limits>
#include <utility>

#include "pepper_test.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"

namespace lumivex::test {
namespace {

class Vars : public PepperTest {
 protected:
  void SetUp() override {
    PepperTest::SetUp();
    Load();
  }
};

TEST_F(Vars, HoldOneReferenceEach) {
  pp::Var first("x");
  const PP_Var x = first.pp_var();
  EXPECT_EQ(References::Of(x), 1);
  {
    pp::Var copy(first);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(References::Of(x), 2);
    const pp::Var added(x);
    EXPECT_EQ(References::Of(x), 3);
  }
  EXPECT_EQ(References::Of(x), 1);

  pp::Var moved(std::move(first));
  EXPECT_EQ(References::Of(x), 1);
  EXPECT_TRUE(first.is_undefined());  // NOLINT: a moved var is an undefined one

  pp::Var& same = moved;
  moved = same;
  EXPECT_EQ(References::Of(x), 1);
  EXPECT_EQ(moved.AsString(), "x");
  moved = std::move(same);
  EXPECT_EQ(moved.AsString(), "x");

  pp::Var other("y");
  const PP_Var y = other.pp_var();
  other = moved;
  EXPECT_EQ(References::Of(x), 2);
  EXPECT_EQ(References::Of(y), 0);
  {
    pp::Var third("z");
    other = std::move(third);
  }
  EXPECT_EQ(References::Of(x), 1);
  EXPECT_EQ(other.AsString(), "z");

  const PP_Var detached = moved.Detach();
  EXPECT_TRUE(moved.is_undefined());
  EXPECT_EQ(References::Of(x), 1);
  { const pp::Var taken(pp::PASS_REF, detached); }
  EXPECT_EQ(References::Of(x), 0);
}

TEST_F(Vars, WithoutACountTouchNone) {
  pp::Var var(5);
  for (const pp::Var& other :
       {pp::Var(), pp::Var(pp::Var::Null()), pp::Var(true), pp::Var(2), pp::Var(2.5)}) {
    var = other;
    pp::Var copy(var);
    copy = pp::Var(copy.pp_var());
  }
  EXPECT_EQ(References::Get().calls, 0);
}

TEST_F(Vars, AccessorsOnEveryType) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const struct {
    pp::Var var;
    bool as_bool;
    int32_t as_int;
    double as_double;
    const char* as_string;
  } kCases[] = {
      {pp::Var(), false, 0, 0, ""},
      {pp::Var(pp::Var::Null()), false, 0, 0, ""},
      {pp::Var(true), true, 0, 0, ""},
      {pp::Var(false), false, 0, 0, ""},
      {pp::Var(1), false, 1, 1, ""},
      {pp::Var(kMin), false, kMin, kMin, ""},
      {pp::Var(1.9), false, 1, 1.9, ""},
      {pp::Var(-1.9), false, -1, -1.9, ""},
      {pp::Var(-0.5), false, 0, -0.5, ""},
      {pp::Var(kMax + 0.5), false, kMax, kMax + 0.5, ""},
      {pp::Var(kMax + 1.0), false, kMax, kMax + 1.0, ""},
      {pp::Var(kMin - 0.5), false, kMin, kMin - 0.5, ""},
      {pp::Var(1e300), false, kMax, 1e300, ""},
      {pp::Var(kInfinity), false, kMax, kInfinity, ""},
      {pp::Var(-kInfinity), false, kMin, -kInfinity, ""},
      {pp::Var("12"), false, 0, 0, "12"},
      {pp::Var("\xc3\xbc"), false, 0, 0, "\xc3\xbc"},
      {pp::Var("\xff"), false, 0, 0, ""},  // no text: the browser makes a null var of it
      {pp::VarArray(), false, 0, 0, ""},
      {pp::VarDictionary(), false, 0, 0, ""},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(&row - kCases);
    EXPECT_EQ(row.var.AsBool(), row.as_bool);
    EXPECT_EQ(row.var.AsInt(), row.as_int);
    EXPECT_EQ(row.var.AsDouble(), row.as_double);
    EXPECT_EQ(row.var.AsString(), row.as_string);
  }
  const pp::Var not_a_number(std::nan(""));
  EXPECT_EQ(not_a_number.AsInt(), 0);
  EXPECT_TRUE(std::isnan(not_a_number.AsDouble()));
  EXPECT_TRUE(pp::Var("\xff").is_null());
}

TEST_F(Vars, TextsKeepTheirNulBytesWhenTheirLengthIsKnown) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(pp::Var(text).AsString(), text);
  EXPECT_EQ(pp::Var(text.c_str()).AsString(), "a");
  EXPECT_TRUE(pp::Var("").is_string());
}

TEST_F(Vars, Dictionaries) {
  pp::VarDictionary dictionary;
  EXPECT_TRUE(dictionary.Set("key", "value"));
  EXPECT_TRUE(dictionary.Set(std::string("k\0y", 3), 2));
  EXPECT_TRUE(dictionary.Set("null", pp::Var(pp::Var::Null())));
  EXPECT_FALSE(dictionary.HasKey("k"));
  EXPECT_TRUE(dictionary.HasKey("null"));
  EXPECT_TRUE(dictionary.Get("null").is_null());
  EXPECT_TRUE(dictionary.Get("absent").is_undefined());
  EXPECT_EQ(dictionary.Get("key").AsString(), "value");

  // Of a dictionary it is another name, of anything else a new one.
  pp::VarDictionary same{pp::Var(dictionary)};
  same.Delete("null");
  EXPECT_FALSE(dictionary.HasKey("null"));
  EXPECT_EQ(pp::VarDictionary(dictionary.pp_var()).GetKeys().GetLength(), 2U);
  for (const pp::Var& other :
       {pp::Var(), pp::Var(5), pp::Var("text"), pp::Var(pp::VarArray()), pp::Var(true)}) {
    pp::VarDictionary made(other);
    EXPECT_TRUE(made.is_dictionary());
    EXPECT_TRUE(made.Set("key", 1));
    EXPECT_EQ(made.GetKeys().GetLength(), 1U);
  }
}

TEST_F(Vars, Arrays) {
  pp::VarArray array;
  EXPECT_TRUE(array.Set(2, "text"));
  EXPECT_EQ(array.GetLength(), 3U);
  EXPECT_TRUE(array.Get(0).is_undefined());
  EXPECT_TRUE(array.Get(3).is_undefined());
  EXPECT_EQ(pp::VarArray(pp::Var(array)).Get(2).AsString(), "text");
  EXPECT_TRUE(array.SetLength(1));
  EXPECT_EQ(array.GetLength(), 1U);
  EXPECT_EQ(pp::VarArray(pp::Var("text")).GetLength(), 0U);
}

}  // namespace
}  // namespace lumivex::test
