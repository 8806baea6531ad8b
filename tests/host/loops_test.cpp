// PPB_MessageLoop and PPB_Core: results, order of work, ends of loops.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
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
