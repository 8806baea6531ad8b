#include "bitrates.h"

#include <cstdlib>
#include <string_view>

#include "gst_ptr.h"

namespace zuno {
namespace {

struct Ladder {
  bool video = false;  // what the representations that follow are
  std::vector<unsigned int> bitrates;
};

void OnElement(GMarkupParseContext* /*context*/,
               const char* name,
               const char** keys,
               const char** values,
               void* data,
               GError** /*error*/) {
  auto* ladder = static_cast<Ladder*>(data);
  const bool set = std::string_view(name) == "AdaptationSet";
  if (!set && std::string_view(name) != "Representation") {
    return;
  }
  std::string_view type;
  std::string_view bitrate;
  for (; *keys != nullptr; ++keys, ++values) {
    const std::string_view key = *keys;
    if (key == "mimeType" || (key == "contentType" && type.empty())) {
      type = *values;
    } else if (key == "bandwidth") {
      bitrate = *values;
    }
  }
  if (set || !type.empty()) {
    ladder->video = type.substr(0, 5) == "video";
  }
  if (!set && ladder->video && !bitrate.empty()) {
    ladder->bitrates.push_back(static_cast<unsigned int>(std::atoll(bitrate.data())));
  }
}

}  // namespace

std::vector<unsigned int> VariantBitrates(const std::string& manifest) {
  Ladder ladder;
  const auto size = static_cast<gssize>(manifest.size());
  static GRegex* const variant = MakePattern(
      R"(^#EXT-X-STREAM-INF:(?:(?:"[^"\n]*"|[^",\n])*+,)*?[ \t]*BANDWIDTH=(\d{1,9})(?!\d))");
  GMatchInfo* info = nullptr;
  g_regex_match_full(variant, manifest.data(), size, 0, GRegexMatchFlags{}, &info, nullptr);
  const MatchPtr owned(info);
  for (; g_match_info_matches(info) != FALSE; g_match_info_next(info, nullptr)) {
    const CharPtr bitrate(g_match_info_fetch(info, 1));
    ladder.bitrates.push_back(static_cast<unsigned int>(std::atoll(bitrate.get())));
  }
  static constexpr GMarkupParser kParser = {OnElement, nullptr, nullptr, nullptr, nullptr};
  const std::unique_ptr<GMarkupParseContext, Releaser<g_markup_parse_context_unref>> context(
      g_markup_parse_context_new(&kParser, GMarkupParseFlags{}, &ladder, nullptr));
  g_markup_parse_context_parse(context.get(), manifest.data(), size, nullptr);
  return ladder.bitrates;
}

}  // namespace zuno
