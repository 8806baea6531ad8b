#include "runtime.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace lumivex::host {

namespace {

[[noreturn]] void Abort(const char* function, const char* problem) {
  std::fprintf(stderr, "%s: %s\n", function, problem);
  std::abort();
}

}  // namespace

Runtime::Runtime(Browser::Options options_given)
    : options(std::move(options_given)),
      extension_system(options.extension_system != nullptr
                           ? options.extension_system
                           : std::make_shared<ExtensionSystem>(options.extension_answers)) {}

void Runtime::Serve() {
  Runtime* none = nullptr;
  if (!current_.compare_exchange_strong(none, this)) {
    Abort("Browser", "another browser exists in this process");
  }
}

void Runtime::StopServing() {
  current_.store(nullptr, std::memory_order_release);
}

void Runtime::RequireMainThread(const char* function) const {
  if (!loops.OnMainThread()) {
    Abort(function, "not called on the browser's thread");
  }
}

void Runtime::ExpectMainThread(const char* function) {
  if (!loops.OnMainThread()) {
    defects.Record(std::string(function) + ": not called on the main thread");
  }
}

std::shared_ptr<PageState> Runtime::AddPage(Browser::EventCallback on_event) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto instance = static_cast<PP_Instance>(pages_.size() + 1);
  pages_.push_back(std::make_shared<PageState>(instance, std::move(on_event), options.on_dropped));
  return pages_.back();
}

PageState* Runtime::FindPage(PP_Instance instance) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::size_t place = static_cast<std::size_t>(instance) - 1;
  return instance < 1 || place >= pages_.size() ? nullptr : pages_[place].get();
}

std::vector<std::shared_ptr<PageState>> Runtime::Pages() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return pages_;
}

void Runtime::ClosePage(PageState* page) {
  if (page->SetClosed()) {
    plugin_instance->DidDestroy(page->instance());
    page->SetHandler(nullptr);
  }
}

const void* Runtime::GetInterface(const char* name) {
  if (name == nullptr) {
    defects.Record("get_browser_interface: the name is null");
    return nullptr;
  }
  const std::string wanted = name;
  const std::lock_guard<std::mutex> lock(mutex_);
  ++interface_requests_[wanted];
  return withheld_.count(wanted) == 0 ? FindTable(wanted) : nullptr;
}

int Runtime::InterfaceRequests(const std::string& name) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = interface_requests_.find(name);
  return found == interface_requests_.end() ? 0 : found->second;
}

void Runtime::Withhold(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  withheld_.insert(name);
}

void Runtime::ForceRegisterResult(std::optional<int32_t> result) {
  const std::lock_guard<std::mutex> lock(mutex_);
  register_result_ = result;
}

std::optional<int32_t> Runtime::ForcedRegisterResult() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return register_result_;
}

void Runtime::AddSyncCall(SyncCall call) {
  const std::lock_guard<std::mutex> lock(mutex_);
  sync_calls_.push_back(std::move(call));
}

std::vector<SyncCall> Runtime::SyncCalls() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return sync_calls_;
}

}  // namespace lumivex::host
