#ifndef PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_
#define PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gst_ptr.h"

namespace zuno {

enum class TrackKind { kAudio, kVideo, kText };

struct Size {
  int width;
  int height;
};

// One opened medium on GStreamer's playbin. Takes no lock and starts no thread of its own: the
// owner calls it from one thread at a time and reads its bus. None of our code runs on GStreamer's
// threads. Times are in milliseconds of the medium.
class Pipeline {
 public:
  // videoSink may be null: the picture then keeps time and is not drawn. The reference is taken
  // over. Null when GStreamer lacks what is needed or LUMIVEX_AUDIO_SINK makes no sense.
  static std::unique_ptr<Pipeline> Create(const std::string& uri, GstElement* videoSink);
  // Blocks until GStreamer's threads for this medium have ended.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // Both answer false on an immediate failure; otherwise the state is reached when IsSettled.
  bool Pause();
  bool Play();
  bool IsSettled() const;
  // A live medium cannot be held in front of its first picture, nor wait for a buffer.
  bool IsLive() const { return live_; }

  bool IsSeekable() const;
  // Goes to exactly this position and plays on at this speed; done when IsSettled.
  bool Seek(std::int64_t msec, double speed);
  std::optional<std::int64_t> Position() const;
  std::optional<std::int64_t> Duration() const;

  // Decoded size of the current picture.
  std::optional<Size> Resolution() const;

  int TrackCount(TrackKind kind) const;
  int CurrentTrack(TrackKind kind) const;
  void SelectTrack(TrackKind kind, int index);
  // ISO 639-2 code (terminology form), "und" when the medium states none, and a description made
  // of codec and title.
  void DescribeTrack(TrackKind kind,
                     int index,
                     std::string* language,
                     std::string* description) const;

  // Texts of the current text track that have become due since the last call.
  std::vector<std::string> TakeTexts();

  GstBus* bus() const { return bus_.get(); }
  // The source lies on the network.
  bool IsNetwork() const { return network_; }
  void RecalculateLatency();

 private:
  Pipeline() = default;
  bool SetState(GstState state);

  ElementPtr playbin_;
  ElementPtr text_sink_;
  BusPtr bus_;
  bool live_ = false;
  bool network_ = false;
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_
