#include "cues.h"

#include <glib.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace zuno {
namespace {

constexpr std::string_view kArrow = "-->";

std::string_view Trim(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) {
    return {};
  }
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Lines ended by LF, CR or CR LF.
std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\r\n");
    lines.push_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      break;
    }
    text.remove_prefix(end + (text.substr(end, 2) == "\r\n" ? 2 : 1));
  }
  return lines;
}

// Takes 1 to maxDigits digits off the front.
std::optional<std::int64_t> TakeNumber(std::string_view* text, std::size_t max_digits) {
  std::int64_t value = 0;
  std::size_t count = 0;
  while (count < text->size() && count < max_digits && (*text)[count] >= '0' &&
         (*text)[count] <= '9') {
    value = value * 10 + ((*text)[count] - '0');
    ++count;
  }
  if (count == 0) {
    return std::nullopt;
  }
  text->remove_prefix(count);
  return value;
}

bool TakeChar(std::string_view* text, std::string_view choices) {
  if (text->empty() || choices.find(text->front()) == std::string_view::npos) {
    return false;
  }
  text->remove_prefix(1);
  return true;
}

// [hours:]minutes:seconds[.,]milliseconds
std::optional<std::int64_t> TakeTime(std::string_view* text) {
  std::int64_t fields[3] = {0, 0, 0};
  int count = 0;
  do {
    const std::optional<std::int64_t> number = TakeNumber(text, 6);
    if (!number || count == 3) {
      return std::nullopt;
    }
    fields[count++] = *number;
  } while (TakeChar(text, ":"));
  if (count < 2 || !TakeChar(text, ",.")) {
    return std::nullopt;
  }
  const std::size_t before = text->size();
  std::optional<std::int64_t> fraction = TakeNumber(text, 3);
  if (!fraction) {
    return std::nullopt;
  }
  for (std::size_t digits = before - text->size(); digits < 3; ++digits) {
    *fraction *= 10;
  }
  const std::int64_t hours = count == 3 ? fields[0] : 0;
  const std::int64_t minutes = fields[count - 2];
  const std::int64_t seconds = fields[count - 1];
  if (minutes > 59 || seconds > 59) {
    return std::nullopt;
  }
  return ((hours * 60 + minutes) * 60 + seconds) * 1000 + *fraction;
}

// "start --> end", with settings behind it.
bool ParseTimeLine(std::string_view line, Cue* cue) {
  line = Trim(line);
  const std::optional<std::int64_t> start = TakeTime(&line);
  line = Trim(line);
  if (!start || line.substr(0, kArrow.size()) != kArrow) {
    return false;
  }
  line = Trim(line.substr(kArrow.size()));
  const std::optional<std::int64_t> end = TakeTime(&line);
  if (!end || *end <= *start || !(line.empty() || line.front() == ' ' || line.front() == '\t')) {
    return false;
  }
  cue->start_ms = *start;
  cue->end_ms = *end;
  return true;
}

void AppendUtf8(unsigned long code, std::string* text) {
  char bytes[6];
  if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    code = 0xFFFD;
  }
  text->append(bytes,
               static_cast<std::size_t>(g_unichar_to_utf8(static_cast<gunichar>(code), bytes)));
}

// Resolves the character reference that begins at text[at] and answers where it ends; a '&' that
// begins none stands for itself.
std::size_t AppendReference(std::string_view text, std::size_t at, std::string* out) {
  static constexpr std::pair<std::string_view, std::string_view> kNamed[] = {
      {"&amp;", "&"},  {"&lt;", "<"},        {"&gt;", ">"},       {"&quot;", "\""},
      {"&apos;", "'"}, {"&nbsp;", "\u00a0"}, {"&lrm;", "\u200e"}, {"&rlm;", "\u200f"},
  };
  for (const auto& [name, value] : kNamed) {
    if (text.substr(at, name.size()) == name) {
      out->append(value);
      return at + name.size();
    }
  }
  const std::size_t end = text.find(';', at);
  if (text.substr(at, 2) == "&#" && end != std::string_view::npos && end - at <= 10) {
    std::string digits(text.substr(at + 2, end - at - 2));
    const bool hex = !digits.empty() && (digits[0] == 'x' || digits[0] == 'X');
    if (hex) {
      digits.erase(0, 1);
    }
    const char* allowed = hex ? "0123456789abcdefABCDEF" : "0123456789";
    if (!digits.empty() && digits.find_first_not_of(allowed) == std::string::npos) {
      AppendUtf8(std::stoul(digits, nullptr, hex ? 16 : 10), out);
      return end + 1;
    }
  }
  out->push_back('&');
  return at + 1;
}

