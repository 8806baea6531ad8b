#include "pipeline.h"

#include <gst/app/gstappsink.h>
#include <gst/tag/tag.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "dlog.h"
#include "handover.h"
#include "source.h"

namespace zuno {
namespace {

// Bits of playbin's "flags"; its header is not installed.
constexpr int kPlayVideo = 1 << 0;
constexpr int kPlayAudio = 1 << 1;
constexpr int kPlayText = 1 << 2;
constexpr int kPlayNativeVideo = 1 << 6;  // no scaler of playbin's own, which adds borders
// What comes from a server is kept in a temporary file, in which demultiplexers find their way as
// in any file; of what they only pass through they seldom know where it is.
constexpr int kPlayDownload = 1 << 7;
constexpr int kPlayBuffering = 1 << 8;  // reads ahead, which delays every jump
constexpr int kPlayDeinterlace = 1 << 9;

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
  const char* three = gst_tag_get_language_code_iso_639_2T(code.c_str());
  return code.empty() ? "und" : three != nullptr ? three : code;
}

TagListPtr TagsOf(GstPad* pad) {
  TagListPtr all(gst_tag_list_new_empty());
  for (guint i = 0; GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_TAG, i); ++i) {
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event, &tags);
    gst_tag_list_insert(all.get(), tags, GST_TAG_MERGE_REPLACE);
    gst_event_unref(event);
  }
  return all;
}

// Whether the medium says that its pictures lie on their side.
bool IsTurned(GstPad* pad) {
  GstVideoOrientationMethod method = GST_VIDEO_ORIENTATION_IDENTITY;
  gst_video_orientation_from_tag(TagsOf(pad).get(), &method);
  return method == GST_VIDEO_ORIENTATION_90R || method == GST_VIDEO_ORIENTATION_90L ||
         method == GST_VIDEO_ORIENTATION_UL_LR || method == GST_VIDEO_ORIENTATION_UR_LL;
}

// Keeps time like a sound card or a screen, and drops everything.
constexpr char kSilentSink[] = "fakesink sync=true enable-last-sample=false";

GstElement* ParseBin(const char* description) {
  GError* error = nullptr;
  GstElement* bin = gst_parse_bin_from_description_full(description, TRUE, nullptr,
                                                        GST_PARSE_FLAG_FATAL_ERRORS, &error);
  const ErrorPtr owned(error);
  if (error != nullptr) {
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "ZUNO_PLAYER", "\"%s\": %s", description, error->message);
  }
  return bin;
}

// Where the sound goes. A machine without a sound card must keep time as well, so by default the
// sound is dropped. LUMIVEX_AUDIO_SINK names an output as a GStreamer bin description, for example
// "autoaudiosink" on a desk, or "audioconvert ! wavenc ! filesink location=out.wav" to measure it.
GstElement* MakeAudioSink() {
  const char* description = std::getenv("LUMIVEX_AUDIO_SINK");
  return ParseBin(description == nullptr || *description == '\0' ? kSilentSink : description);
}

// How much may wait before the sinks: little, so that a change of track is heard soon. Yet a stream
// that has just been deselected may wait for room there, where no flush reaches it any more; while
// the sinks stand still, the flush would then wait for it for ever. So all may wait (0) meanwhile.
constexpr guint kQueuedBuffers = 3;
void LimitQueues(GstBin* playbin, guint buffers) {
  for (const char* name : {"aqueue", "vqueue"}) {
    const ElementPtr queue(gst_bin_get_by_name(playbin, name));
    if (queue != nullptr) {
      g_object_set(queue.get(), "max-size-buffers", buffers, nullptr);
    }
  }
}

void OnElementAdded(GstBin* playbin, GstBin* /*bin*/, GstElement* element, void* /*data*/) {
  const CharPtr name(gst_element_get_name(element));
  if (g_str_has_prefix(name.get(), "aqueue") != FALSE) {
    LimitQueues(playbin, kQueuedBuffers);
  } else if (GST_IS_APP_SINK(element)) {
    // A text that waits for its time would hold up those of the other tracks.
    g_object_set(element, "sync", FALSE, nullptr);
  }
}

// The texts of all tracks come to one sink, each with its track's number for an offset. playbin's
// own way, a switch between them, loses texts and hangs now and then.
GstPadProbeReturn OnText(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer track) {
  GstBuffer* buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
  GST_BUFFER_OFFSET(buffer) = static_cast<guint64>(GPOINTER_TO_INT(track));
  info->data = buffer;
  return GST_PAD_PROBE_OK;
}

