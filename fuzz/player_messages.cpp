// What the player library reports, in any order, to two players; positions on a second thread.
// Line by line:
//   first      j: the players are got by GetLumivexPlayer; else: they are those of two pages. The
//              rest of the line is what the library and the listener answer.
//   a131 40 5 text   message 131 to the first player (b: the second one) with a record of that
//              percentage, value and data; ~ as the data is a null pointer. Capitals: no record.
//   p700       position 700 to the first player (q: the second one)
//   n131       message and position without user data

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "ILumivexPlayer.h"
#include "check.h"
#include "host/browser.h"
#include "platform.h"

namespace lumivex::fuzz {

namespace {

using host::Json;
using test::Check;

// An event, with its text as the listener gets it.
struct Event {
  std::string kind;
  std::vector<int64_t> numbers;
  std::optional<std::string> text;

  bool operator==(const Event& other) const {
    return kind == other.kind && numbers == other.numbers && text == other.text;
  }
};

std::string Describe(const std::vector<Event>& events) {
  std::string all;
  for (const Event& event : events) {
    all += event.kind;
    for (const int64_t number : event.numbers) {
      all += " " + std::to_string(number);
    }
    all += (event.text ? " <" + *event.text + ">" : "") + "; ";
  }
  return all;
}

// Text goes to the page up to its first NUL, and is null there when that is not UTF-8.
Event AsPageSees(Event event) {
  if (event.text) {
    event.text = event.text->c_str();
    try {
      Json(*event.text).dump();
    } catch (const Json::exception&) {
      event.text.reset();
    }
  }
  return event;
}

// Where one player's events end up. Any thread.
class Sink final : public virtual IPlaybackEventListener {
 public:
  bool OnError(ERROR_TYPE type, int extra) override { return Add({"error", {type, extra}, {}}); }
  bool OnInfo(INFO_TYPE type, int param1, int param2) override {
    return Add({"info", {type, param1, param2}, {}});
  }
  bool OnDRMInfo(DRM_INFO_TYPE type, const std::string& data) override {
    return Add({"drm", {type}, data});
  }
  bool OnTimedText(const std::string& text) override { return Add({"text", {}, text}); }

  void OnPageEvent(const Json& event) {
    const auto number = [&event](const char* key) { return event.at(key).get<int64_t>(); };
    const auto text = [&event](const char* key) {
      return event.at(key).is_null() ? std::optional<std::string>()
                                     : event.at(key).get<std::string>();
    };
    const std::string kind = event.at("event").get<std::string>();
    if (kind == "PLAYBACK_INFO_EVENT") {
      Add({"info", {number("type"), number("param1"), number("param2")}, {}});
    } else if (kind == "PLAYBACK_ERROR_EVENT") {
      Add({"error", {number("type"), number("extra")}, {}});
    } else if (kind == "PLAYBACK_DRMINFO_EVENT") {
      Add({"drm", {number("type")}, text("data")});
    } else {
      Check(kind == "PLAYBACK_TIMEDTEXT_EVENT", "events are known", kind);
      Add({"text", {}, text("text")});
    }
  }

  bool answer = true;  // to what is no position

  std::vector<Event> messages() const { return messages_; }
  std::vector<Event> positions() const { return positions_; }

 private:
  bool Add(Event event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool position = event.kind == "info" && event.numbers.front() == 6;
    (position ? positions_ : messages_).push_back(std::move(event));
    return answer;
  }

  std::mutex mutex_;
  std::vector<Event> messages_;
  std::vector<Event> positions_;
};

uint32_t prev_percent = 0;  // one for the process, as the plug-in's own

// One player of the two, with what the page should come to see of it.
class Side {
 public:
  Sink sink;
  FakePlayer* player = nullptr;
  bool is_page = false;

  bool HasMessages() const { return player != nullptr && player->callbacks().message != nullptr; }

  void Message(int id, ZunoMessageParam* record) {
    if (!HasMessages()) {
      return;
    }
    const int result = player->callbacks().message(id, record, player->callbacks().message_user);
    const std::optional<Event> event = Expect(id, record);
    const int wanted = !event ? -1 : sink.answer ? 1 : 0;
    Check(result == wanted, "a message's result",
          std::to_string(id) + " gave " + std::to_string(result));
    if (event) {
      expected_.push_back(is_page ? AsPageSees(*event) : *event);
    }
  }

