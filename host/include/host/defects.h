#ifndef HOST_DEFECTS_H_
#define HOST_DEFECTS_H_

#include <mutex>
#include <string>
#include <vector>

namespace lumivex::host {

// What a plug-in did wrong, one sentence each, in order. Any thread may use it.
class Defects {
 public:
  void Record(std::string what);
  std::vector<std::string> All() const;

 private:
  // A plug-in that errs in a loop must not fill the memory.
  static constexpr std::size_t kMaxTexts = 1000;

  mutable std::mutex mutex_;
  std::vector<std::string> texts_;
};

}  // namespace lumivex::host

#endif  // HOST_DEFECTS_H_