void OnTextTrack(GstElement* funnel, GstPad* pad, void* /*data*/) {
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnText,
                    GINT_TO_POINTER(funnel->numsinkpads - 1), nullptr);
}

// A sink comes to rest at the end as well as at data.
GstPadProbeReturn OnDataOrFlush(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer data_follow) {
  *static_cast<std::atomic<bool>*>(data_follow) =
      (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0;
  return GST_PAD_PROBE_OK;
}

}  // namespace

std::unique_ptr<Pipeline> Pipeline::Create(const std::string& uri, GstElement* videoSink) {
  // playbin3 knows the tracks of adaptive media, but reads those from servers only. Of other media
  // it loses the end now and then, and it crashes after files that break off.
  const bool streams = IsNetworkUri(uri) && NamesPlaylist(uri);
  const bool reads_ahead = IsNetworkUri(uri) || NamesPlaylist(uri);
  // playbin takes over floating references, so what it was not given yet is released here.
  ElementPtr video(videoSink != nullptr ? videoSink : ParseBin(kSilentSink));
  ElementPtr audio(MakeAudioSink());
  // Other speeds than 1 keep the pitch of the sound.
  ElementPtr tempo(ParseBin("audioconvert ! scaletempo"));
  ElementPtr text(gst_element_factory_make("appsink", nullptr));
  ElementPtr texts(gst_element_factory_make("funnel", nullptr));
  ElementPtr playbin(gst_element_factory_make(streams ? "playbin3" : "playbin", nullptr));
  for (GstElement* element :
       {video.get(), audio.get(), tempo.get(), text.get(), texts.get(), playbin.get()}) {
    if (element == nullptr) {
      return nullptr;
    }
    gst_object_ref_sink(element);
  }
  g_object_set(playbin.get(), "uri", uri.c_str(), "flags",
               kPlayVideo | kPlayAudio | kPlayText | kPlayNativeVideo | kPlayDeinterlace |
                   (reads_ahead ? kPlayDownload | kPlayBuffering : 0),
               "video-sink", video.get(), "audio-sink", audio.get(), "audio-filter", tempo.get(),
               "text-sink", text.get(), streams ? nullptr : "text-stream-combiner", texts.get(),
               nullptr);
  g_signal_connect(texts.get(), "pad-added", G_CALLBACK(OnTextTrack), nullptr);
  g_signal_connect(playbin.get(), "source-setup", G_CALLBACK(SetUpSource), nullptr);
  g_signal_connect(playbin.get(), "deep-element-added", G_CALLBACK(OnElementAdded), nullptr);

  std::unique_ptr<Pipeline> pipeline(new Pipeline);
  for (GstElement* sink : {audio.get(), video.get()}) {
    const PadPtr pad(gst_element_get_static_pad(sink, "sink"));
    gst_pad_add_probe(
        pad.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_FLUSH),
        OnDataOrFlush, &pipeline->data_follow_, nullptr);
  }
  pipeline->bus_.reset(gst_element_get_bus(playbin.get()));
  pipeline->playbin_ = std::move(playbin);
  pipeline->text_sink_ = std::move(text);
  pipeline->audio_sink_ = std::move(audio);
  pipeline->video_sink_ = std::move(video);
  pipeline->reads_ahead_ = reads_ahead;
  pipeline->has_streams_ = streams;
  return pipeline;
}

Pipeline::~Pipeline() {
  Close(false);
}

void Pipeline::Close(bool adaptive) {
  if (adaptive) {
    // Downloads under way when all ends are never given back; a jump to nothing ends them before.
    gst_element_seek(playbin_.get(), 1.0, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, GST_SEEK_TYPE_SET,
                     0, GST_SEEK_TYPE_SET, 0);
  }
  gst_element_set_state(playbin_.get(), GST_STATE_NULL);
}

bool Pipeline::Pause() {
  return gst_element_set_state(playbin_.get(), GST_STATE_PAUSED) != GST_STATE_CHANGE_FAILURE;
}

