#include "line_up.h"

#include <algorithm>
#include <iterator>

namespace rf_manager {
namespace {

// clang-format off
constexpr Service kLineUp[] = {
    // type       major minor program stream  name             signal audio          subtitles
    {kTerrestrial,   5,    1,      1,  4097, "Lumivex One",    true,  "eng spa",     "eng spa"},
    {kTerrestrial,   5,    2,      2,  4097, "Lumivex News",   true,  "eng",         "eng"},
    {kTerrestrial,   5,    3,      3,  4097, "Lumivex Radio",  true,  "kor",         ""},
    {kTerrestrial,   9,    1,      1,  4098, "Lumivex Arts",   true,  "fra eng deu", ""},
    {kTerrestrial,   9,    2,      2,  4098, "Lumivex Night",  false, "eng",         ""},
    {kCable,       105,    1,     11,  8193, "Cable Movies",   true,  "eng fra",     "eng fra deu"},
    {kCable,       105,    2,     12,  8193, "Cable Sport",    true,  "kor",         ""},
    {kCable,       112,    1,     21,  8194, "Cable Kids",     true,  "spa",         "spa eng"},
    {kCable,       112,    2,     22,  8194, "Cable Preview",  false, "eng",         "eng"},
};
// clang-format on

}  // namespace

const Service* FindService(
    ChannelType type, int major, int minor, int program_number, int transport_stream_id) {
  const auto* found =
      std::find_if(std::begin(kLineUp), std::end(kLineUp), [&](const Service& service) {
        return service.type == type && service.major == major && service.minor == minor &&
               service.program_number == program_number &&
               service.transport_stream_id == transport_stream_id;
      });
  return found == std::end(kLineUp) ? nullptr : found;
}

}  // namespace rf_manager
