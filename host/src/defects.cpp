#include "host/defects.h"

#include <utility>

namespace lumivex::host {

void Defects::Record(std::string what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (texts_.size() < kMaxTexts) {
    texts_.push_back(std::move(what));
  } else if (texts_.size() == kMaxTexts) {
    texts_.emplace_back("... and more, which are not kept");
  }
}

std::vector<std::string> Defects::All() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return texts_;
}

}  // namespace lumivex::host
