#ifndef PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_
#define PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cues.h"
#include "gst_ptr.h"

namespace zuno {

constexpr int kStreamText = 4;

struct Size {
  int width;
  int height;
};

// One opened medium on GStreamer's playbin, or playbin3. Takes no lock and starts no thread of its
// own. The owner reads its bus and calls it from one thread at a time; the const functions may be
// called beside that, those on tracks apart. Of our code, the handlers that set up and shield the
// source and that see data at the sinks run on GStreamer's threads. Times are in milliseconds of
// the medium.
class Pipeline {
 public:
  // videoSink may be null: the picture then keeps time and is not drawn. The reference is taken
  // over. Null when GStreamer lacks what is needed or LUMIVEX_AUDIO_SINK makes no sense.
  static std::unique_ptr<Pipeline> Create(const std::string& uri, GstElement* videoSink);
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // Blocks until GStreamer's threads for this medium have ended. Nothing works any more then.
  void Close(bool adaptive);

  // Both answer false on an immediate failure; otherwise the state is reached when it Settles.
  bool Pause();
  bool Play();
  // Whether the state is reached within so much time.
  bool Settles(std::chrono::milliseconds limit) const;

  bool IsSeekable() const;
  // Goes to exactly this position and plays on at this speed; done when it Settles.
  bool Seek(std::int64_t msec, double speed);
  // From now on the present position, that of the first picture, is 0. Broadcast streams begin
  // counting before it.
  void BeginHere();
  std::optional<std::int64_t> Position() const;
  // Of one that has settled after a jump: the duration where nothing follows.
  std::optional<std::int64_t> Arrival() const;
  std::optional<std::int64_t> Duration() const;

  // Decoded size of the current picture.
  std::optional<Size> Resolution() const;

  // Tracks by the library's stream type: 1 audio, 3 video, 4 text. Nothing, or false, for other
  // types and for tracks that do not exist.
  std::optional<int> TrackCount(int type) const;
  std::optional<int> CurrentTrack(int type) const;
  bool SelectTrack(int type, int index);
  // Has GStreamer play the track that was selected.
  bool ApplySelection(int type);
  // ISO 639-2 code (terminology form), "und" when the medium states none, and a description made
  // of codec and title.
  bool DescribeTrack(int type, int index, std::string* language, std::string* description) const;

  // Keeps the texts that have come, and takes the current track's that show at this position when
  // that track is chosen, each once.
  std::vector<Cue> TakeTexts(std::int64_t position_ms, bool chosen);

  // What the bus tells of tracks.
  void TakeTracks(GstMessage* message);
  void TakeSelection(GstMessage* message);

  // Whether a change of text waits for a jump.
  bool has_streams() const { return has_streams_; }
  // Whether it has a buffer that fills before it plays, of which the bus tells.
  bool reads_ahead() const { return reads_ahead_; }
  GstBus* bus() const { return bus_.get(); }

 private:
  struct Tracks {
    const char* word;  // in playbin's names
    const char* codec_tag;
    GstStreamType stream_type;
    std::vector<StreamPtr> streams;  // of playbin3
    int current;
  };

  Pipeline() = default;
  int Number(const std::string& property) const;

  ElementPtr playbin_;
  ElementPtr audio_sink_;
  ElementPtr video_sink_;
  ElementPtr text_sink_;
  BusPtr bus_;
  std::int64_t origin_ = 0;
  std::atomic<bool> data_follow_{false};  // since the last flush
  bool reads_ahead_ = false;
  bool has_streams_ = false;  // playbin3 lists its tracks as streams
  std::map<int, Tracks> tracks_ = {
      {1, {"audio", GST_TAG_AUDIO_CODEC, GST_STREAM_TYPE_AUDIO, {}, 0}},
      {3, {"video", GST_TAG_VIDEO_CODEC, GST_STREAM_TYPE_VIDEO, {}, 0}},
      {kStreamText, {"text", GST_TAG_SUBTITLE_CODEC, GST_STREAM_TYPE_TEXT, {}, 0}}};
  ElementPtr demuxer_;  // takes the selection: by way of playbin3 its threads may lock each other
  std::map<int, std::vector<Cue>> texts_;  // by track, not taken yet
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_PIPELINE_H_
