// The message handler as an object.

#include <future>

#include "LumivexMessageHandler.h"
#include "load_linked.h"
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

TEST_F(Handler, EventsHaveTheirTypesAndTheOrderOfTheirKeys) {
  MakeHandler();
  const std::string text("a\0b", 3);
  handler_->OnError(-2, INT32_MAX);
  handler_->OnInfo(3, 40, INT32_MIN);
  handler_->OnDRMInfo(1, text);
  handler_->OnTimedText(text);
  handler_->OnTimedText("");
  handler_->OnRFInfo(-1);
  EXPECT_THAT(
      journal_.Take(),
      ElementsAre(
          HE("OnError", "[OnError] PLAYBACK_ERROR_EVENT >> eventType: -2, extra: 2147483647"),
          R"(post {"event": "PLAYBACK_ERROR_EVENT", "type": -2, "extra": 2147483647})",
          H("OnInfo",
            "[OnInfo] PLAYBACK_INFO_EVENT >> eventType: 3, param1: 40, param2: -2147483648"),
          R"(post {"event": "PLAYBACK_INFO_EVENT", "type": 3, "param1": 40, "param2": -2147483648})",
          R"(post {"event": "PLAYBACK_DRMINFO_EVENT", "type": 1, "data": "a"})",
          R"(post {"event": "PLAYBACK_TIMEDTEXT_EVENT", "text": "a"})",
          R"(post {"event": "PLAYBACK_TIMEDTEXT_EVENT", "text": ""})",
          R"(post {"event": "RF_INFO_EVENT", "eventType": -1})"));
  EXPECT_EQ(browser_->LiveVars(), 0);
}

TEST_F(Handler, RegistersOnTheLoopOfTheCallingThread) {
  MakeHandler();
  Registrations& seen = Registrations::Get();
  seen.swallow = true;
  std::thread([this] { handler_->Register(); }).join();
  EXPECT_EQ(seen.loop, 0);  // a thread without a loop
  EXPECT_EQ(seen.instance, page_->instance());
  EXPECT_EQ(seen.handler, static_cast<pp::MessageHandler*>(handler_.get()));

  pp::SimpleThreadAwaitLoop thread{pp::InstanceHandle(page_->instance())};
  ASSERT_TRUE(thread.Start());
  std::promise<void> done;
  struct Work {
    CLumivexMessageHandler* handler;
    std::promise<void>* done;
  } work = {handler_.get(), &done};
  pp::MessageLoop loop = thread.message_loop();
  EXPECT_EQ(loop.PostWork({[](void* user_data, int32_t) {
                             auto* const with = static_cast<Work*>(user_data);
                             with->handler->Register();
                             with->done->set_value();
                           },
                           &work, 0}),
            0);
  done.get_future().wait();
  EXPECT_EQ(seen.loop, thread.message_loop().pp_resource());
  EXPECT_NE(seen.loop, 0);
  handler_->WasUnregistered(pp::InstanceHandle(page_->instance()));
  seen.swallow = false;
}

}  // namespace
}  // namespace lumivex::test
