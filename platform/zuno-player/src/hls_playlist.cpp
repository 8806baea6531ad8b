#include "hls_playlist.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <string_view>

namespace zuno {
namespace {

constexpr std::string_view kStart = "#EXTM3U";
constexpr std::string_view kVariant = "#EXT-X-STREAM-INF:";

// The value of one attribute in a list "NAME=value,NAME="quoted, value",...".
std::optional<std::string_view> Attribute(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const std::size_t equals = list.find('=');
    if (equals == std::string_view::npos) {
      return std::nullopt;
    }
    std::string_view key = list.substr(0, equals);
    key.remove_prefix(std::min(key.find_first_not_of(' '), key.size()));
    std::size_t end = equals + 1;
    if (end < list.size() && list[end] == '"') {
      end = list.find('"', end + 1);
    }
    end = list.find(',', std::min(end, list.size()));
    if (key == name) {
      return list.substr(equals + 1, end == std::string_view::npos ? end : end - equals - 1);
    }
    if (end == std::string_view::npos) {
      return std::nullopt;
    }
    list.remove_prefix(end + 1);
  }
  return std::nullopt;
}

}  // namespace

std::vector<unsigned int> VariantBitrates(const std::string& playlist) {
  std::vector<unsigned int> bitrates;
  if (playlist.compare(0, kStart.size(), kStart) != 0) {
    return bitrates;
  }
  std::istringstream lines(playlist);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, kVariant.size(), kVariant) != 0) {
      continue;
    }
    const auto value = Attribute(std::string_view(line).substr(kVariant.size()), "BANDWIDTH");
    unsigned int bitrate = 0;
    if (value &&
        std::from_chars(value->data(), value->data() + value->size(), bitrate).ec == std::errc()) {
      bitrates.push_back(bitrate);
    }
  }
  return bitrates;
}

}  // namespace zuno
