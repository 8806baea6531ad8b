#include "source.h"

#include <gst/app/gstappsink.h>
#include <unistd.h>

#include <cstdlib>

#include "gst_ptr.h"
#include "handover.h"

namespace zuno {
namespace {

constexpr guint kNetworkTimeoutSeconds = 5;

bool HasScheme(const std::string& source, const char* scheme) {
  const std::string prefix = std::string(scheme) + ":";
  return g_ascii_strncasecmp(source.c_str(), prefix.c_str(), prefix.size()) == 0;
}

// Nothing when it names no file of this machine.
std::optional<std::string> LocalPath(const std::string& uri) {
  char* host = nullptr;
  const CharPtr path(g_filename_from_uri(uri.c_str(), &host, nullptr));
  const CharPtr owned_host(host);
  const bool here = host == nullptr || g_ascii_strcasecmp(host, "localhost") == 0;
  return path != nullptr && here ? std::optional<std::string>(path.get()) : std::nullopt;
}

// Whether the server that this pad's data come from can send from any place on. Not every one that
// can says so.
bool HasRanges(GstPad* pad) {
  constexpr const char* kKey = "zuno-ranges";
  if (const int known = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(pad), kKey)); known != 0) {
    return known > 0;
  }
  const EventPtr event(gst_pad_get_sticky_event(pad, GST_EVENT_CUSTOM_DOWNSTREAM_STICKY, 0));
  if (event == nullptr) {
    return false;  // it has not answered yet
  }
  const CharPtr headers(gst_structure_to_string(gst_event_get_structure(event.get())));
  const ElementPtr source(gst_pad_get_parent_element(pad));
  const CharPtr uri(gst_uri_handler_get_uri(GST_URI_HANDLER(source.get())));
  const bool ranges = g_regex_match_simple("accept-ranges\\W+string\\W+bytes", headers.get(),
                                           G_REGEX_CASELESS, GRegexMatchFlags{}) != FALSE ||
                      FetchText(uri.get(), 1, std::chrono::seconds(1), "bytes=0-0").has_value();
  g_object_set_data(G_OBJECT(pad), kKey, GINT_TO_POINTER(ranges ? 1 : -1));
  return ranges;
}

// The source takes every server for one that sends from any place on, and fails when one does not.
// Whoever wants to jump is refused instead, unless the server has said that it can.
GstPadProbeReturn KeepToServersWithRanges(GstPad* pad, GstPadProbeInfo* info, gpointer /*data*/) {
  if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_EVENT_UPSTREAM) != 0) {
    const GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
    return GST_EVENT_TYPE(event) == GST_EVENT_SEEK && !HasRanges(pad) ? GST_PAD_PROBE_DROP
                                                                      : GST_PAD_PROBE_OK;
  }
  GstQuery* query = GST_PAD_PROBE_INFO_QUERY(info);
  if (GST_QUERY_TYPE(query) != GST_QUERY_SEEKING || HasRanges(pad)) {
    return GST_PAD_PROBE_OK;
  }
  gst_query_set_seeking(query, GST_FORMAT_BYTES, FALSE, 0, -1);
  return GST_PAD_PROBE_HANDLED;
}

}  // namespace

bool IsNetworkUri(const std::string& uri) {
  return HasScheme(uri, "http") || HasScheme(uri, "https");
}

std::optional<std::string> SourceUri(const std::string& source) {
  if (source.empty() || IsNetworkUri(source)) {
    return source.empty() ? std::nullopt : std::optional<std::string>(source);
  }
  const auto path = HasScheme(source, "file") ? LocalPath(source) : source;
  const CharPtr uri(path ? gst_filename_to_uri(path->c_str(), nullptr) : nullptr);
  return uri == nullptr ? std::nullopt : std::optional<std::string>(uri.get());
}

bool IsReadable(const std::string& uri) {
  const std::string path = LocalPath(uri).value_or("");
  return IsNetworkUri(uri) || (g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR) != FALSE &&
                               access(path.c_str(), R_OK) == 0);
}

bool NamesPlaylist(const std::string& uri) {
  return g_regex_match_simple("\\.(m3u8|mpd)\\b(?!/)", uri.c_str(), G_REGEX_CASELESS,
                              GRegexMatchFlags{}) != FALSE;
}

void SetUpSource(GstElement* /*owner*/, GstElement* source) {
  // Only sources that read from HTTP servers know these.
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(source), "extra-headers") != nullptr) {
    g_object_set(source, "timeout", kNetworkTimeoutSeconds, "retries", 0, "ssl-strict",
                 static_cast<gboolean>(std::getenv("LUMIVEX_INSECURE") == nullptr), nullptr);
    const PadPtr pad(gst_element_get_static_pad(source, "src"));
    gst_pad_add_probe(
        pad.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_QUERY_UPSTREAM |
                                     GST_PAD_PROBE_TYPE_EVENT_UPSTREAM | GST_PAD_PROBE_TYPE_PUSH),
        KeepToServersWithRanges, nullptr, nullptr);
  }
}

std::optional<std::string> FetchText(const std::string& uri,
                                     std::size_t limit,
                                     std::chrono::milliseconds timeout,
                                     const char* range) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  GstElement* source = gst_element_make_from_uri(GST_URI_SRC, uri.c_str(), nullptr, nullptr);
  GstElement* sink = gst_element_factory_make("appsink", nullptr);
  const ElementPtr pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
  for (GstElement* element : {sink, source}) {
    if (element == nullptr || gst_bin_add(GST_BIN(pipeline.get()), element) == FALSE) {
      return std::nullopt;
    }
  }
  SetUpSource(nullptr, source);
  if (range != nullptr) {
    GstStructure* headers = gst_structure_new("headers", "Range", G_TYPE_STRING, range, nullptr);
    g_object_set(source, "extra-headers", headers, nullptr);
    gst_structure_free(headers);
  }
  g_object_set(sink, "sync", FALSE, "max-buffers", 8U, nullptr);
  gst_element_link(source, sink);
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
  const BusPtr bus(gst_element_get_bus(pipeline.get()));
  std::string text;
  bool complete = false;
  while (!complete && text.size() <= limit && std::chrono::steady_clock::now() < deadline) {
    const SamplePtr sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 20 * GST_MSECOND));
    if (sample != nullptr) {
      text += handover::TextOf(gst_sample_get_buffer(sample.get()));
    } else if (MessagePtr(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR)) != nullptr) {
      break;
    } else {
      complete = gst_app_sink_is_eos(GST_APP_SINK(sink)) != FALSE;
    }
  }
  gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  return complete ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace zuno
