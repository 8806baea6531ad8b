#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "IZunoPlayer.h"
#include "engine.h"
#include "source.h"

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

// Nothing when the text is missing or its length negative. It needs no terminator.
std::optional<std::string> TextOf(const char* text, int length) {
  const bool valid = length == 0 || (length > 0 && text != nullptr);
  return valid ? std::optional<std::string>(
                     {length == 0 ? "" : text, static_cast<std::size_t>(length)})
               : std::nullopt;
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
    std::string unwanted;
    return languageCode != nullptr &&
           engine_->DescribeTrack(streamType, index, languageCode,
                                  furtherText == nullptr ? &unwanted : furtherText);
  }

  bool StartSubtitle(const char* filePath, int /*mode*/) override {
    return filePath != nullptr && engine_->LoadCues(filePath);
  }

  // There is NO digital rights management here: nothing is ever decrypted and no licence is
  // checked. An encrypted medium ends in an error whatever properties were set. What exists is the
  // conversation, so that an application can be tried out: the properties are checked, and a
  // challenge is answered with a placeholder that is followed by the given data.
  int SetDrmInfo(
      const char* name, int nameLength, const char* data, int dataLength, int /*mode*/) override {
    enum { kAccepted = 0, kUnknownProperty = 1, kBadData = 2 };
    const std::optional<std::string> property = TextOf(name, nameLength);
    const std::optional<std::string> value = TextOf(data, dataLength);
    const bool is_text = value && value->find('\0') == std::string::npos;
    bool accepted = value.has_value();
    if (value && property == "PROPERTY_REQUEST_CHALLENGE_DATA") {
      engine_->PostData(kMessageDrmData, "zuno-player has no DRM; challenge for: " + *value);
    } else if (property == "PROPERTY_SET_DRM_LICENSE") {
      accepted = value && !value->empty();
    } else if (property == "PROPERTY_LICENSE_SERVER") {
      accepted = is_text && IsNetworkUri(*value);
    } else if (property == "PROPERTY_WMDRM_COOKIE") {
      accepted = is_text;
    } else if (property != "PROPERTY_REQUEST_CHALLENGE_DATA") {
      return kUnknownProperty;
    }
    return accepted ? kAccepted : kBadData;
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
    const std::string_view attribute = name;
    Rect place;
    std::int32_t window = 0;
    if (value != nullptr && (attribute == "wayland_rect" || attribute == "display_area") &&
        size == static_cast<int>(sizeof(place))) {
      std::memcpy(&place, value, sizeof(place));
      engine_->SetPlace(place);
    } else if (value != nullptr && attribute == "display_handler" &&
               size == static_cast<int>(sizeof(window))) {
      std::memcpy(&window, value, sizeof(window));
      engine_->SetWindow(window);
    } else {
      return false;
    }
    return true;
  }

  const std::shared_ptr<Engine> engine_;
};

}  // namespace
}  // namespace zuno

extern "C" __attribute__((visibility("default"))) IZunoPlayer* Create() {
  std::shared_ptr<zuno::Engine> engine = zuno::Engine::Start();
  return engine == nullptr ? nullptr : new (std::nothrow) zuno::ZunoPlayer(std::move(engine));
}
