#include "cues.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "gst_ptr.h"

namespace zuno {
namespace {

constexpr std::string_view kArrow = "-->";

// [hours:]minutes:seconds.milliseconds twice. SRT is written by hand.
constexpr char kWebVttTimes[] =
    R"(\A[ \t\f]*(?:(\d{1,9}):)?([0-5]\d):([0-5]\d)\.(\d{3})[ \t\f]*-->)"
    R"([ \t\f]*(?:(\d{1,9}):)?([0-5]\d):([0-5]\d)\.(\d{3})(?!\d))";
constexpr char kSrtTimes[] =
    R"(\A[ \t\f]*(?:(\d{1,9}):)?([0-5]?\d):([0-5]?\d)(?:[,.](\d{0,3})\d*)?[ \t\f]*-->)"
    R"([ \t\f]*(?:(\d{1,9}):)?([0-5]?\d):([0-5]?\d)(?:[,.](\d{0,3})\d*)?)";

// "start --> end", with settings behind it.
bool ParseTimeLine(std::string_view line, bool webvtt, Cue* cue) {
  static GRegex* const webvtt_times = MakePattern(kWebVttTimes);
  static GRegex* const srt_times = MakePattern(kSrtTimes);
  GMatchInfo* info = nullptr;
  const bool matches = g_regex_match_full(webvtt ? webvtt_times : srt_times, line.data(),
                                          static_cast<gssize>(line.size()), 0, GRegexMatchFlags{},
                                          &info, nullptr) != FALSE;
  const MatchPtr owned(info);
  std::int64_t times[2] = {0, 0};
  for (int i = 0; matches && i < 8; ++i) {
    const CharPtr field(g_match_info_fetch(info, i + 1));
    std::string digits(field == nullptr ? "" : field.get());
    const bool fraction = i % 4 == 3;
    digits.resize(fraction ? 3 : digits.size(), '0');
    times[i / 4] = times[i / 4] * (fraction ? 1000 : 60) + std::atoll(digits.c_str());
  }
  cue->start_ms = times[0];
  cue->end_ms = times[1];
  return matches && (webvtt || cue->end_ms > cue->start_ms);
}

bool IsBlank(std::string_view line) {
  return line.find_first_not_of(" \t\f") == std::string_view::npos;
}

// The number that stands before a cue.
bool IsNumber(std::string_view line) {
  return !IsBlank(line) && line.find_first_not_of(" \t\f0123456789") == std::string_view::npos;
}

std::string_view TakeLine(std::string_view* text) {
  const std::string_view line = text->substr(0, text->find('\n'));
  text->remove_prefix(std::min(line.size() + 1, text->size()));
  return line;
}

std::string FromCharset(const std::string& text, const char* charset) {
  gsize read = 0;
  gsize length = 0;
  const auto size = static_cast<gssize>(text.size());
  const CharPtr utf8(g_convert(text.data(), size, "UTF-8", charset, &read, &length, nullptr));
  return utf8 != nullptr ? std::string(utf8.get(), length)
                         : CharPtr(g_utf8_make_valid(text.data(), size)).get();
}

// As UTF-8 without NUL, lines ended by '\n'. UTF-16 is known by its byte order mark; what is not
// UTF-8 either is taken for Windows-1252.
std::string Decode(const std::string& file) {
  const std::string mark = file.substr(0, 2);
  const bool utf16 = mark == "\xFF\xFE" || mark == "\xFE\xFF";
  std::string text;
  char previous = '\0';
  for (const char next : utf16 ? FromCharset(file, "UTF-16") : file) {
    if (next == '\0') {
      text += "\uFFFD";
    } else if (next != '\n' || previous != '\r') {
      text += next == '\r' ? '\n' : next;
    }
    previous = next;
  }
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE) {
    text = FromCharset(text, "WINDOWS-1252");
  }
  text.erase(text.find_last_not_of("\n\x1A") + 1);  // some editors end a file with Ctrl-Z
  return text.compare(0, 3, "\uFEFF") == 0 ? text.substr(3) : text;
}

// What stands in place of a tag, which is nothing, or of a character reference.
gboolean Resolve(const GMatchInfo* info, GString* out, void* /*data*/) {
  static constexpr std::pair<std::string_view, const char*> kNamed[] = {
      {"&amp;", "&"},  {"&lt;", "<"},        {"&gt;", ">"},       {"&quot;", "\""},
      {"&apos;", "'"}, {"&nbsp;", "\u00a0"}, {"&lrm;", "\u200e"}, {"&rlm;", "\u200f"},
  };
  const CharPtr owned(g_match_info_fetch(info, 0));
  const std::string_view markup = owned.get();
  if (markup.substr(0, 2) == "&#") {
    const bool hex = g_ascii_tolower(markup[2]) == 'x';
    const guint64 code = g_ascii_strtoull(markup.data() + (hex ? 3 : 2), nullptr, hex ? 16 : 10);
    const bool valid = code > 0 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    g_string_append_unichar(out, valid ? static_cast<gunichar>(code) : 0xFFFD);
  } else if (markup[0] == '&') {
    const auto named = std::find_if(std::begin(kNamed), std::end(kNamed),
                                    [markup](const auto& row) { return row.first == markup; });
    g_string_append(out, named == std::end(kNamed) ? markup.data() : named->second);
  }
  return FALSE;
}

}  // namespace

