#include "input.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace lumivex::host {

std::optional<std::string> Input::TakeLine() {
  const std::size_t end = buffer_.find('\n', scanned_);
  if (end == std::string::npos && (!at_end_ || start_ == buffer_.size())) {
    scanned_ = buffer_.size();
    return std::nullopt;
  }
  std::string line = buffer_.substr(start_, end == std::string::npos ? end : end - start_);
  start_ = scanned_ = end == std::string::npos ? buffer_.size() : end + 1;
  return line;
}

bool Input::Fill() {
  buffer_.erase(0, start_);
  scanned_ -= start_;
  start_ = 0;
  std::array<char, 1 << 16> chunk;
  const ssize_t size = read(descriptor_, chunk.data(), chunk.size());
  if (size < 0) {
    return errno == EINTR || errno == EAGAIN;
  }
  Append(chunk.data(), static_cast<std::size_t>(size));
  return true;
}

void Input::Append(const char* text, std::size_t size) {
  at_end_ = size == 0;
  buffer_.append(text, size);
}

}  // namespace lumivex::host
