#include "source.h"

#include <gst/app/gstappsink.h>

#include <algorithm>

#include "gst_ptr.h"
#include "handover.h"

namespace zuno {
namespace {

constexpr guint kNetworkTimeoutSeconds = 5;
constexpr gint kNetworkRetries = 0;

bool HasScheme(const std::string& source, const char* scheme) {
  const std::string prefix = std::string(scheme) + ":";
  return g_ascii_strncasecmp(source.c_str(), prefix.c_str(), prefix.size()) == 0;
}

template <typename T>
void SetIfKnown(GObject* object, const char* property, GType type, T value) {
  GParamSpec* property_info = g_object_class_find_property(G_OBJECT_GET_CLASS(object), property);
  if (property_info != nullptr && property_info->value_type == type) {
    g_object_set(object, property, value, nullptr);
  }
}

}  // namespace

bool IsNetworkUri(const std::string& uri) {
  return HasScheme(uri, "http") || HasScheme(uri, "https");
}

std::optional<std::string> LocalPath(const std::string& source) {
  if (source.empty() || IsNetworkUri(source)) {
    return std::nullopt;
  }
  if (!HasScheme(source, "file")) {
    return source;
  }
  char* host = nullptr;
  const CharPtr path(g_filename_from_uri(source.c_str(), &host, nullptr));
  const CharPtr owned_host(host);
  if (path == nullptr || (host != nullptr && g_ascii_strcasecmp(host, "localhost") != 0)) {
    return std::nullopt;
  }
  return path.get();
}

std::optional<std::string> SourceUri(const std::string& source) {
  if (IsNetworkUri(source)) {
    return source;
  }
  const std::optional<std::string> path = LocalPath(source);
  if (!path) {
    return std::nullopt;
  }
  const CharPtr uri(gst_filename_to_uri(path->c_str(), nullptr));
  return uri == nullptr ? std::nullopt : std::optional<std::string>(uri.get());
}

void LimitNetworkWaits(void* element) {
  auto* object = static_cast<GObject*>(element);
  SetIfKnown(object, "timeout", G_TYPE_UINT, kNetworkTimeoutSeconds);
  SetIfKnown(object, "retries", G_TYPE_INT, kNetworkRetries);
}

std::optional<std::string> FetchText(const std::string& uri,
                                     const std::string& start,
                                     std::size_t limit,
                                     std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  GstElement* source = gst_element_make_from_uri(GST_URI_SRC, uri.c_str(), nullptr, nullptr);
  GstElement* sink = gst_element_factory_make("appsink", nullptr);
  if (source == nullptr || sink == nullptr) {
    for (GstElement* element : {source, sink}) {
      if (element != nullptr) {
        gst_object_unref(gst_object_ref_sink(element));
      }
    }
    return std::nullopt;
  }
  LimitNetworkWaits(source);
  g_object_set(sink, "sync", FALSE, "max-buffers", 8U, nullptr);
  const ElementPtr pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
  gst_bin_add_many(GST_BIN(pipeline.get()), source, sink, nullptr);
  const BusPtr bus(gst_element_get_bus(pipeline.get()));

  std::string text;
  bool complete = false;
  if (gst_element_link(source, sink) != FALSE &&
      gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) {
    while (!complete && std::chrono::steady_clock::now() < deadline) {
      const SamplePtr sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 20 * GST_MSECOND));
      if (sample == nullptr) {
        complete = gst_app_sink_is_eos(GST_APP_SINK(sink)) != FALSE;
        const MessagePtr error(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR));
        if (error != nullptr) {
          complete = false;
          break;
        }
        continue;
      }
      text += handover::TextOf(gst_sample_get_buffer(sample.get()));
      const std::size_t seen = std::min(text.size(), start.size());
      if (text.size() > limit || text.compare(0, seen, start, 0, seen) != 0) {
        break;
      }
    }
  }
  gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  return complete && text.size() >= start.size() ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace zuno
