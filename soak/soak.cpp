#include "soak.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "answering_tuner.h"
#include "check.h"
#include "element.h"
#include "figures.h"
#include "host/browser.h"
#include "host/json.h"
#include "pause.h"
#include "platform.h"
#include "promises.h"
#include "random.h"
#include "table.h"
#include "watchdog.h"

namespace lumivex::soak {

namespace {

using test::Check;
using Clock = std::chrono::steady_clock;

constexpr int kEventThreads = 4;
constexpr int kRounds = 24;  // in a short soak; in a long one as many as it takes
constexpr double kShortestRound = 0.2;
constexpr double kLongestRound = 5;
constexpr double kShortestStay = 2;  // of elements, however short the soak

std::atomic<bool> is_over{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

const char* Describe(Verdict verdict) {
  switch (verdict) {
    case Verdict::kFlat:
      return "Flat";
    case Verdict::kNotFlat:
      return "NOT FLAT";
    case Verdict::kNotJudged:
      return "NOT JUDGED: flat so far, but ended too early,";
  }
  return "";
}

class Runner {
 public:
  explicit Runner(const Options& options) : options_(options), random_(options.seed, 0) {}

  Verdict Run();

 private:
  // From one quiet point to the next: a browser's life. False when something is over.
  bool Round(const std::function<void(host::Browser*)>& use);
  bool Rounds(double end);
  void ComeAndGo(host::Browser* browser);  // elements
  void Stay(host::Browser* browser);       // likewise; looks what they hold meanwhile
  void Attend(host::Browser* browser);
  void Open(host::Browser* browser, std::unique_ptr<Element>* element);
  int64_t HeapAtRest(host::Browser* browser);
  void Load(host::Browser* browser);
  void Unload(host::Browser* browser);
  void ChangeSomething(host::Browser* browser);
  void CloseAll();
  void LookAround(host::Browser* browser);

  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  Work WorkSoFar() const;

  const Options options_;
  const double seconds_ = options_.minutes * 60;
  const double round_ = std::clamp(seconds_ / kRounds, kShortestRound, kLongestRound);
  const Clock::time_point start_ = Clock::now();
  const std::shared_ptr<test::AnsweringServices> services_ =
      std::make_shared<test::AnsweringServices>();
  Random random_;
  Table table_;
  Counts counts_;
  Pause pause_;
  double next_progress_ = 0;
  std::vector<std::unique_ptr<Element>> elements_;
  int last_element_ = 0;
  int64_t loads_ = 0;  // of the plug-in since the end of the warm-up
  Figures base_{};     // before all
  Figures first_{};    // after the warm-up
  Figures last_{};
};

Verdict Runner::Run() {
  Watchdog::Get();  // its thread belongs to the base line
  const EventThreads event_threads(kEventThreads, &pause_);
  elements_.resize(options_.instances);

  std::printf("seed %" PRIu64 ", %u elements at most, %g minutes\n", options_.seed,
              options_.instances, options_.minutes);
  table_.PrintHead();
  base_[kThreads] = Threads();
  base_[kHandles] = Handles();
  first_.fill(kUnknown);
  last_[kLivingHeap] = kUnknown;
  if (Rounds(std::max(seconds_ / 4, 2 * round_))) {
    first_ = last_;
    loads_ = 0;
    if (Round([this](host::Browser* browser) { Stay(browser); })) {
      Rounds(seconds_);
    }
  }
  const Verdict verdict = Judge(base_, first_, last_, loads_, elements_.size());
  std::printf("%s after %.0f s, %d elements and %" PRId64 " messages\n", Describe(verdict),
              Seconds(), last_element_, counts_.messages.load());
  return verdict;
}

bool Runner::Rounds(double end) {
  while (Round([this](host::Browser* browser) { ComeAndGo(browser); })) {
    if (Seconds() >= end) {
      return true;
    }
  }
  return false;
}

bool Runner::Round(const std::function<void(host::Browser*)>& use) {
  host::Browser::Options browser_options;
  browser_options.extension_system = services_;
  browser_options.on_dropped = [this](const host::Json& event) {
    // Not so the reply to a posted message that an element was just working on.
    counts_.dropped += event.contains("event") ? 1 : 0;
  };
  {
    host::Browser browser(browser_options);
    Load(&browser);
    use(&browser);
    CloseAll();
    LookAround(&browser);
  }
  last_[kHeap] = HeapBytes();
  last_[kResident] = ResidentBytes();
  table_.PrintRow(WorkSoFar(), last_);
  return HoldsNow(base_, last_) && !is_over;
}

void Runner::ComeAndGo(host::Browser* browser) {
  const double end = Seconds() + round_;
  while (Seconds() < end && !is_over) {
    ChangeSomething(browser);
    Attend(browser);
  }
}

// Growth within an element is gone with the element.
void Runner::Stay(host::Browser* browser) {
  for (std::unique_ptr<Element>& element : elements_) {
    Open(browser, &element);
  }
  const double start = Seconds();
  const double seconds = std::max(seconds_ / 4, kShortestStay);
  for (int quarter = 1; quarter <= 4; ++quarter) {
    while (Seconds() < start + seconds * quarter / 4) {
      if (is_over) {
        return;
      }
      Attend(browser);
    }
    const int64_t bytes = HeapAtRest(browser);
    table_.PrintLivingHeap(Seconds(), elements_.size(), bytes);
    if (quarter == 1) {
      first_[kLivingHeap] = bytes;
    } else if (quarter == 4) {
      last_[kLivingHeap] = bytes;
    }
  }
}

int64_t Runner::HeapAtRest(host::Browser* browser) {
  const Watchdog::Step step("coming to rest");
  pause_.Begin();
  for (const std::unique_ptr<Element>& element : elements_) {
    element->Settle();
  }
  browser->RunPending();
  const int64_t bytes = HeapBytes();
  pause_.End();
  return bytes;
}

void Runner::Attend(host::Browser* browser) {
  browser->RunPending();
  if (Seconds() >= next_progress_) {
    table_.PrintProgress(WorkSoFar(), seconds_);
    next_progress_ = Seconds() + 0.2;
  }
  std::this_thread::sleep_for(std::chrono::microseconds(random_.Below(4000)));
}

void Runner::Load(host::Browser* browser) {
  const Watchdog::Step step("loading of the plug-in");
  std::string error;
  Check(browser->Load(options_.plugin, &error), "the plug-in loads", error);
  ++loads_;
}

void Runner::Unload(host::Browser* browser) {
  const Watchdog::Step step("unloading of the plug-in");
  std::string error;
  Check(browser->Unload(&error), "the plug-in unloads", error);
}

void Runner::Open(host::Browser* browser, std::unique_ptr<Element>* element) {
  *element =
      std::make_unique<Element>(browser, services_.get(), ++last_element_, &pause_, &counts_);
}

// Elements at the end of the row live longer than those at its start.
void Runner::ChangeSomething(host::Browser* browser) {
  const unsigned int place = random_.Below(options_.instances);
  std::unique_ptr<Element>& element = elements_[place];
  if (element == nullptr) {
    Open(browser, &element);
  } else if (random_.OneIn(1 + 4 * place)) {
    element.reset();
  } else if (random_.OneIn(200)) {
    CloseAll();
  } else if (random_.OneIn(200)) {
    CloseAll();
    Unload(browser);
    Load(browser);
  }
}

void Runner::CloseAll() {
  for (std::unique_ptr<Element>& element : elements_) {
    element.reset();
  }
}

void Runner::LookAround(host::Browser* browser) {
  last_[kVars] = browser->LiveVars();
  last_[kResources] = browser->LiveResources();
  for (const std::string& line : browser->DescribeLive()) {
    std::fprintf(stderr, "still alive: %s\n", line.c_str());
  }
  Unload(browser);
  const std::vector<std::string> defects = browser->Defects();
  last_[kDefects] = static_cast<int64_t>(defects.size());
  for (std::size_t i = 0; i < std::min<std::size_t>(defects.size(), 10); ++i) {
    std::fprintf(stderr, "defect: %s\n", defects[i].c_str());
  }
  last_[kPlayers] = Platform::Players();
  last_[kPlayerLibraries] = Platform::libraries;
  last_[kTuners] = test::AnsweringTuner::Held();
  last_[kPluginLibraries] = 0;
  if (void* const library = dlopen(options_.plugin.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
    last_[kPluginLibraries] = 1;
    dlclose(library);
  }
  // What was reported came to its page or was dropped behind it.
  last_[kEventsLost] =
      Platform::reported + test::AnsweringTuner::tuned - counts_.events - counts_.dropped;
  last_[kHandles] = Handles();
  // A thread is still listed for a moment after it was joined.
  last_[kThreads] = Threads();
  for (int i = 0; i < 200 && last_[kThreads] > base_[kThreads]; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    last_[kThreads] = Threads();
  }
}

Work Runner::WorkSoFar() const {
  Work work;
  work.seconds = Seconds();
  work.opened = counts_.opened;
  work.messages = counts_.messages;
  std::copy(counts_.replies.begin(), counts_.replies.end(), work.replies.begin());
  work.events = counts_.events;
  work.dropped = counts_.dropped;
  return work;
}

}  // namespace

Verdict Soak(const Options& options) {
  Platform::seed = options.seed;
  return Runner(options).Run();
}

void EndSoak() {
  is_over = true;
}

}  // namespace lumivex::soak
