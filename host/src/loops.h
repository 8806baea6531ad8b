#ifndef HOST_LOOPS_H_
#define HOST_LOOPS_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/defects.h"
#include "ppapi/c/pp_resource.h"

namespace lumivex::host {

// A queue of work for one thread. Any thread may post. Work runs in the order of its due times,
// then of posting.
class Loop {
 public:
  using Task = std::function<void()>;

  // Claims the loop for a thread; false if it is claimed already.
  bool Attach();
  // Whether a thread is attached and the loop not destroyed.
  bool IsServed() const;
  // False if the loop was destroyed; the task is dropped.
  bool Post(Task task, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
  // Queued like a task. False if the loop was destroyed.
  bool PostQuit(bool should_destroy);

  // PP_OK after a quit, PP_ERROR_INPROGRESS if it already runs.
  int32_t Run();
  void RunPending();
  // Drops all queued work and refuses any more.
  void Destroy();
  bool IsRunning() const;
  bool IsDestroyed() const;

 private:
  struct Item {
    Task task;  // empty: quit
    bool should_destroy = false;
  };
  using Clock = std::chrono::steady_clock;

  bool Enqueue(Item item, std::chrono::milliseconds delay);
  Item TakeFirst();  // needs mutex_

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  std::map<std::pair<Clock::time_point, uint64_t>, Item> items_;
  uint64_t posted_ = 0;
  bool attached_ = false;
  bool running_ = false;
  bool destroyed_ = false;
};

// The message loops by resource id. Results are those of PPB_MessageLoop. Ids are never reused, so
// that a released one is recognised.
class LoopTable {
 public:
  explicit LoopTable(Defects* defects);
  ~LoopTable();
  LoopTable(const LoopTable&) = delete;
  LoopTable& operator=(const LoopTable&) = delete;

  bool OnMainThread() const { return std::this_thread::get_id() == main_thread_; }
  const std::shared_ptr<Loop>& main_loop() const { return main_loop_; }

  PP_Resource Create();
  PP_Resource MainResource() const { return kMain; }
  PP_Resource Current() const;  // 0 on a thread without a loop; adds no reference
  std::shared_ptr<Loop> Find(PP_Resource resource) const;
  int32_t Attach(PP_Resource resource);
  int32_t Run(PP_Resource resource);

  void AddRef(PP_Resource resource);
  void Release(PP_Resource resource);
  int64_t References() const;
  std::vector<std::string> DescribeLive() const;

 private:
  struct Entry {
    std::shared_ptr<Loop> loop;
    int64_t references = 0;
  };
  static constexpr PP_Resource kMain = 1;

  void RecordMisuse(const char* operation, PP_Resource resource);

  Defects* const defects_;
  const std::thread::id main_thread_ = std::this_thread::get_id();
  const std::shared_ptr<Loop> main_loop_ = std::make_shared<Loop>();
  const uint64_t epoch_;  // tells a thread's loop from one of an earlier table

  mutable std::mutex mutex_;
  // Guarded by mutex_. The main thread's loop stays even without references.
  std::map<PP_Resource, Entry> entries_;
  PP_Resource last_ = kMain;
  std::vector<std::weak_ptr<Loop>> all_;
};

}  // namespace lumivex::host

#endif  // HOST_LOOPS_H_
