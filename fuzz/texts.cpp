// Text tracks and manifests of any bytes: the cues read are sorted and well formed, and during
// playback each one shows once and for as long as it lasts.

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "bitrates.h"
#include "check.h"
#include "cues.h"

namespace {

using lumivex::test::Check;
using zuno::Cue;

// What has to show from a time at which something changes.
std::vector<std::string> ShownAt(std::int64_t time, const std::vector<Cue>& cues) {
  std::vector<std::string> begun;
  std::string rest;
  for (const Cue& cue : cues) {
    if (cue.start_ms == time) {
      begun.push_back(cue.text);
    } else if (cue.start_ms < time && cue.end_ms > time) {
      rest += (rest.empty() ? "" : "\n") + cue.text;
    }
  }
  return begun.empty() ? std::vector<std::string>{rest} : begun;
}

void Play(std::vector<Cue> cues) {
  zuno::CueSchedule schedule;
  schedule.Load(cues);
  cues.erase(
      std::remove_if(cues.begin(), cues.end(),
                     [](const Cue& cue) { return cue.end_ms <= cue.start_ms || cue.text.empty(); }),
      cues.end());
  std::set<std::int64_t> times;
  for (const Cue& cue : cues) {
    times.insert({cue.start_ms, cue.end_ms});
  }
  times.erase(zuno::kOpenEnd);
  for (const std::int64_t time : times) {
    Check(schedule.NextChange() == time, "the next change", std::to_string(time));
    Check(schedule.TakeDue(time, {}) == ShownAt(time, cues), "what shows", std::to_string(time));
    Check(schedule.TakeDue(time, {}).empty(), "nothing shows twice", std::to_string(time));
  }
  Check(schedule.NextChange() == zuno::kOpenEnd, "the end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  zuno::VariantBitrates(text);
  const auto cues = zuno::ParseCues(text);
  if (!cues) {
    return 0;
  }
  std::int64_t last = 0;
  for (const Cue& cue : *cues) {
    Check(cue.start_ms >= last, "cues are in order", std::to_string(cue.start_ms));
    Check(g_utf8_validate(cue.text.data(), static_cast<gssize>(cue.text.size()), nullptr) != FALSE,
          "a cue's text is text", cue.text);
    last = cue.start_ms;
  }
  Play(*cues);
  return 0;
}
