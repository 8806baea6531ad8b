// The browser's tables of vars, message loops and resources, called as a plug-in calls them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "host/browser.h"
#include "ppapi/c/pp_errors.h"
#include "tables.h"

namespace lumivex::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
  tables_.dictionary.Set(dictionary, Text("left out"), UndefinedVar());
  tables_.array.Set(array, 0, UndefinedVar());
  const std::pair<PP_Var, const char*> kCases[] = {
      {Text("text \xe2\x82\xac"), "\"text \xe2\x82\xac\""},
      {BoolVar(false), "false"},
      {IntVar(-5), "-5"},
      {DoubleVar(2.0), "2"},
      {DoubleVar(0.5), "0.5"},
      {DoubleVar(1e300), "1e+300"},
      {DoubleVar(std::nan("")), "null"},
      {NullVar(), "null"},
      {array, "[null]"},
      {dictionary, "{}"},
  };
  for (const auto& [var, json] : kCases) {
    EXPECT_EQ(browser_.vars().ToJson(var).value_or("not passable").dump(), json);
  }
}

class LoopsTest : public testing::Test {
 protected:
  LoopsTest() {
    Plugin::Current() = {};
    browser_.LoadModule(Plugin::Entry(), nullptr);
    page_ = browser_.CreatePage();
  }

  PP_Resource NewLoop() { return tables_.loop.Create(page_->instance()); }

  PP_CompletionCallback Note(const std::string& text) {
    return Work([this, text] { notes_.push_back(text); });
  }
  void OnOtherThread(const std::function<void()>& work) { std::thread(work).join(); }

  Browser browser_;
  Tables tables_;
  std::unique_ptr<Page> page_;
  std::vector<std::string> notes_;
  int32_t result_ = 0;
};

TEST_F(LoopsTest, ResultsOfEachCall) {
  const PPB_MessageLoop& table = tables_.loop;
  const PP_Resource main_loop = table.GetForMainThread();
  const PP_Resource loop = NewLoop();
  const PP_Resource other = NewLoop();

  EXPECT_EQ(table.Create(page_->instance() + 1), 0) << "for no such instance";
  EXPECT_EQ(table.GetCurrent(), main_loop);
  EXPECT_EQ(table.AttachToCurrentThread(loop), PP_ERROR_WRONG_THREAD) << "on the main thread";
  EXPECT_EQ(table.Run(main_loop), PP_ERROR_INPROGRESS);
  EXPECT_EQ(table.Run(loop), PP_ERROR_WRONG_THREAD);
  EXPECT_EQ(table.PostQuit(main_loop, PP_FALSE), PP_ERROR_WRONG_THREAD);
  EXPECT_EQ(table.PostWork(loop, {nullptr, nullptr, 0}, 0), PP_ERROR_BADARGUMENT);
  for (const PP_Resource bad : {0, -1, 4711}) {
    EXPECT_EQ(table.AttachToCurrentThread(bad), PP_ERROR_BADRESOURCE);
    EXPECT_EQ(table.Run(bad), PP_ERROR_BADRESOURCE);
    EXPECT_EQ(table.PostQuit(bad, PP_TRUE), PP_ERROR_BADRESOURCE);
    EXPECT_EQ(table.PostWork(bad, {nullptr, nullptr, 0}, 0), PP_ERROR_BADRESOURCE);
  }
  OnOtherThread([&] {
    EXPECT_EQ(table.GetCurrent(), 0);
    EXPECT_EQ(table.Run(loop), PP_ERROR_WRONG_THREAD) << "before it is attached";
    EXPECT_EQ(table.AttachToCurrentThread(loop), PP_OK);
    EXPECT_EQ(table.GetCurrent(), loop);
    EXPECT_EQ(table.AttachToCurrentThread(loop), PP_ERROR_INPROGRESS);
    EXPECT_EQ(table.AttachToCurrentThread(other), PP_ERROR_INPROGRESS) << "the thread has one";
    OnOtherThread([&] {
      EXPECT_EQ(table.AttachToCurrentThread(loop), PP_ERROR_INPROGRESS) << "a thread has it";
      EXPECT_EQ(table.AttachToCurrentThread(other), PP_OK);
    });
    EXPECT_EQ(table.Run(other), PP_ERROR_WRONG_THREAD);
    table.PostWork(loop, Work([&] { EXPECT_EQ(table.Run(loop), PP_ERROR_INPROGRESS); }), 0);
    table.PostQuit(loop, PP_FALSE);
    EXPECT_EQ(table.Run(loop), PP_OK);
    EXPECT_EQ(table.PostQuit(loop, PP_TRUE), PP_OK) << "it can run again";
    EXPECT_EQ(table.Run(loop), PP_OK);
    EXPECT_EQ(table.GetCurrent(), 0) << "destroyed";
  });
  PP_CompletionCallback unused = {[](void*, int32_t) {}, nullptr, 0};
  EXPECT_EQ(table.PostWork(loop, unused, 0), PP_ERROR_FAILED);
  EXPECT_EQ(table.PostQuit(loop, PP_TRUE), PP_ERROR_FAILED);
  EXPECT_EQ(browser_.LiveResources(), 2);
  tables_.core.ReleaseResource(loop);
  tables_.core.ReleaseResource(other);
  EXPECT_EQ(browser_.LiveResources(), 0);
  EXPECT_THAT(browser_.Defects(), IsEmpty());
}

