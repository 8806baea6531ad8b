// The thread with a message loop of its own.

#include <atomic>
#include <thread>

#include "pepper_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"
#include "process.h"

namespace lumivex::test {
namespace {

class AwaitLoop : public PepperTest {
 protected:
  void SetUp() override {
    PepperTest::SetUp();
    StartFirstThread();
    Open();
  }

  pp::InstanceHandle handle() const { return pp::InstanceHandle(page_->instance()); }
};

struct Seen {
  std::atomic<int> calls{0};
  PP_Resource loop = 0;
};

PP_CompletionCallback Note(Seen* seen) {
  return {[](void* user_data, int32_t) {
            auto* const with = static_cast<Seen*>(user_data);
            with->loop = pp::MessageLoop::GetCurrent().pp_resource();
            ++with->calls;
          },
          seen, 0};
}

TEST_F(AwaitLoop, StartsNothingBeforeItIsTold) {
  const std::ptrdiff_t threads = CountThreads();
  {
    pp::SimpleThreadAwaitLoop thread(handle());
    EXPECT_EQ(CountThreads(), threads);
    EXPECT_FALSE(thread.message_loop().is_null());
    EXPECT_EQ(browser_->LiveResources(), 1);
  }
  EXPECT_EQ(browser_->LiveResources(), 0);
}

TEST_F(AwaitLoop, RunsUntilItIsDestroyed) {
  const std::ptrdiff_t threads = CountThreads();
  Seen before;
  Seen after;
  pp::MessageLoop loop;
  {
    pp::SimpleThreadAwaitLoop thread(handle());
    loop = thread.message_loop();
    EXPECT_EQ(loop.PostWork(Note(&before)), 0);
    ASSERT_TRUE(thread.Start());
    EXPECT_TRUE(Plugin::Get().attached);
    EXPECT_FALSE(thread.Start());
    EXPECT_EQ(CountThreads(), threads + 1);
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(loop.PostWork(Note(&after)), 0);
    }
  }
  // What was posted is done, and the thread is gone when the destructor returns.
  EXPECT_EQ(before.calls, 1);
  EXPECT_EQ(after.calls, 50);
  EXPECT_EQ(after.loop, loop.pp_resource());
  EXPECT_EQ(loop.PostWork(Note(&after)), PP_ERROR_FAILED);  // it is destroyed with its thread
  EXPECT_TRUE(ThreadsComeTo(threads));
  EXPECT_EQ(browser_->LiveResources(), 1);  // the name in this test
}

TEST_F(AwaitLoop, CopiesOfALoopCountTheirReferences) {
  pp::MessageLoop loop(handle());
  EXPECT_EQ(browser_->LiveResources(), 1);
  {
    pp::MessageLoop copy(loop);
    pp::MessageLoop other(handle());
    EXPECT_EQ(browser_->LiveResources(), 3);
    other = copy;
    EXPECT_EQ(browser_->LiveResources(), 3);
    const pp::MessageLoop& same = copy;
    copy = same;
    EXPECT_EQ(copy.pp_resource(), loop.pp_resource());
  }
  EXPECT_EQ(browser_->LiveResources(), 1);
  EXPECT_EQ(pp::MessageLoop::GetCurrent().pp_resource(),
            pp::MessageLoop::GetForMainThread().pp_resource());
  bool is_null = false;
  std::thread([&is_null] { is_null = pp::MessageLoop::GetCurrent().is_null(); }).join();
  EXPECT_TRUE(is_null);
}

}  // namespace
}  // namespace lumivex::test