std::string StripMarkup(const std::string& text) {
  // A '<' opens a tag only before a letter, a digit or '/', so that "1 < 2" keeps its sign.
  static GRegex* const markup =
      MakePattern(R"(<[[:alnum:]/][^<>]*>|\{\\[^{}]*\}|&(?:\w+|#\d+|#[xX][[:xdigit:]]+);)");
  const CharPtr plain(g_regex_replace_eval(markup, text.data(), static_cast<gssize>(text.size()), 0,
                                           GRegexMatchFlags{}, Resolve, nullptr, nullptr));
  return plain == nullptr ? text : plain.get();
}

std::optional<std::vector<Cue>> ParseCues(const std::string& file) {
  const std::string text = Decode(file);
  std::string_view rest = text;
  const bool webvtt = rest.substr(0, 6) == "WEBVTT";
  if (webvtt) {
    const std::string_view name = TakeLine(&rest);
    if (name.size() > 6 && name[6] != ' ' && name[6] != '\t') {
      return std::nullopt;
    }
  }
  std::vector<Cue> cues;
  bool open = false;  // the lines that follow are the last cue's text
  std::string_view previous;
  while (!rest.empty()) {
    const std::string_view line = TakeLine(&rest);
    if (line.find(kArrow) != std::string_view::npos) {
      if (open && !webvtt && IsNumber(previous)) {
        cues.back().text.resize(cues.back().text.size() - previous.size() - 1);
      }
      Cue cue = {0, 0, {}};
      open = ParseTimeLine(line, webvtt, &cue);
      if (open) {
        cues.push_back(std::move(cue));
      }
    } else if (webvtt ? line.empty() : IsNumber(line) && IsBlank(previous)) {
      open = false;
    } else if (open) {
      cues.back().text.append(line).push_back('\n');
    }
    previous = line;
  }
  if (cues.empty() && !webvtt) {
    return std::nullopt;
  }
  for (Cue& cue : cues) {
    cue.text.erase(cue.text.find_last_not_of(webvtt ? "\n" : "\n \t\f") + 1);
    cue.text = StripMarkup(cue.text.erase(0, cue.text.find_first_not_of('\n')));
  }
  std::stable_sort(cues.begin(), cues.end(),
                   [](const Cue& a, const Cue& b) { return a.start_ms < b.start_ms; });
  return cues;
}

void CueSchedule::Load(std::optional<std::vector<Cue>> cues) {
  const auto never_shows = [](const Cue& cue) {
    return cue.end_ms <= cue.start_ms || cue.text.empty();
  };
  loaded_ = cues.has_value();
  cues_ = std::move(cues).value_or(std::vector<Cue>());
  cues_.erase(std::remove_if(cues_.begin(), cues_.end(), never_shows), cues_.end());
  Restart(0);
}

void CueSchedule::Restart(std::int64_t position_ms) {
  next_ = 0;
  anchor_ms_ = position_ms;
  outdated_ = outdated_ || !showing_.empty();
  showing_.clear();
}

std::vector<std::string> CueSchedule::TakeDue(std::int64_t position_ms,
                                              const std::vector<Cue>& arrived) {
  const auto over = [&](const Cue& cue) {
    return cue.end_ms <= position_ms || (cue.end_ms == kOpenEnd && !arrived.empty());
  };
  const auto remaining = std::remove_if(showing_.begin(), showing_.end(), over);
  outdated_ = outdated_ || remaining != showing_.end();
  showing_.erase(remaining, showing_.end());

  std::vector<std::string> texts;
  const auto begin = [&](const Cue& cue) {
    texts.push_back(cue.text);
    outdated_ = cue.end_ms <= position_ms;
    if (!outdated_) {
      showing_.push_back(cue);
    }
  };
  for (const Cue& cue : arrived) {
    const auto same = [&cue](const Cue& other) {
      return cue.start_ms == other.start_ms && cue.text == other.text;
    };
    if (!cue.text.empty() && std::none_of(showing_.begin(), showing_.end(), same)) {
      begin(cue);
    }
  }
  for (; next_ < cues_.size() && cues_[next_].start_ms <= position_ms; ++next_) {
    if (cues_[next_].end_ms > anchor_ms_) {
      begin(cues_[next_]);
    }
  }
  if (outdated_) {
    std::string rest;
    for (const Cue& cue : showing_) {
      rest += (rest.empty() ? "" : "\n") + cue.text;
    }
    texts.push_back(std::move(rest));
    outdated_ = false;
  }
  return texts;
}

std::int64_t CueSchedule::NextChange() const {
  std::int64_t next = next_ < cues_.size() ? cues_[next_].start_ms : kOpenEnd;
  for (const Cue& cue : showing_) {
    next = std::min(next, cue.end_ms);
  }
  return next;
}

}  // namespace zuno