  void CheckMessages() const {
    Check(sink.messages() == expected_, "the events of messages",
          Describe(sink.messages()) + " instead of " + Describe(expected_));
  }

 private:
  std::optional<Event> Expect(int id, const ZunoMessageParam* record) {
    static const std::map<int, int> kErrors = {{186, 1}, {134, 2}, {182, 4}, {183, 5}, {184, 6},
                                               {187, 7}, {68, 8},  {37, 0},  {0, 0},   {64, 0},
                                               {65, 0},  {66, 0},  {67, 0},  {98, 0}};
    static const std::map<int, int> kPlain = {{32, 0}, {35, 7}, {96, 4}, {97, 5}};
    if (const auto error = kErrors.find(id); error != kErrors.end()) {
      return Event{"error", {error->second, 0}, {}};
    }
    if (const auto plain = kPlain.find(id); plain != kPlain.end()) {
      return Info(plain->second);
    }
    if (id == 185) {
      const auto last = player->resolutions.end();
      const auto width = *(last - 2);
      const auto height = *(last - 1);
      return Info(8, width ? width->first : -1, height ? height->second : -1);
    }
    if (id == 131) {
      return Buffering(record);
    }
    if (record == nullptr) {
      return std::nullopt;
    }
    if (id == 177) {
      return Info(9, record->value);
    }
    if (record->data != nullptr && id == 132) {
      return Event{"text", {}, std::string(record->data)};
    }
    if (record->data != nullptr && id == 181 && record->value >= 0) {
      return Event{"drm", {0}, std::string(record->data, record->data + record->value)};
    }
    return std::nullopt;
  }

  std::optional<Event> Buffering(const ZunoMessageParam* record) {
    if (!buffering_) {
      buffering_ = true;
      return Info(1);
    }
    if (record == nullptr) {
      return std::nullopt;
    }
    if (record->percent == 100) {
      buffering_ = false;
      return Info(2);
    }
    if (record->percent - record->percent % 10 == prev_percent - prev_percent % 10) {
      return std::nullopt;
    }
    prev_percent = record->percent;
    return Info(3, static_cast<int32_t>(record->percent));
  }

  static Event Info(int64_t type, int64_t param1 = 0, int64_t param2 = 0) {
    return {"info", {type, param1, param2}, {}};
  }

