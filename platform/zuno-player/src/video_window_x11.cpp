#include "video_window.h"

namespace zuno {

std::unique_ptr<VideoWindow> VideoWindow::Create(int /*parent*/, const Rect& /*place*/) {
  return nullptr;
}

}  // namespace zuno
