#ifndef PLATFORM_ZUNO_PLAYER_SRC_CUES_H_
#define PLATFORM_ZUNO_PLAYER_SRC_CUES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zuno {

struct Cue {
  std::int64_t start_ms;
  std::int64_t end_ms;
  std::string text;  // plain text, lines separated by '\n'
};

// The text without its tags ("<i>", "{\an8}") and with its character references resolved.
std::string StripMarkup(const std::string& text);

// Reads SRT or WebVTT, told apart by WebVTT's first line. The cues come in order of their start.
// Nothing when the text is neither: no cue at all in an SRT file, a broken or missing time line, a
// cue that does not end after its start, bytes that are not UTF-8. A WebVTT file without cues is
// valid. Blocks without a time line (notes, styles) are passed over in WebVTT only.
std::optional<std::vector<Cue>> ParseCues(const std::string& file);

// Tells which cues to show as the position of playback goes on. Takes no lock.
class CueSchedule {
 public:
  void Load(std::vector<Cue> cues);
  void Clear();
  bool loaded() const { return loaded_; }
  // Playback goes on from this position: cues that have not ended by then are due again.
  void Restart(std::int64_t position_ms);
  // The texts whose time has come, each once.
  std::vector<std::string> TakeDue(std::int64_t position_ms);
  // When the next cue begins.
  std::optional<std::int64_t> NextStart() const;

 private:
  std::vector<Cue> cues_;
  std::size_t next_ = 0;
  std::int64_t anchor_ms_ = 0;
  bool loaded_ = false;
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_CUES_H_