bool Pipeline::Play() {
  return gst_element_set_state(playbin_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

bool Pipeline::Settles(std::chrono::milliseconds limit) const {
  const GstClockTime timeout = static_cast<GstClockTime>(limit.count()) * GST_MSECOND;
  return gst_element_get_state(playbin_.get(), nullptr, nullptr, timeout) ==
         GST_STATE_CHANGE_SUCCESS;
}

bool Pipeline::IsSeekable() const {
  const QueryPtr query(gst_query_new_seeking(GST_FORMAT_TIME));
  gboolean seekable = FALSE;
  gst_element_query(playbin_.get(), query.get());
  gst_query_parse_seeking(query.get(), nullptr, &seekable, nullptr, nullptr);
  return seekable != FALSE;
}

bool Pipeline::Seek(std::int64_t msec, double speed) {
  constexpr auto kFlags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
  LimitQueues(GST_BIN(playbin_.get()), 0);
  const bool left =
      gst_element_seek(playbin_.get(), speed, GST_FORMAT_TIME, kFlags, GST_SEEK_TYPE_SET,
                       (msec + origin_) * GST_MSECOND, GST_SEEK_TYPE_NONE, -1) != FALSE;
  LimitQueues(GST_BIN(playbin_.get()), kQueuedBuffers);
  if (left) {
    texts_.clear();
  }
  return left;
}

std::optional<std::int64_t> Pipeline::Position() const {
  gint64 position = -1;
  for (GstElement* sink : {audio_sink_.get(), video_sink_.get()}) {  // texts may be ahead
    gint64 own = -1;
    gst_element_query_position(sink, GST_FORMAT_TIME, &own);
    position = std::max(position, own);
  }
  return position < 0 ? std::nullopt
                      : std::optional(std::max<std::int64_t>(position / GST_MSECOND - origin_, 0));
}

std::optional<std::int64_t> Pipeline::Arrival() const {
  return data_follow_ ? Position() : Duration();
}

void Pipeline::BeginHere() {
  origin_ = Position().value_or(0);
}

std::optional<std::int64_t> Pipeline::Duration() const {
  gint64 duration = -1;
  gst_element_query_duration(playbin_.get(), GST_FORMAT_TIME, &duration);
  return duration > 0 ? std::optional(duration / GST_MSECOND) : std::nullopt;
}

std::optional<Size> Pipeline::Resolution() const {
  const PadPtr pad(gst_element_get_static_pad(video_sink_.get(), "sink"));
  const CapsPtr caps(gst_pad_get_current_caps(pad.get()));
  GstVideoInfo video;
  if (caps == nullptr || gst_video_info_from_caps(&video, caps.get()) == FALSE) {
    return std::nullopt;
  }
  const auto width = static_cast<int>(std::int64_t{video.width} * video.par_n / video.par_d);
  return IsTurned(pad.get()) ? Size{video.height, width} : Size{width, video.height};
}

void Pipeline::TakeTracks(GstMessage* message) {
  GstStreamCollection* raw_collection = nullptr;
  gst_message_parse_stream_collection(message, &raw_collection);
  const std::unique_ptr<GstStreamCollection, Releaser<gst_object_unref>> collection(raw_collection);
  if (demuxer_ == nullptr) {  // playbin3 tells the tracks again
    demuxer_.reset(GST_ELEMENT(gst_object_ref(GST_MESSAGE_SRC(message))));
  }
  for (auto& [type, tracks] : tracks_) {
    tracks.streams.clear();
    for (guint i = 0; i < gst_stream_collection_get_size(raw_collection); ++i) {
      GstStream* stream = gst_stream_collection_get_stream(raw_collection, i);
      if ((gst_stream_get_stream_type(stream) & tracks.stream_type) != 0) {
        tracks.streams.emplace_back(GST_STREAM(gst_object_ref(stream)), gst_object_unref);
      }
    }
    tracks.current = tracks.current < static_cast<int>(tracks.streams.size()) ? tracks.current : 0;
  }
}

void Pipeline::TakeSelection(GstMessage* message) {
  for (guint i = 0; i < gst_message_streams_selected_get_size(message); ++i) {
    const StreamPtr selected(gst_message_streams_selected_get_stream(message, i), gst_object_unref);
    for (auto& [type, tracks] : tracks_) {
      const auto found = std::find(tracks.streams.begin(), tracks.streams.end(), selected);
      if (found != tracks.streams.end()) {
        tracks.current = static_cast<int>(found - tracks.streams.begin());
      }
    }
  }
}

int Pipeline::Number(const std::string& property) const {
  gint number = -1;
  g_object_get(playbin_.get(), property.c_str(), &number, nullptr);
  return number;
}

std::optional<int> Pipeline::TrackCount(int type) const {
  if (tracks_.count(type) == 0) {
    return std::nullopt;
  }
  const Tracks& tracks = tracks_.at(type);
  return has_streams_ ? static_cast<int>(tracks.streams.size())
                      : Number(std::string("n-") + tracks.word);
}

std::optional<int> Pipeline::CurrentTrack(int type) const {
  if (TrackCount(type).value_or(0) <= 0) {
    return std::nullopt;
  }
  const Tracks& tracks = tracks_.at(type);
  return has_streams_ || type == kStreamText ? tracks.current
                                             : Number(std::string("current-") + tracks.word);
}

bool Pipeline::SelectTrack(int type, int index) {
  const bool exists = index >= 0 && index < TrackCount(type);
  if (exists) {
    tracks_.at(type).current = index;
  }
  return exists;
}

bool Pipeline::ApplySelection(int type) {
  if (!has_streams_) {
    const std::string current = std::string("current-") + tracks_.at(type).word;
    if (type != kStreamText) {
      g_object_set(playbin_.get(), current.c_str(), tracks_.at(type).current, nullptr);
    }
    return true;
  }
  GList* ids = nullptr;
  for (const auto& [each, tracks] : tracks_) {
    if (CurrentTrack(each)) {
      GstStream* stream = tracks.streams[static_cast<std::size_t>(tracks.current)].get();
      ids = g_list_append(ids, g_strdup(gst_stream_get_stream_id(stream)));
    }
  }
  const bool applied =
      gst_element_send_event(demuxer_.get(), gst_event_new_select_streams(ids)) != FALSE;
  g_list_free_full(ids, g_free);
  return applied;
}

bool Pipeline::DescribeTrack(int type,
                             int index,
                             std::string* language,
                             std::string* description) const {
  if (index < 0 || index >= TrackCount(type)) {
    return false;
  }
  const Tracks& tracks = tracks_.at(type);
  TagListPtr tags;
  if (has_streams_) {
    tags.reset(gst_stream_get_tags(tracks.streams[static_cast<std::size_t>(index)].get()));
  } else {
    GstPad* pad = nullptr;
    const std::string get = std::string("get-") + tracks.word + "-pad";
    g_signal_emit_by_name(playbin_.get(), get.c_str(), index, &pad);
    tags = TagsOf(PadPtr(pad).get());
  }
  *language = LanguageOf(tags.get());
  *description = TagText(tags.get(), tracks.codec_tag);
  const std::string title = TagText(tags.get(), GST_TAG_TITLE);
  *description += (description->empty() || title.empty() ? "" : ", ") + title;
  return true;
}

std::vector<Cue> Pipeline::TakeTexts(std::int64_t position_ms, bool chosen) {
  const int current = tracks_.at(kStreamText).current;
  while (const SamplePtr sample{gst_app_sink_try_pull_sample(GST_APP_SINK(text_sink_.get()), 0)}) {
    const GstCaps* caps = gst_sample_get_caps(sample.get());
    const GstStructure* structure = caps == nullptr ? nullptr : gst_caps_get_structure(caps, 0);
    // Subtitles that are pictures cannot be told as text.
    if (structure == nullptr || gst_structure_has_name(structure, "text/x-raw") == FALSE) {
      continue;
    }
    Cue cue = handover::CueOf(sample.get());
    cue.start_ms -= origin_;
    cue.end_ms -= cue.end_ms == kOpenEnd ? 0 : origin_;
    if (g_strcmp0(gst_structure_get_string(structure, "format"), "pango-markup") == 0) {
      cue.text = StripMarkup(cue.text);
    }
    std::vector<Cue>& texts = texts_[has_streams_ ? current : handover::TrackOf(sample.get())];
    if (!texts.empty() && texts.back().end_ms == kOpenEnd) {
      texts.back().end_ms = cue.start_ms;
    }
    texts.push_back(std::move(cue));
  }
  for (auto& [track, texts] : texts_) {
    const auto over = [=](const Cue& cue) { return cue.end_ms <= position_ms; };
    texts.erase(std::remove_if(texts.begin(), texts.end(), over), texts.end());
  }
  std::vector<Cue>& texts = texts_[current];
  const auto due = std::stable_partition(texts.begin(), texts.end(), [=](const Cue& cue) {
    return !chosen || cue.start_ms > position_ms;
  });
  std::vector<Cue> begun(due, texts.end());
  texts.erase(due, texts.end());
  return begun;
}

}  // namespace zuno