TEST_F(LoopsTest, WorkRunsInOrderAndQuitHasItsPlace) {
  const PP_Resource loop = NewLoop();
  tables_.loop.PostWork(loop, Note("late"), 300);
  tables_.loop.PostWork(loop, Note("sooner"), 200);
  tables_.loop.PostWork(loop, Note("first"), 0);
  tables_.loop.PostWork(loop, Note("second"), -5);
  tables_.loop.PostQuit(loop, PP_FALSE);
  tables_.loop.PostWork(loop, Note("behind the quit"), 0);
  OnOtherThread([&] {
    tables_.loop.AttachToCurrentThread(loop);
    tables_.loop.Run(loop);
    EXPECT_THAT(notes_, ElementsAre("first", "second"));
    tables_.loop.PostWork(loop, Work([&] { tables_.loop.PostQuit(loop, PP_TRUE); }), 400);
    tables_.loop.Run(loop);
  });
  EXPECT_THAT(notes_, ElementsAre("first", "second", "behind the quit", "sooner", "late"));
  tables_.core.ReleaseResource(loop);
}

TEST_F(LoopsTest, WhatWaitsInALoopEndsWithIt) {
  static constexpr PPP_MessageHandler kHandler = {
      [](PP_Instance, void*, const PP_Var*) { FAIL(); },
      [](PP_Instance, void*, const PP_Var*, PP_Var*) { FAIL(); }, [](PP_Instance, void*) {}};
  for (const PP_Bool destroys : {PP_TRUE, PP_FALSE}) {
    const PP_Resource loop = NewLoop();
    tables_.messaging.RegisterMessageHandler(page_->instance(), nullptr, &kHandler, loop);
    tables_.loop.PostWork(loop, Note("ran"), 0);
    tables_.loop.PostWork(loop, Work([&] { tables_.core.ReleaseResource(loop); }), 0);
    tables_.loop.PostQuit(loop, destroys);
    EXPECT_FALSE(page_->Post("before there is a thread"));
    EXPECT_EQ(page_->SendBlocking("likewise").outcome, Page::Outcome::kNoHandler);
    OnOtherThread([&] {
      tables_.loop.AttachToCurrentThread(loop);
      EXPECT_TRUE(page_->Post("behind the quit"));
      EXPECT_EQ(browser_.LiveVars(), 1);
      EXPECT_EQ(tables_.loop.Run(loop), PP_OK);
      EXPECT_EQ(tables_.loop.GetCurrent(), 0);
    });
    EXPECT_EQ(browser_.LiveVars(), 0) << "what waited is dropped";
  }
  const PP_Resource loop = NewLoop();
  tables_.messaging.RegisterMessageHandler(page_->instance(), nullptr, &kHandler, loop);
  OnOtherThread([&] {
    tables_.loop.AttachToCurrentThread(loop);
    EXPECT_TRUE(page_->Post("to a thread that ends without running it"));
  });
  EXPECT_EQ(browser_.LiveVars(), 0);
  tables_.core.ReleaseResource(loop);
  const PP_Resource unused = NewLoop();
  tables_.messaging.RegisterMessageHandler(page_->instance(), nullptr, &kHandler, unused);
  OnOtherThread([&] {
    tables_.loop.AttachToCurrentThread(unused);
    EXPECT_TRUE(page_->Post("to a loop that is released before it runs"));
    tables_.core.ReleaseResource(unused);
    EXPECT_EQ(browser_.LiveVars(), 0);
  });
  EXPECT_THAT(notes_, ElementsAre("ran", "ran"));
  EXPECT_THAT(browser_.Defects(), IsEmpty());
}

