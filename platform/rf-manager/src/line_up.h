#ifndef RF_MANAGER_LINE_UP_H_
#define RF_MANAGER_LINE_UP_H_

#include <cstddef>
#include <string_view>

#include "CRFManager.h"

// The services that the simulated broadcast carries.
namespace rf_manager {

using ChannelType = CRFManager::LUMIVEX_CHANNEL_TYPE;
constexpr ChannelType kTerrestrial{0};
constexpr ChannelType kCable{1};

// The tracks of one kind by index: ISO 639-2 codes, separated by blanks.
class Languages {
 public:
  constexpr Languages(const char* codes) : codes_(codes) {}  // NOLINT(google-explicit-constructor)
  constexpr std::size_t size() const { return (codes_.size() + 1) / 4; }
  constexpr bool empty() const { return codes_.empty(); }
  constexpr std::string_view operator[](std::size_t index) const {
    return codes_.substr(4 * index, 3);
  }

 private:
  std::string_view codes_;
};

struct Service {
  ChannelType type;
  int major;
  int minor;
  int program_number;
  int transport_stream_id;
  std::string_view name;
  bool has_signal;
  Languages audio;
  Languages subtitles;
};

// The service that matches all five numbers, or null.
const Service* FindService(
    ChannelType type, int major, int minor, int program_number, int transport_stream_id);

}  // namespace rf_manager

#endif  // RF_MANAGER_LINE_UP_H_
