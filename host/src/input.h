#ifndef HOST_INPUT_H_
#define HOST_INPUT_H_

#include <cstddef>
#include <optional>
#include <string>

namespace lumivex::host {

// Lines from a descriptor that may be a file, a pipe or a terminal, without ever blocking longer
// than one read of what is there. One thread. The descriptor stays the caller's.
class Input {
 public:
  explicit Input(int descriptor) : descriptor_(descriptor) {}
  virtual ~Input() = default;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  int descriptor() const { return descriptor_; }
  // The next whole line, without its end; at the end of the input also one that has no end.
  std::optional<std::string> TakeLine();
  // Reads what is there. False when it cannot be read; errno says why.
  virtual bool Fill();
  // Before each wait for input, and before each output and at the end; for a prompt.
  virtual void Show() {}
  virtual void Hide() {}
  bool AtEnd() const { return at_end_; }

 protected:
  void Append(const char* text, std::size_t size);  // an end when there is none

 private:
  const int descriptor_;
  std::string buffer_;
  std::size_t start_ = 0;    // of the next line
  std::size_t scanned_ = 0;  // no line ends before
  bool at_end_ = false;
};

}  // namespace lumivex::host

#endif  // HOST_INPUT_H_
