// The message handler as an object.

#include <future>

#include "LumivexMessageHandler.h"
#include "plugin_test.h"

namespace lumivex::test {
namespace {

class Handler : public PluginTest {
 protected:
  // A handler of its own beside the one of the plug-in's instance.
  void MakeHandler() {
    Open();
    instance_ = std::make_unique<pp::Instance>(page_->instance());
    handler_ = std::make_unique<CLumivexMessageHandler>(instance_.get());
    journal_.Take();
  }
  void TearDown() override {
    handler_.reset();
    PluginTest::TearDown();
  }

  std::unique_ptr<pp::Instance> instance_;
  std::unique_ptr<CLumivexMessageHandler> handler_;
};

TEST_F(Handler, PostsEventsWithTheirArguments) {
  MakeHandler();
  const std::string text("a\0b", 3);
  handler_->OnError(-2, INT32_MAX);
  handler_->OnInfo(3, 40, INT32_MIN);
  handler_->OnDRMInfo(1, text);
  handler_->OnTimedText(text);
  handler_->OnTimedText("");
  handler_->OnRFInfo(-1);
  std::string all;
  for (const Json& event : Events()) {
    all += event.dump() + "\n";
  }
  EXPECT_EQ(all, R"({"event":"PLAYBACK_ERROR_EVENT","extra":2147483647,"type":-2}
{"event":"PLAYBACK_INFO_EVENT","param1":40,"param2":-2147483648,"type":3}
{"data":"a","event":"PLAYBACK_DRMINFO_EVENT","type":1}
{"event":"PLAYBACK_TIMEDTEXT_EVENT","text":"a"}
{"event":"PLAYBACK_TIMEDTEXT_EVENT","text":""}
{"event":"RF_INFO_EVENT","eventType":-1}
)");
}

TEST_F(Handler, RegistersOnTheLoopOfTheCallingThread) {
  MakeHandler();
  pp::SimpleThreadAwaitLoop thread{pp::InstanceHandle(page_->instance())};
  ASSERT_TRUE(thread.Start());
  struct Work {
    CLumivexMessageHandler* handler;
    std::promise<void> done;
  } work = {handler_.get(), {}};
  const auto call = [](void* user_data, int32_t) {
    static_cast<Work*>(user_data)->handler->Register();
    static_cast<Work*>(user_data)->done.set_value();
  };
  pp::MessageLoop loop = thread.message_loop();
  EXPECT_EQ(loop.PostWork({call, &work, 0}), 0);
  work.done.get_future().wait();
  EXPECT_THAT(journal_.Take(),
              ElementsAre("register on loop " + std::to_string(loop.pp_resource())));
}

}  // namespace
}  // namespace lumivex::test
