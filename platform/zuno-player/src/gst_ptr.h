#ifndef PLATFORM_ZUNO_PLAYER_SRC_GST_PTR_H_
#define PLATFORM_ZUNO_PLAYER_SRC_GST_PTR_H_

#include <gst/gst.h>

#include <memory>

namespace zuno {

// Owners for the library's reference-counted and allocated things.
template <auto Release>
struct Releaser {
  template <typename T>
  void operator()(T* thing) const {
    Release(thing);
  }
};

using ElementPtr = std::unique_ptr<GstElement, Releaser<gst_object_unref>>;
using PadPtr = std::unique_ptr<GstPad, Releaser<gst_object_unref>>;
using BusPtr = std::unique_ptr<GstBus, Releaser<gst_object_unref>>;
using MessagePtr = std::unique_ptr<GstMessage, Releaser<gst_message_unref>>;
using CapsPtr = std::unique_ptr<GstCaps, Releaser<gst_caps_unref>>;
using StreamPtr = std::shared_ptr<GstStream>;
using EventPtr = std::unique_ptr<GstEvent, Releaser<gst_event_unref>>;
using SamplePtr = std::unique_ptr<GstSample, Releaser<gst_sample_unref>>;
using TagListPtr = std::unique_ptr<GstTagList, Releaser<gst_tag_list_unref>>;
using QueryPtr = std::unique_ptr<GstQuery, Releaser<gst_query_unref>>;
using ErrorPtr = std::unique_ptr<GError, Releaser<g_error_free>>;
using MatchPtr = std::unique_ptr<GMatchInfo, Releaser<g_match_info_free>>;
using CharPtr = std::unique_ptr<char, Releaser<g_free>>;

// Of bytes, as texts need not be UTF-8. Never given back: patterns are made once.
inline GRegex* MakePattern(const char* pattern) {
  constexpr auto kFlags =
      static_cast<GRegexCompileFlags>(G_REGEX_RAW | G_REGEX_MULTILINE | G_REGEX_OPTIMIZE);
  return g_regex_new(pattern, kFlags, GRegexMatchFlags{}, nullptr);
}

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_GST_PTR_H_
