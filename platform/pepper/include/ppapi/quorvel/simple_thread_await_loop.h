#ifndef PPAPI_QUORVEL_SIMPLE_THREAD_AWAIT_LOOP_H_
#define PPAPI_QUORVEL_SIMPLE_THREAD_AWAIT_LOOP_H_

#include <condition_variable>
#include <mutex>
#include <thread>

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"

#pragma GCC visibility push(default)

namespace pp {

// A thread that runs its own message loop.
class SimpleThreadAwaitLoop {
 public:
  explicit SimpleThreadAwaitLoop(const InstanceHandle& instance);  // starts nothing
  // Waits until the loop has finished the work posted so far and the thread has ended. Must not be
  // called on the thread itself.
  ~SimpleThreadAwaitLoop();
  SimpleThreadAwaitLoop(const SimpleThreadAwaitLoop&) = delete;
  SimpleThreadAwaitLoop& operator=(const SimpleThreadAwaitLoop&) = delete;

  // Returns once the thread has its loop; false if it already runs or cannot be started.
  bool Start();

  const MessageLoop& message_loop() const { return message_loop_; }

 private:
  void RunLoop();

  MessageLoop message_loop_;
  std::mutex mutex_;
  std::condition_variable attached_;
  bool is_attached_ = false;  // guarded by mutex_
  std::thread thread_;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_QUORVEL_SIMPLE_THREAD_AWAIT_LOOP_H_
