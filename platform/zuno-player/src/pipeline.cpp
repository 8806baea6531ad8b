#include "pipeline.h"

#include <gst/app/gstappsink.h>
#include <gst/tag/tag.h>

#include <cstdlib>

#include "cues.h"
#include "handover.h"
#include "source.h"

namespace zuno {
namespace {

// Bits of playbin's "flags"; its header is not installed.
constexpr int kPlayVideo = 1 << 0;
constexpr int kPlayAudio = 1 << 1;
constexpr int kPlayText = 1 << 2;
constexpr int kPlayNativeVideo = 1 << 6;  // no scaler of playbin's own, which adds borders
constexpr int kPlayDeinterlace = 1 << 9;

constexpr guint64 kSoundQueue = 200 * GST_MSECOND;

struct TrackNames {
  const char* count;
  const char* current;
  const char* tags;
  const char* codec_tag;
};

const TrackNames& NamesOf(TrackKind kind) {
  static constexpr TrackNames kAudio = {"n-audio", "current-audio", "get-audio-tags",
                                        GST_TAG_AUDIO_CODEC};
  static constexpr TrackNames kVideo = {"n-video", "current-video", "get-video-tags",
                                        GST_TAG_VIDEO_CODEC};
  static constexpr TrackNames kText = {"n-text", "current-text", "get-text-tags",
                                       GST_TAG_SUBTITLE_CODEC};
  switch (kind) {
    case TrackKind::kAudio:
      return kAudio;
    case TrackKind::kVideo:
      return kVideo;
    default:
      return kText;
  }
}

std::string TagText(const GstTagList* tags, const char* name) {
  char* value = nullptr;
  if (tags == nullptr || gst_tag_list_get_string(tags, name, &value) == FALSE) {
    return {};
  }
  const CharPtr owned(value);
  return value;
}

// Demultiplexers shorten the medium's codes to two letters where they can; television knows three.
std::string LanguageOf(const GstTagList* tags) {
  const std::string code = TagText(tags, GST_TAG_LANGUAGE_CODE);
  if (code.empty()) {
    return "und";
  }
  const char* three = gst_tag_get_language_code_iso_639_2T(code.c_str());
  return three == nullptr ? code : three;
}

// A sink that keeps time like a sound card or a screen, and drops everything.
GstElement* MakeSilentSink() {
  GstElement* sink = gst_element_factory_make("fakesink", nullptr);
  if (sink != nullptr) {
    g_object_set(sink, "sync", TRUE, "enable-last-sample", FALSE, nullptr);
  }
  return sink;
}

GstElement* ParseBin(const char* description) {
  GError* error = nullptr;
  GstElement* bin = gst_parse_bin_from_description_full(description, TRUE, nullptr,
                                                        GST_PARSE_FLAG_FATAL_ERRORS, &error);
  const ErrorPtr owned(error);
  if (error != nullptr) {
    g_printerr("zuno-player: \"%s\": %s\n", description, error->message);
  }
  return bin;
}

// Where the sound goes. A machine without a sound card must keep time as well, so by default the
// sound is dropped. LUMIVEX_AUDIO_SINK names an output as a GStreamer bin description, for example
// "autoaudiosink" on a desk, or "audioconvert ! wavenc ! filesink location=out.wav" to measure it.
GstElement* MakeAudioSink() {
  const char* description = std::getenv("LUMIVEX_AUDIO_SINK");
  return description == nullptr || *description == '\0' ? MakeSilentSink() : ParseBin(description);
}

void OnSourceSetup(GstElement* /*playbin*/, GstElement* source, void* /*data*/) {
  LimitNetworkWaits(source);
}

// playbin keeps a second of decoded sound in its queue of this name, behind the point where audio
// tracks are switched; a switch shall be heard sooner.
void OnElementAdded(GstBin* /*playbin*/, GstBin* /*bin*/, GstElement* element, void* /*data*/) {
  const CharPtr name(gst_element_get_name(element));
  if (g_strcmp0(name.get(), "aqueue") == 0) {
    g_object_set(element, "max-size-time", kSoundQueue, nullptr);
  }
}

// Gives what waits for room in the queues before the sinks all the room it wants. A stream that has
// just been deselected may wait there, where no flush reaches it any more; while the sinks stand
// still, the flush would then wait for it for ever.
class RoomInQueues {
 public:
  explicit RoomInQueues(GstElement* playbin) {
    for (const char* name : {"aqueue", "vqueue", "subqueue"}) {
      ElementPtr queue(gst_bin_get_by_name(GST_BIN(playbin), name));
      if (queue != nullptr) {
        Limits limits = {};
        g_object_get(queue.get(), "max-size-buffers", &limits.buffers, "max-size-bytes",
                     &limits.bytes, "max-size-time", &limits.time, nullptr);
        Set(queue.get(), {});
        queues_.emplace_back(std::move(queue), limits);
      }
    }
  }
  ~RoomInQueues() {
    for (const auto& [queue, limits] : queues_) {
      Set(queue.get(), limits);
    }
  }
  RoomInQueues(const RoomInQueues&) = delete;
  RoomInQueues& operator=(const RoomInQueues&) = delete;