TEST_F(LoopsTest, MainThreadWorkRunsInTheMainLoop) {
  EXPECT_TRUE(tables_.core.IsMainThread());
  OnOtherThread([&] {
    EXPECT_FALSE(tables_.core.IsMainThread());
    tables_.core.CallOnMainThread(
        0, {[](void* user, int32_t result) { *static_cast<int32_t*>(user) = result; }, &result_, 0},
        42);
    tables_.loop.PostWork(tables_.loop.GetForMainThread(), Note("posted"), 0);
  });
  EXPECT_EQ(result_, 0);
  browser_.RunPending();
  EXPECT_EQ(result_, 42);
  EXPECT_THAT(notes_, ElementsAre("posted"));

  tables_.core.CallOnMainThread(5, Note("later"), 0);
  tables_.core.CallOnMainThread(10, Work([this] { browser_.QuitMainLoop(); }), 0);
  browser_.RunMainLoop();
  EXPECT_THAT(notes_, ElementsAre("posted", "later"));

  // An object that a task holds may post work when it is destroyed.
  const auto post_holding = [this](const std::function<void()>& at_end) {
    const std::shared_ptr<void> held(nullptr, [at_end](void*) { at_end(); });
    browser_.PostToMainThread([held] {});
  };
  post_holding([this] { browser_.PostToMainThread([this] { notes_.push_back("held"); }); });
  browser_.RunPending();
  post_holding([this] { browser_.QuitMainLoop(); });
  browser_.RunMainLoop();
  EXPECT_THAT(notes_, ElementsAre("posted", "later", "held"));

  const double ticks = tables_.core.GetTimeTicks();
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_GT(tables_.core.GetTimeTicks(), ticks + 0.001);
  EXPECT_GT(tables_.core.GetTime(), 1.6e9);
}

TEST_F(LoopsTest, ResourcesAreAccountedFor) {
  const PP_Resource loop = NewLoop();
  const PP_Resource main_loop = tables_.loop.GetForMainThread();
  tables_.core.AddRefResource(loop);
  tables_.core.AddRefResource(main_loop);
  EXPECT_EQ(browser_.LiveResources(), 3);
  tables_.core.ReleaseResource(main_loop);
  tables_.core.ReleaseResource(main_loop);  // one too many, and the loop stays
  EXPECT_EQ(tables_.loop.GetCurrent(), main_loop);
  tables_.core.ReleaseResource(99);
  tables_.core.AddRefResource(0);
  const PP_Resource released = NewLoop();
  tables_.core.ReleaseResource(released);
  tables_.core.ReleaseResource(released);
  tables_.core.CallOnMainThread(0, {nullptr, nullptr, 0}, 0);
  browser_.Unload();
  EXPECT_THAT(browser_.Defects(), ElementsAre("ReleaseResource: resource 1 was already released",
                                              "ReleaseResource: resource 99 does not exist",
                                              "AddRefResource: resource 0 does not exist",
                                              HasSubstr("was already released"),
                                              "CallOnMainThread: the callback's function is null",
                                              "leaked: message loop 2, references: 2"));
}

}  // namespace
}  // namespace lumivex::host
