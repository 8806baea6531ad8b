#ifndef PLATFORM_ZUNO_PLAYER_SRC_CUES_H_
#define PLATFORM_ZUNO_PLAYER_SRC_CUES_H_

#include <cstddef>
#include <cstdint>
#include <limits>
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

// Reads SRT or WebVTT, told apart by WebVTT's first line, in UTF-8, UTF-16 with a byte order mark
// or else Windows-1252. The cues come in order of their start. A cue without a proper time line is
// lost, together with its text. WebVTT is read by the W3C's rules, by which a cue may also be empty
// or end before it starts. In SRT a blank line ends a cue only when a number follows it.
// Nothing when the text is neither: WebVTT's name with more letters, or no cue at all in any other
// text. Takes linear time.
std::optional<std::vector<Cue>> ParseCues(const std::string& file);

// The end of a cue that shows until the next one.
constexpr std::int64_t kOpenEnd = std::numeric_limits<std::int64_t>::max();

// Tells what to show as the position of playback goes on: the cues of a file, which are loaded, and
// those of the medium, which arrive while they show. Takes no lock.
class CueSchedule {
 public:
  // Nothing takes the file away.
  void Load(std::optional<std::vector<Cue>> cues);
  bool loaded() const { return loaded_; }
  // Playback goes on from this position: nothing shows any longer, and the file's cues that have
  // not ended by then are due again.
  void Restart(std::int64_t position_ms);
  // The texts to show now, one after the other: of each cue that has begun, once; or, when cues
  // have ended and none has begun, of those that remain, which is empty when there are none.
  std::vector<std::string> TakeDue(std::int64_t position_ms, const std::vector<Cue>& arrived);
  // When the next cue begins or ends; kOpenEnd for never.
  std::int64_t NextChange() const;

 private:
  std::vector<Cue> cues_;
  std::size_t next_ = 0;
  std::int64_t anchor_ms_ = 0;
  bool loaded_ = false;
  std::vector<Cue> showing_;
  bool outdated_ = false;  // the text sent last shows no longer
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_CUES_H_
