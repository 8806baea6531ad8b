#include "answering_tuner.h"

#include <CRFManager.h>

#include <algorithm>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "answers.h"
#include "check.h"
#include "gate.h"

namespace lumivex::test {

namespace {

// Says whether a thread has ended: thread-locals die before a join returns.
class ThreadEnd {
 public:
  static std::shared_ptr<const std::atomic<bool>> OfThisThread() {
    thread_local const ThreadEnd end;
    return end.ended_;
  }
  ThreadEnd() = default;
  ~ThreadEnd() { *ended_ = true; }
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;

 private:
  std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
};

struct Lease {
  CRFManager handle;  // its address is what the caller holds
  std::shared_ptr<const std::atomic<bool>> obtainer_ended = ThreadEnd::OfThisThread();
  IEventListener* listener = nullptr;  // guarded by the mutex
  Gate gate;                           // of the listener
};

std::mutex mutex;
std::list<Lease>& leases = *new std::list<Lease>;  // guarded by mutex

// Needs the mutex.
Lease& Find(const CRFManager* handle) {
  const auto found = std::find_if(leases.begin(), leases.end(),
                                  [handle](const Lease& lease) { return &lease.handle == handle; });
  Check(found != leases.end(), "the tuner is called while it is held");
  return *found;
}

bool Call(const CRFManager* handle) {
  const std::lock_guard<std::mutex> lock(mutex);
  Find(handle);
  return Say().Success();
}

template <class Output>
bool Fill(const CRFManager* handle, Output* output) {
  *output = static_cast<Output>(Say().Number());
  return Call(handle);
}

bool FillText(const CRFManager* handle, std::string* output) {
  *output = Say().Text();
  return Call(handle);
}

void Notify(IEventListener* listener, unsigned int type, int number, const std::string& text) {
  listener->OnEvent(type, number, text);
  AnsweringTuner::tuned += type == 0 ? 1 : 0;
}

void Release() {
  std::list<Lease> released;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = std::find_if(leases.begin(), leases.end(), [](const Lease& lease) {
      return lease.obtainer_ended->load();
    });
    Check(found != leases.end(), "the tuner is given back after the thread that obtained it");
    released.splice(released.end(), leases, found);
  }
  Lease& lease = released.front();
  lease.gate.Shut();
  if (lease.listener != nullptr) {
    Notify(lease.listener, 0, 0, "the last");
  }
}

}  // namespace

int64_t AnsweringTuner::Held() {
  const std::lock_guard<std::mutex> lock(mutex);
  return static_cast<int64_t>(leases.size());
}

bool AnsweringTuner::Report() {
  Lease* lease = nullptr;
  IEventListener* listener = nullptr;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (leases.empty()) {
      return false;
    }
    lease = &*std::next(leases.begin(), Say().Byte() % static_cast<unsigned int>(leases.size()));
    listener = lease->listener;
    if (listener == nullptr || !lease->gate.TryEnter()) {
      return false;
    }
  }
  Notify(listener, Say().Byte() % 3, Say().Number(), Say().Text());
  lease->gate.Leave();
  return true;
}

}  // namespace lumivex::test

using lumivex::test::AnsweringTuner;
using lumivex::test::Call;
using lumivex::test::Fill;
using lumivex::test::FillText;
using lumivex::test::Say;

CRFManager* CRFManager::GetInstance(const char*, bool, _Eo_Opaque*) {
  if (!Say().Success()) {
    return nullptr;
  }
  const std::lock_guard<std::mutex> lock(lumivex::test::mutex);
  return &lumivex::test::leases.emplace_back().handle;
}

void CRFManager::ReleaseInstance() {
  lumivex::test::Release();
}

bool CRFManager::RegisterRFEventHandler(IEventListener* listener) {
  const std::lock_guard<std::mutex> lock(lumivex::test::mutex);
  lumivex::test::Find(this).listener = listener;
  return Say().Success();
}

bool CRFManager::TuneRFChannel(int, int, int, int) {
  if (AnsweringTuner::reports_from_calls) {
    AnsweringTuner::Report();
  }
  return Call(this);
}

// clang-format off
bool CRFManager::SetSubtitleWindowSubsurface(unsigned int) { return Call(this); }
bool CRFManager::ShowSubtitleWindow() { return Call(this); }
bool CRFManager::SetChType(LUMIVEX_CHANNEL_TYPE) { return Call(this); }
bool CRFManager::GetNumOfMultiAudio(unsigned int* count) { return Fill(this, count); }
bool CRFManager::GetNumOfSubtitle(unsigned int* count) { return Fill(this, count); }
bool CRFManager::GetCurrentAudioIndex(int* index) { return Fill(this, index); }
bool CRFManager::GetCurrentSubtitleIndex(int* index) { return Fill(this, index); }
bool CRFManager::ChangeAudioByIndex(unsigned int) { return Call(this); }
bool CRFManager::ChangeSubtitleByIndex(int) { return Call(this); }
bool CRFManager::GetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE* mode) { return Fill(this, mode); }
bool CRFManager::SetSubtitleMode(CTVSHandler::LUMIVEX_SUBTITLE_MODE) { return Call(this); }
bool CRFManager::GetSubtitleStatus(bool* shown) { return Fill(this, shown); }
bool CRFManager::SetSubtitleStatus(bool) { return Call(this); }
bool CRFManager::GetMultiAudioLanguageByIndex(unsigned int, std::string* language) { return FillText(this, language); }
bool CRFManager::GetSubtitleLanguageByIndex(unsigned int, std::string* language) { return FillText(this, language); }
// clang-format on
