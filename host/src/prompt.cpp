#include "prompt.h"

#ifdef LUMIVEX_READLINE

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "host/commands.h"

#include <readline/history.h>
#include <readline/readline.h>

namespace lumivex::host {

namespace {

class Prompt;
Prompt* the_prompt = nullptr;  // for readline's callbacks, which have no argument for it

// Readline owns the terminal only while the prompt is shown.
class Prompt final : public Input {
 public:
  Prompt() : Input(STDIN_FILENO) {
    the_prompt = this;
    rl_catch_signals = 0;
    rl_completer_word_break_characters = kWordBreaks.data();
    rl_attempted_completion_function = Complete;
  }
  ~Prompt() override {
    Hide();
    the_prompt = nullptr;
  }

  bool Fill() override {
    rl_callback_read_char();
    return true;
  }
  void Show() override {
    if (shown_) {
      return;
    }
    shown_ = true;
    rl_callback_handler_install("lumivex> ", [](char* line) { the_prompt->Take(line); });
    rl_insert_text(unfinished_.c_str());
    rl_redisplay();
  }
  void Hide() override {
    if (!shown_) {
      return;
    }
    unfinished_ = rl_line_buffer;
    rl_clear_visible_line();
    Close();
  }

 private:
  void Close() {
    rl_callback_handler_remove();
    shown_ = false;
  }

  // line is null at the end of the input.
  void Take(char* line) {
    Close();
    unfinished_.clear();
    if (line == nullptr) {
      std::puts("");
      Append("", 0);
      return;
    }
    const HIST_ENTRY* const last = history_get(history_length);
    if (*line != '\0' && (last == nullptr || std::strcmp(last->line, line) != 0)) {
      add_history(line);
    }
    const std::string text = std::string(line) + '\n';
    std::free(line);
    Append(text.data(), text.size());
  }

  // The command before this position of the line, or null.
  static const Command* CommandBefore(int start) {
    const std::string_view line(rl_line_buffer, static_cast<std::size_t>(start));
    for (std::size_t from = 0; from < line.size();) {
      const std::size_t end = std::min(line.find_first_of(kWordBreaks, from), line.size());
      if (const Command* const command = FindCommand(line.substr(from, end - from))) {
        return command;
      }
      from = end + 1;
    }
    return nullptr;
  }

  static char** Complete(const char* text, int start, int /*end*/) {
    const Command* const command = CommandBefore(start);
    if (start > 0 && rl_line_buffer[start - 1] == '=') {
      return nullptr;  // file names
    }
    rl_attempted_completion_over = 1;
    const bool is_json = rl_line_buffer[0] == '{';
    std::vector<std::string_view>& candidates = the_prompt->candidates_;
    candidates.clear();
    if (command != nullptr) {
      candidates = command->arguments;
    } else {
      for (const Command& each : Commands()) {
        candidates.push_back(each.name);
      }
    }
    char** const found = rl_completion_matches(text, NextCandidate);
    const char* const behind = is_json ? "" : command != nullptr ? "=" : " ";
    rl_completion_append_character = static_cast<unsigned char>(*behind);
    return found;
  }

  static char* NextCandidate(const char* text, int state) {
    static std::size_t next = 0;
    next = state == 0 ? 0 : next;
    const std::vector<std::string_view>& candidates = the_prompt->candidates_;
    while (next < candidates.size()) {
      const std::string_view candidate = candidates[next++];
      if (candidate.substr(0, std::strlen(text)) == text) {
        return strdup(std::string(candidate).c_str());
      }
    }
    return nullptr;
  }

  static constexpr std::string_view kWordBreaks = " \t{}\",:=";

  bool shown_ = false;
  std::string unfinished_;  // typed before an event interrupted
  std::vector<std::string_view> candidates_;
};

}  // namespace

std::unique_ptr<Input> MakePrompt() {
  return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0 ? std::make_unique<Prompt>()
                                                                 : nullptr;
}

}  // namespace lumivex::host

#else

namespace lumivex::host {

std::unique_ptr<Input> MakePrompt() {
  return nullptr;
}

}  // namespace lumivex::host

#endif