  bool buffering_ = false;
  std::vector<Event> expected_;
};

std::string_view TakeUntil(std::string_view* text, char end) {
  const std::size_t length = std::min(text->find(end), text->size());
  const std::string_view taken = text->substr(0, length);
  text->remove_prefix(std::min(length + 1, text->size()));
  return taken;
}

int64_t TakeNumber(std::string_view* line) {
  const std::string_view digits = TakeUntil(line, ' ');
  int64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

// The data stands in memory of its own, with nothing behind it that may be read.
void SendLine(Side* side, bool with_record, std::string_view line) {
  const auto id = static_cast<int>(TakeNumber(&line));
  if (!with_record) {
    side->Message(id, nullptr);
    return;
  }
  ZunoMessageParam record{};
  record.percent = static_cast<uint32_t>(TakeNumber(&line));
  record.value = static_cast<int32_t>(TakeNumber(&line));
  std::vector<char> data(line.begin(), line.end());
  if (id == 132) {
    data.push_back('\0');
  } else if (id == 181) {
    record.value = std::min(record.value, static_cast<int32_t>(data.size()));
  }
  data.shrink_to_fit();
  static char nothing;
  record.data = line == "~" ? nullptr : data.empty() ? &nothing : data.data();
  side->Message(id, &record);
}

// Sends all lines and checks what came of them.
void Play(std::array<Side, 2>* sides, std::string_view lines) {
  std::vector<std::pair<Side*, unsigned long>> positions;
  std::array<std::vector<Event>, 2> expected;
  std::vector<std::string_view> messages;
  while (!lines.empty()) {
    std::string_view line = TakeUntil(&lines, '\n');
    const char first = line.empty() ? 'n' : line.front();
    if (first != 'p' && first != 'q') {
      messages.push_back(line);
      continue;
    }
    line.remove_prefix(1);
    const std::size_t which = first == 'p' ? 0 : 1;
    Side* const side = &(*sides)[which];
    if (side->player != nullptr && side->player->callbacks().position != nullptr) {
      positions.emplace_back(side, static_cast<unsigned long>(TakeNumber(&line)));
      expected[which].push_back(
          {"info", {6, static_cast<int32_t>(positions.back().second), 0}, {}});
    }
  }
  std::thread clock([&positions] {
    for (const auto& [side, position] : positions) {
      side->player->callbacks().position(position, side->player->callbacks().position_user);
    }
  });
  for (std::string_view line : messages) {
    const char first = line.empty() ? 'n' : line.front();
    line.remove_prefix(line.empty() ? 0 : 1);
    Side* const side = &(*sides)[first == 'b' || first == 'B' ? 1 : 0];
    if (first != 'n') {
      SendLine(side, first != 'A' && first != 'B', line);
    } else if (side->HasMessages() && side->player->callbacks().position != nullptr) {
      const int64_t number = TakeNumber(&line);
      Check(side->player->callbacks().message(static_cast<int>(number), nullptr, nullptr) == -1,
            "no user data, no event");
      side->player->callbacks().position(static_cast<unsigned long>(number), nullptr);
    }
  }
  clock.join();
  for (std::size_t i = 0; i < sides->size(); ++i) {
    const Side& side = (*sides)[i];
    side.CheckMessages();
    Check(side.sink.positions() == expected[i], "the events of positions",
          Describe(side.sink.positions()) + " instead of " + Describe(expected[i]));
  }
}

// Brings what the process keeps to 0, so that an input comes to the same alone and among others.
void Begin(Side* side) {
  for (const char* line : {"131", "131 50", "131 0", "131 100"}) {
    SendLine(side, true, line);
  }
}

void PlayOn(std::array<Side, 2>* sides, std::string_view input) {
  Begin(&(*sides)[(*sides)[0].HasMessages() ? 0 : 1]);
  Play(sides, input);
}

// The newest player is the side's, if there is a new one.
void TakePlayer(Side* side, std::size_t players_before) {
  const std::vector<FakePlayer*>& players = Platform::Get().players;
  side->player = players.size() > players_before ? players.back() : nullptr;
}

void Run(std::string_view input) {
  std::string_view head = TakeUntil(&input, '\n');
  Platform& platform = Platform::Get();
  const bool in_pages = head.empty() || head.front() != 'j';
  head.remove_prefix(head.empty() ? 0 : 1);
  platform.answers.Set(head);
  std::array<Side, 2> sides;
  if (in_pages) {
    host::Browser browser;
    LoadPlugin(&browser);
    std::array<std::unique_ptr<host::Page>, 2> pages;
    for (std::size_t i = 0; i < sides.size(); ++i) {
      Sink* const sink = &sides[i].sink;
      const std::size_t before = platform.players.size();
      pages[i] = browser.CreatePage({}, nullptr, [sink](const Json& e) { sink->OnPageEvent(e); });
      Check(pages[i] != nullptr, "the plug-in takes the page");
      TakePlayer(&sides[i], before);
      sides[i].is_page = true;
    }
    const int64_t live = browser.LiveVars();
    PlayOn(&sides, input);
    Check(browser.LiveVars() == live, "no var is kept");
    pages = {};
    UnloadPlugin(&browser);
    return;
  }
  std::array<std::unique_ptr<ILumivexPlayer>, 2> players;
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const std::size_t before = platform.players.size();
    players[i].reset(GetLumivexPlayer(&sides[i].sink));
    TakePlayer(&sides[i], before);
    sides[i].sink.answer = test::Say().Success();
  }
  PlayOn(&sides, input);
  players = {};
  Check(platform.players.empty() && platform.libraries == 0, "everything is given back");
}

}  // namespace

}  // namespace lumivex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  lumivex::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
