#ifndef HOST_INPUT_H_
#define HOST_INPUT_H_

#include <cstddef>
#include <optional>
#include <string>

namespace lumivex::host {

// Lines from a descriptor, which the caller owns: a file, a pipe or a terminal. Never blocks longer
// than one read. One thread.
class Input {
 public:
  explicit Input(int descriptor) : descriptor_(descriptor) {}
  virtual ~Input() = default;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  int descriptor() const { return descriptor_; }
  // The next line without its newline, which may be missing at the end of the input.
  std::optional<std::string> TakeLine();
  // Reads what is available. False on failure; errno has the reason.
  virtual bool Fill();
  // For a prompt: called before waiting for input, and before output and at the end.
  virtual void Show() {}
  virtual void Hide() {}
  bool AtEnd() const { return at_end_; }

 protected:
  void Append(const char* text, std::size_t size);  // size 0: end of the input

 private:
  const int descriptor_;
  std::string buffer_;
  std::size_t start_ = 0;    // of the next line
  std::size_t scanned_ = 0;  // no newline before
  bool at_end_ = false;
};

}  // namespace lumivex::host

#endif  // HOST_INPUT_H_
