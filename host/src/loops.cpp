#include "loops.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "ppapi/c/pp_errors.h"

namespace lumivex::host {

namespace {

// The loop that the current thread is attached to. It keeps the loop alive while it runs, even
// when the plug-in has released the resource. A loop ends with its thread.
struct Attachment {
  ~Attachment() {
    if (loop != nullptr) {
      loop->Destroy();
    }
  }
  std::shared_ptr<Loop> loop;
  PP_Resource resource = 0;
  uint64_t epoch = 0;
};

thread_local Attachment attachment;

uint64_t NextEpoch() {
  static std::atomic<uint64_t> last{0};
  return ++last;
}

}  // namespace

bool Loop::Attach() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !std::exchange(attached_, true);
}

bool Loop::IsServed() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return attached_ && !destroyed_;
}

bool Loop::Post(Task task, std::chrono::milliseconds delay) {
  return Enqueue({std::move(task), false}, delay);
}

bool Loop::PostQuit(bool should_destroy) {
  return Enqueue({nullptr, should_destroy}, std::chrono::milliseconds(0));
}

bool Loop::Enqueue(Item item, std::chrono::milliseconds delay) {
  // Far enough, and the sum with now stays within the clock's range.
  constexpr std::chrono::milliseconds kMaxDelay = std::chrono::hours(24 * 365);
  delay = std::clamp(delay, std::chrono::milliseconds(0), kMaxDelay);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (destroyed_) {
      return false;
    }
    items_.emplace(std::make_pair(Clock::now() + delay, ++posted_), std::move(item));
  }
  changed_.notify_all();
  return true;
}

Loop::Item Loop::TakeFirst() {
  Item item = std::move(items_.begin()->second);
  items_.erase(items_.begin());
  return item;
}

int32_t Loop::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (running_) {
    return PP_ERROR_INPROGRESS;
  }
  running_ = true;
  bool should_destroy = false;
  while (!destroyed_) {
    if (items_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const Clock::time_point due = items_.begin()->first.first;
    if (due > Clock::now()) {
      changed_.wait_until(lock, due);
      continue;
    }
    Item item = TakeFirst();
    if (item.task == nullptr) {
      should_destroy = item.should_destroy;
      break;
    }
    lock.unlock();
    item.task();
    item.task = nullptr;  // destroys its captures without the lock
    lock.lock();
  }
  running_ = false;
  lock.unlock();
  if (should_destroy) {
    Destroy();
  }
  return PP_OK;
}

void Loop::RunPending() {
  std::unique_lock<std::mutex> lock(mutex_);
  const std::pair now(Clock::now(), std::numeric_limits<uint64_t>::max());
  while (!items_.empty() && items_.begin()->first <= now) {
    Item item = TakeFirst();
    if (item.task == nullptr) {
      return;
    }
    lock.unlock();
    item.task();
    item.task = nullptr;  // destroys its captures without the lock
    lock.lock();
  }
}

void Loop::Destroy() {
  // Dropped outside the lock: a task's end may wake a sender or release vars.
  decltype(items_) dropped;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    destroyed_ = true;
    dropped.swap(items_);
  }
  changed_.notify_all();
}

bool Loop::IsRunning() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return running_;
}

bool Loop::IsDestroyed() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return destroyed_;
}

LoopTable::LoopTable(Defects* defects) : defects_(defects), epoch_(NextEpoch()) {
  main_loop_->Attach();
  entries_[kMain] = {main_loop_};
}

LoopTable::~LoopTable() {
  // A thread that the plug-in left behind keeps its loop, but not the work in it.
  main_loop_->Destroy();
  for (const std::weak_ptr<Loop>& weak : all_) {
    if (const std::shared_ptr<Loop> loop = weak.lock()) {
      loop->Destroy();
    }
  }
}

PP_Resource LoopTable::Create() {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto loop = std::make_shared<Loop>();
  entries_[++last_] = {loop, 1};
  if (all_.size() == all_.capacity()) {  // so seldom that the number of loops does not matter
    all_.erase(std::remove_if(all_.begin(), all_.end(),
                              [](const std::weak_ptr<Loop>& weak) { return weak.expired(); }),
               all_.end());
    all_.reserve(2 * (all_.size() + 1));
  }
  all_.push_back(loop);
  return last_;
}

PP_Resource LoopTable::Current() const {
  if (OnMainThread()) {
    return kMain;
  }
  return attachment.loop != nullptr && attachment.epoch == epoch_ ? attachment.resource : 0;
}

std::shared_ptr<Loop> LoopTable::Find(PP_Resource resource) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = entries_.find(resource);
  return found == entries_.end() ? nullptr : found->second.loop;
}

int32_t LoopTable::Attach(PP_Resource resource) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = entries_.find(resource);
  if (found == entries_.end()) {
    return PP_ERROR_BADRESOURCE;
  }
  if (OnMainThread()) {
    return PP_ERROR_WRONG_THREAD;
  }
  if (Current() != 0 || !found->second.loop->Attach()) {
    return PP_ERROR_INPROGRESS;
  }
  attachment.loop = found->second.loop;
  attachment.resource = resource;
  attachment.epoch = epoch_;
  return PP_OK;
}

int32_t LoopTable::Run(PP_Resource resource) {
  if (Find(resource) == nullptr) {
    return PP_ERROR_BADRESOURCE;
  }
  if (resource != Current()) {
    return PP_ERROR_WRONG_THREAD;
  }
  if (resource == kMain) {
    return PP_ERROR_INPROGRESS;
  }
  const std::shared_ptr<Loop> loop = attachment.loop;
  const int32_t result = loop->Run();
  if (Find(resource) == nullptr) {  // released while it ran: it cannot run again
    loop->Destroy();
  }
  if (loop->IsDestroyed()) {
    attachment.loop = nullptr;
  }
  return result;
}

void LoopTable::RecordMisuse(const char* operation, PP_Resource resource) {
  const bool was_known = resource > 0 && resource <= last_;
  defects_->Record(std::string(operation) + ": resource " + std::to_string(resource) +
                   (was_known ? " was already released" : " does not exist"));
}

void LoopTable::AddRef(PP_Resource resource) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = entries_.find(resource);
  if (found == entries_.end()) {
    RecordMisuse("AddRefResource", resource);
    return;
  }
  ++found->second.references;
}

void LoopTable::Release(PP_Resource resource) {
  std::shared_ptr<Loop> released;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(resource);
    if (found == entries_.end() || found->second.references == 0) {
      RecordMisuse("ReleaseResource", resource);
      return;
    }
    if (--found->second.references == 0 && resource != kMain) {
      released = std::move(found->second.loop);
      entries_.erase(found);
    }
  }
  // It cannot run again: drop its work, which may hold the loop itself.
  if (released != nullptr && !released->IsRunning()) {
    released->Destroy();
  }
}

int64_t LoopTable::References() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  int64_t sum = 0;
  for (const auto& [resource, entry] : entries_) {
    sum += entry.references;
  }
  return sum;
}

std::vector<std::string> LoopTable::DescribeLive() const {
  std::vector<std::string> lines;
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& [resource, entry] : entries_) {
    if (entry.references > 0) {
      lines.push_back((resource == kMain ? "the main thread's message loop" : "message loop ") +
                      (resource == kMain ? "" : std::to_string(resource)) +
                      ", references: " + std::to_string(entry.references));
    }
  }
  return lines;
}

}  // namespace lumivex::host
