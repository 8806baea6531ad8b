#include "ppapi/quorvel/simple_thread_await_loop.h"

#include <system_error>

#include "ppapi/c/pp_errors.h"

namespace pp {

namespace {

void QuitOnItsThread(void* user_data, int32_t) {
  static_cast<MessageLoop*>(user_data)->PostQuit(true);
}

}  // namespace

SimpleThreadAwaitLoop::SimpleThreadAwaitLoop(const InstanceHandle& instance)
    : message_loop_(instance) {}

SimpleThreadAwaitLoop::~SimpleThreadAwaitLoop() {
  if (thread_.joinable()) {
    // A loop that has ended refuses both. One that runs and refuses both cannot be ended; join it
    // nevertheless, because the thread must not outlive the plug-in's code.
    if (message_loop_.PostQuit(true) != PP_OK) {
      message_loop_.PostWork({&QuitOnItsThread, &message_loop_, 0});
    }
    thread_.join();
  }
}

bool SimpleThreadAwaitLoop::Start() {
  if (thread_.joinable()) {
    return false;
  }
  try {
    thread_ = std::thread(&SimpleThreadAwaitLoop::RunLoop, this);
  } catch (const std::system_error&) {
    return false;
  }
  std::unique_lock<std::mutex> lock(mutex_);
  attached_.wait(lock, [this] { return is_attached_; });
  return true;
}

void SimpleThreadAwaitLoop::RunLoop() {
  const int32_t result = message_loop_.AttachToCurrentThread();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_attached_ = true;
    attached_.notify_one();
  }
  if (result == PP_OK) {
    message_loop_.Run();
  }
}

}  // namespace pp