 private:
  struct Limits {
    guint buffers, bytes;
    guint64 time;
  };

  static void Set(GstElement* queue, const Limits& limits) {
    g_object_set(queue, "max-size-buffers", limits.buffers, "max-size-bytes", limits.bytes,
                 "max-size-time", limits.time, nullptr);
  }

  std::vector<std::pair<ElementPtr, Limits>> queues_;
};

}  // namespace

std::unique_ptr<Pipeline> Pipeline::Create(const std::string& uri, GstElement* videoSink) {
  // playbin takes over floating references, so what it was not given yet is released here.
  ElementPtr video(videoSink != nullptr ? videoSink : MakeSilentSink());
  ElementPtr audio(MakeAudioSink());
  // Other speeds than 1 keep the pitch of the sound.
  ElementPtr tempo(ParseBin("audioconvert ! scaletempo"));
  ElementPtr text(gst_element_factory_make("appsink", nullptr));
  ElementPtr playbin(gst_element_factory_make("playbin", nullptr));
  for (GstElement* element : {video.get(), audio.get(), tempo.get(), text.get(), playbin.get()}) {
    if (element != nullptr) {
      gst_object_ref_sink(element);
    }
  }
  if (playbin == nullptr || video == nullptr || audio == nullptr || tempo == nullptr ||
      text == nullptr) {
    return nullptr;
  }
  // Texts nobody takes must not hold up the stream.
  g_object_set(text.get(), "sync", TRUE, "max-buffers", 16U, "drop", TRUE, nullptr);
  g_object_set(playbin.get(), "uri", uri.c_str(), "flags",
               kPlayVideo | kPlayAudio | kPlayText | kPlayNativeVideo | kPlayDeinterlace,
               "video-sink", video.get(), "audio-sink", audio.get(), "audio-filter", tempo.get(),
               "text-sink", text.get(), nullptr);
  g_signal_connect(playbin.get(), "source-setup", G_CALLBACK(OnSourceSetup), nullptr);
  g_signal_connect(playbin.get(), "deep-element-added", G_CALLBACK(OnElementAdded), nullptr);

  std::unique_ptr<Pipeline> pipeline(new Pipeline);
  pipeline->bus_.reset(gst_element_get_bus(playbin.get()));
  pipeline->playbin_ = std::move(playbin);
  pipeline->text_sink_ = std::move(text);
  pipeline->network_ = IsNetworkUri(uri);
  return pipeline;
}

Pipeline::~Pipeline() {
  if (playbin_ != nullptr) {
    gst_element_set_state(playbin_.get(), GST_STATE_NULL);
  }
}

bool Pipeline::SetState(GstState state) {
  const GstStateChangeReturn result = gst_element_set_state(playbin_.get(), state);
  live_ = live_ || result == GST_STATE_CHANGE_NO_PREROLL;
  return result != GST_STATE_CHANGE_FAILURE;
}

bool Pipeline::Pause() {
  return SetState(GST_STATE_PAUSED);
}

bool Pipeline::Play() {
  return SetState(GST_STATE_PLAYING);
}

bool Pipeline::IsSettled() const {
  const GstStateChangeReturn result = gst_element_get_state(playbin_.get(), nullptr, nullptr, 0);
  return result == GST_STATE_CHANGE_SUCCESS || result == GST_STATE_CHANGE_NO_PREROLL;
}

bool Pipeline::IsSeekable() const {
  const QueryPtr query(gst_query_new_seeking(GST_FORMAT_TIME));
  gboolean seekable = FALSE;
  if (gst_element_query(playbin_.get(), query.get()) == FALSE) {
    return false;
  }
  gst_query_parse_seeking(query.get(), nullptr, &seekable, nullptr, nullptr);
  return seekable != FALSE;
}

bool Pipeline::Seek(std::int64_t msec, double speed) {
  const RoomInQueues room(playbin_.get());
  return gst_element_seek(playbin_.get(), speed, GST_FORMAT_TIME,
                          static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
                          GST_SEEK_TYPE_SET, msec * GST_MSECOND, GST_SEEK_TYPE_NONE, -1) != FALSE;
}

std::optional<std::int64_t> Pipeline::Position() const {
  gint64 position = -1;
  if (gst_element_query_position(playbin_.get(), GST_FORMAT_TIME, &position) == FALSE ||
      position < 0) {
    return std::nullopt;
  }
  return position / GST_MSECOND;
}

std::optional<std::int64_t> Pipeline::Duration() const {
  gint64 duration = -1;
  if (gst_element_query_duration(playbin_.get(), GST_FORMAT_TIME, &duration) == FALSE ||
      duration <= 0) {
    return std::nullopt;
  }
  return duration / GST_MSECOND;
}

std::optional<Size> Pipeline::Resolution() const {
  const int current = CurrentTrack(TrackKind::kVideo);
  GstPad* raw_pad = nullptr;
  if (current >= 0) {
    g_signal_emit_by_name(playbin_.get(), "get-video-pad", current, &raw_pad);
  }
  if (raw_pad == nullptr) {
    return std::nullopt;
  }
  const PadPtr pad(raw_pad);
  const CapsPtr caps(gst_pad_get_current_caps(raw_pad));
  Size size = {0, 0};
  if (caps == nullptr || gst_caps_get_size(caps.get()) == 0) {
    return std::nullopt;
  }
  const GstStructure* structure = gst_caps_get_structure(caps.get(), 0);
  if (gst_structure_get_int(structure, "width", &size.width) == FALSE ||
      gst_structure_get_int(structure, "height", &size.height) == FALSE) {
    return std::nullopt;
  }
  return size;
}

int Pipeline::TrackCount(TrackKind kind) const {
  gint count = 0;
  g_object_get(playbin_.get(), NamesOf(kind).count, &count, nullptr);
  return count;
}

int Pipeline::CurrentTrack(TrackKind kind) const {
  gint current = -1;
  g_object_get(playbin_.get(), NamesOf(kind).current, &current, nullptr);
  return TrackCount(kind) > 0 ? current : -1;
}

void Pipeline::SelectTrack(TrackKind kind, int index) {
  g_object_set(playbin_.get(), NamesOf(kind).current, index, nullptr);
}

void Pipeline::DescribeTrack(TrackKind kind,
                             int index,
                             std::string* language,
                             std::string* description) const {
  GstTagList* raw_tags = nullptr;
  g_signal_emit_by_name(playbin_.get(), NamesOf(kind).tags, index, &raw_tags);
  const TagListPtr tags(raw_tags);
  *language = LanguageOf(raw_tags);
  *description = TagText(raw_tags, NamesOf(kind).codec_tag);
  const std::string title = TagText(raw_tags, GST_TAG_TITLE);
  if (!title.empty()) {
    *description += description->empty() ? title : ", " + title;
  }
}

std::vector<std::string> Pipeline::TakeTexts() {
  std::vector<std::string> texts;
  while (true) {
    const SamplePtr sample(gst_app_sink_try_pull_sample(GST_APP_SINK(text_sink_.get()), 0));
    if (sample == nullptr) {
      return texts;
    }
    const GstCaps* caps = gst_sample_get_caps(sample.get());
    const GstStructure* structure = caps == nullptr ? nullptr : gst_caps_get_structure(caps, 0);
    // Subtitles that are pictures cannot be told as text.
    if (structure == nullptr || gst_structure_has_name(structure, "text/x-raw") == FALSE) {
      continue;
    }
    const std::string text = handover::TextOf(gst_sample_get_buffer(sample.get()));
    const char* format = gst_structure_get_string(structure, "format");
    texts.push_back(g_strcmp0(format, "pango-markup") == 0 ? StripMarkup(text) : text);
  }
}

void Pipeline::RecalculateLatency() {
  gst_bin_recalculate_latency(GST_BIN(playbin_.get()));
}

}  // namespace zuno
