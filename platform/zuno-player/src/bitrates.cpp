#include "bitrates.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string_view>

namespace zuno {
namespace {

// The value of one attribute in a list NAME=value,NAME="quoted, value" or NAME="value"
// NAME="value".
std::string_view Attribute(std::string_view list, std::string_view name) {
  constexpr std::string_view kBetween = ", \t\r\n";
  while (true) {
    list.remove_prefix(std::min(list.find_first_not_of(kBetween), list.size()));
    const std::size_t equals = list.find('=');
    if (equals >= list.size() - 1 || list.empty()) {
      return {};
    }
    const std::string_view key = list.substr(0, equals);
    list.remove_prefix(equals + 1);
    const bool quoted = list.front() == '"' || list.front() == '\'';
    const std::size_t end = quoted ? list.find(list.front(), 1) : list.find_first_of(kBetween);
    if (key == name) {
      return list.substr(quoted ? 1 : 0, end - (quoted ? 1 : 0));
    }
    list.remove_prefix(std::min(end, list.size() - 1) + 1);
  }
}

bool Skip(std::string_view* text, std::string_view start) {
  const bool starts = text->substr(0, start.size()) == start;
  text->remove_prefix(starts ? start.size() : 0);
  return starts;
}

}  // namespace

std::vector<unsigned int> VariantBitrates(const std::string& manifest) {
  std::vector<unsigned int> bitrates;
  const bool hls = manifest.compare(0, 7, "#EXTM3U") == 0;
  bool video = hls;
  std::istringstream items(manifest);
  for (std::string item; std::getline(items, item, hls ? '\n' : '<');) {
    std::string_view list = item;
    const bool set = !hls && Skip(&list, "AdaptationSet");
    if (!set && !Skip(&list, hls ? "#EXT-X-STREAM-INF:" : "Representation")) {
      continue;
    }
    const std::string_view mime = Attribute(list, "mimeType");
    const std::string_view type = mime.empty() ? Attribute(list, "contentType") : mime;
    if (set || !type.empty()) {
      video = type.substr(0, 5) == "video";
    }
    const std::string_view value = Attribute(list, hls ? "BANDWIDTH" : "bandwidth");
    unsigned int bitrate = 0;
    if (!set && video &&
        std::from_chars(value.data(), value.data() + value.size(), bitrate).ec == std::errc()) {
      bitrates.push_back(bitrate);
    }
  }
  return bitrates;
}

}  // namespace zuno