// A '<' opens a tag only before a letter, '/' or a time, so that "1 < 2" keeps its sign.
bool OpensTag(std::string_view text, std::size_t at) {
  const char next = at + 1 < text.size() ? text[at + 1] : ' ';
  return (g_ascii_isalnum(next) || next == '/') && text.find('>', at) != std::string_view::npos;
}

}  // namespace

std::string StripMarkup(const std::string& text) {
  std::string plain;
  std::size_t at = 0;
  while (at < text.size()) {
    if (text[at] == '<' && OpensTag(text, at)) {
      at = text.find('>', at) + 1;
    } else if (text.compare(at, 2, "{\\") == 0 && text.find('}', at) != std::string::npos) {
      at = text.find('}', at) + 1;
    } else if (text[at] == '&') {
      at = AppendReference(text, at, &plain);
    } else {
      plain.push_back(text[at++]);
    }
  }
  return plain;
}

std::optional<std::vector<Cue>> ParseCues(const std::string& file) {
  if (file.find('\0') != std::string::npos ||
      g_utf8_validate(file.data(), static_cast<gssize>(file.size()), nullptr) == FALSE) {
    return std::nullopt;
  }
  std::string_view text = file;
  if (text.substr(0, 3) == "\xEF\xBB\xBF") {
    text.remove_prefix(3);
  }
  const std::vector<std::string_view> lines = SplitLines(text);
  const bool webvtt =
      !lines.empty() && (lines[0] == "WEBVTT" || lines[0].substr(0, 7) == "WEBVTT " ||
                         lines[0].substr(0, 7) == "WEBVTT\t");

  std::vector<Cue> cues;
  std::size_t at = 0;
  while (at < lines.size()) {
    if (Trim(lines[at]).empty()) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < lines.size() && !Trim(lines[end]).empty()) {
      ++end;
    }
    // The time line is the block's first line, or its second after a number or a name.
    std::size_t time_line = at;
    if (lines[at].find(kArrow) == std::string_view::npos) {
      ++time_line;
    }
    const bool has_times =
        time_line < end && lines[time_line].find(kArrow) != std::string_view::npos;
    Cue cue = {0, 0, {}};
    if (has_times) {
      if (!ParseTimeLine(lines[time_line], &cue)) {
        return std::nullopt;
      }
      for (std::size_t line = time_line + 1; line < end; ++line) {
        cue.text += (cue.text.empty() ? "" : "\n") + std::string(lines[line]);
      }
      cue.text = StripMarkup(cue.text);
      if (!cue.text.empty()) {
        cues.push_back(std::move(cue));
      }
    } else if (!webvtt) {
      return std::nullopt;
    }
    at = end;
  }
  if (cues.empty() && !webvtt) {
    return std::nullopt;
  }
  std::stable_sort(cues.begin(), cues.end(),
                   [](const Cue& a, const Cue& b) { return a.start_ms < b.start_ms; });
  return cues;
}

void CueSchedule::Load(std::vector<Cue> cues) {
  cues_ = std::move(cues);
  loaded_ = true;
  Restart(0);
}

void CueSchedule::Clear() {
  cues_.clear();
  loaded_ = false;
  Restart(0);
}

void CueSchedule::Restart(std::int64_t position_ms) {
  next_ = 0;
  anchor_ms_ = position_ms;
}

std::vector<std::string> CueSchedule::TakeDue(std::int64_t position_ms) {
  std::vector<std::string> texts;
  for (; next_ < cues_.size() && cues_[next_].start_ms <= position_ms; ++next_) {
    if (cues_[next_].end_ms > anchor_ms_) {
      texts.push_back(cues_[next_].text);
    }
  }
  return texts;
}

std::optional<std::int64_t> CueSchedule::NextStart() const {
  return next_ < cues_.size() ? std::optional<std::int64_t>(cues_[next_].start_ms) : std::nullopt;
}

}  // namespace zuno
