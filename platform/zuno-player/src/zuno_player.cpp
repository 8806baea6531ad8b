#include <cmath>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "IZunoPlayer.h"
#include "drm.h"
#include "engine.h"

namespace zuno {
namespace {

template <typename T>
bool Answer(const std::optional<T>& value, int* out) {
  if (!value || out == nullptr) {
    return false;
  }
  *out = static_cast<int>(std::min<std::int64_t>(*value, std::numeric_limits<int>::max()));
  return true;
}

// The binary boundary: checks what callers pass in and hands it to the engine. An operation lets
// nothing be thrown; memory that has run out ends the process.
class ZunoPlayer final : public IZunoPlayer {
 public:
  explicit ZunoPlayer(std::shared_ptr<Engine> engine) : engine_(std::move(engine)) {}
  ~ZunoPlayer() override { engine_->ShutDown(); }
  ZunoPlayer(const ZunoPlayer&) = delete;
  ZunoPlayer& operator=(const ZunoPlayer&) = delete;

  bool InitPlayer(const char* url, unsigned int timeOffset) override {
    return url != nullptr && engine_->Open(url, timeOffset);
  }
  bool Play(int /*mode*/) override { return engine_->Play(); }
  bool Stop() override { return engine_->Stop(); }
  bool Pause() override { return engine_->Pause(); }
  bool Resume() override { return engine_->Resume(); }
  bool Seek(int msec) override { return engine_->Seek(msec); }
  bool SetPlaySpeed(float speed) override { return engine_->SetSpeed(speed); }

  bool GetCurrentPosition(int* msec) override { return Answer(engine_->Position(), msec); }
  bool GetDuration(int* msec) override { return Answer(engine_->Duration(), msec); }
  bool GetResolution(int* width, int* height) override {
    const std::optional<Size> size = engine_->Resolution();
    if (!size || width == nullptr || height == nullptr) {
      return false;
    }
    *width = size->width;
    *height = size->height;
    return true;
  }
  bool GetAvailableBitrates(std::vector<unsigned int>* bitrates) override {
    if (bitrates == nullptr) {
      return false;
    }
    *bitrates = engine_->Bitrates();
    return !bitrates->empty();
  }

  bool GetTotalNumOfStreamID(int streamType, int* count) override {
    return Answer(engine_->TrackCount(streamType), count);
  }
  bool GetCurrentStreamID(int streamType, int* index) override {
    return Answer(engine_->CurrentTrack(streamType), index);
  }
  bool SetStreamID(int streamType, int index) override {
    return engine_->SelectTrack(streamType, index);
  }
  bool GetStreamLanguageCode(int streamType,
                             int index,
                             std::string* languageCode,
                             std::string* furtherText) override {
    std::string language;
    std::string description;
    if (languageCode == nullptr ||
        !engine_->DescribeTrack(streamType, index, &language, &description)) {
      return false;
    }
    *languageCode = std::move(language);
    if (furtherText != nullptr) {
      *furtherText = std::move(description);
    }
    return true;
  }

  bool StartSubtitle(const char* filePath, int /*mode*/) override {
    return filePath != nullptr && engine_->LoadCues(filePath);
  }

  int SetDrmInfo(
      const char* name, int nameLength, const char* data, int dataLength, int /*mode*/) override {
    std::optional<std::string> challenge;
    const DrmResult result = CheckDrmProperty(name, nameLength, data, dataLength, &challenge);
    if (challenge) {
      engine_->PostData(kMessageDrmData, std::move(*challenge));
    }
    return result;
  }

  bool SetCurrentPositionCallback(PositionCallback callback, void* userData) override {
    engine_->SetPositionCallback(callback, userData);
    return true;
  }
  bool SetMessageCallback(MessageCallback callback, void* userData) override {
    engine_->SetMessageCallback(callback, userData);
    return true;
  }

  // Attributes that are known and of the right size are taken even when others in the same call
  // are refused. The rectangle given last counts, whichever of the two names it came under.
  bool SetAttribute(int mode, ...) override {
    bool accepted = true;
    va_list arguments;
    va_start(arguments, mode);
    while (const char* name = va_arg(arguments, const char*)) {
      const void* value = va_arg(arguments, const void*);
      const int size = va_arg(arguments, int);
      accepted = TakeAttribute(name, value, size) && accepted;
    }
    va_end(arguments);
    return accepted;
  }

 private:
  bool TakeAttribute(const char* name, const void* value, int size) {
    const bool is_rectangle =
        std::strcmp(name, "wayland_rect") == 0 || std::strcmp(name, "display_area") == 0;
    if (value == nullptr) {
      return false;
    }
    if (is_rectangle && size == static_cast<int>(sizeof(Rect))) {
      Rect place;
      std::memcpy(&place, value, sizeof(place));
      engine_->SetPlace(place);
      return true;
    }
    std::int32_t window = 0;
    if (std::strcmp(name, "display_handler") == 0 && size == static_cast<int>(sizeof(window))) {
      std::memcpy(&window, value, sizeof(window));
      engine_->SetWindow(window);
      return true;
    }
    return false;
  }

  const std::shared_ptr<Engine> engine_;
};

}  // namespace
}  // namespace zuno

extern "C" __attribute__((visibility("default"))) IZunoPlayer* Create() {
  std::shared_ptr<zuno::Engine> engine = zuno::Engine::Start();
  return engine == nullptr ? nullptr : new (std::nothrow) zuno::ZunoPlayer(std::move(engine));
}
