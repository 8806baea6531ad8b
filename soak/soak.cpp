#include "soak.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "answering_tuner.h"
#include "check.h"
#include "element.h"
#include "figures.h"
#include "host/browser.h"
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

std::atomic<bool> is_over{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

class Runner {
 public:
  explicit Runner(const Options& options) : options_(options), random_(options.seed, 0) {}

  bool Run();

 private:
  // From one quiet point to the next: a browser's life.
  Figures Round(double seconds);
  void Load(host::Browser* browser);
  void Unload(host::Browser* browser);
  void ChangeSomething(host::Browser* browser);
  void CloseAll();
  Figures LookAround(host::Browser* browser);
  int64_t EventsLost() const;

  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  Work WorkSoFar() const;

  const Options options_;
  const Clock::time_point start_ = Clock::now();
  const std::shared_ptr<test::AnsweringServices> services_ =
      std::make_shared<test::AnsweringServices>();
  Random random_;
  Table table_;
  Counts counts_;
  std::vector<std::unique_ptr<Element>> elements_;
  int last_element_ = 0;
  int64_t loads_ = 0;    // of the plug-in since the end of the warm-up
  Figures base_{};       // before all
  int64_t dropped_ = 0;  // events of pages that were gone, of the browsers before
};

bool Runner::Run() {
  const double seconds = options_.minutes * 60;
  const double round = std::clamp(seconds / kRounds, kShortestRound, kLongestRound);
  const double warm_up = std::max(seconds / 4, 2 * round);
  Watchdog::Get();  // its thread belongs to the base line
  const EventThreads event_threads(kEventThreads);
  elements_.resize(options_.instances);

  std::printf("seed %" PRIu64 ", %u elements at most, %g minutes\n", options_.seed,
              options_.instances, options_.minutes);
  table_.PrintHead();
  base_[kThreads] = Threads();
  base_[kHandles] = Handles();
  Figures first{};
  Figures last{};
  bool holds = true;
  bool is_warm = false;
  do {
    last = Round(round);
    table_.PrintRow(WorkSoFar(), last);
    holds = HoldsNow(base_, last);
    if (!is_warm) {
      first = last;
      loads_ = 0;
      is_warm = Seconds() >= warm_up;
    }
  } while (holds && !is_over && Seconds() < seconds);
  const bool flat = Judge(base_, first, last, loads_);
  std::printf("%s after %.0f s, %d elements and %" PRId64 " messages\n", flat ? "Flat" : "NOT FLAT",
              Seconds(), last_element_, counts_.messages.load());
  return flat;
}

Figures Runner::Round(double seconds) {
  const double end = Seconds() + seconds;
  host::Browser::Options browser_options;
  browser_options.extension_system = services_;
  Figures figures{};
  {
    host::Browser browser(browser_options);
    Load(&browser);
    double next_progress = 0;
    while (Seconds() < end && !is_over) {
      ChangeSomething(&browser);
      browser.RunPending();
      if (Seconds() >= next_progress) {
        table_.PrintProgress(WorkSoFar(), options_.minutes * 60);
        next_progress = Seconds() + 0.2;
      }
      std::this_thread::sleep_for(std::chrono::microseconds(random_.Below(4000)));
    }
    CloseAll();
    figures = LookAround(&browser);
  }
  figures[kHeap] = HeapBytes();
  figures[kResident] = ResidentBytes();
  return figures;
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

// Elements at the end of the row live longer than those at its start.
void Runner::ChangeSomething(host::Browser* browser) {
  const unsigned int place = random_.Below(options_.instances);
  std::unique_ptr<Element>& element = elements_[place];
  if (element == nullptr) {
    element = std::make_unique<Element>(browser, services_.get(), ++last_element_, &counts_);
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

Figures Runner::LookAround(host::Browser* browser) {
  Figures figures{};
  figures[kVars] = browser->LiveVars();
  figures[kResources] = browser->LiveResources();
  for (const std::string& line : browser->DescribeLive()) {
    std::fprintf(stderr, "still alive: %s\n", line.c_str());
  }
  Unload(browser);
  const std::vector<std::string> defects = browser->Defects();
  figures[kDefects] = static_cast<int64_t>(defects.size());
  for (std::size_t i = 0; i < std::min<std::size_t>(defects.size(), 10); ++i) {
    std::fprintf(stderr, "defect: %s\n", defects[i].c_str());
  }
  figures[kPlayers] = Platform::Players();
  figures[kPlayerLibraries] = Platform::libraries;
  figures[kTuners] = test::AnsweringTuner::Held();
  if (void* const library = dlopen(options_.plugin.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
    figures[kPluginLibraries] = 1;
    dlclose(library);
  }
  dropped_ += browser->DroppedEvents();
  figures[kEventsLost] = EventsLost();
  figures[kHandles] = Handles();
  // A thread is still listed for a moment after it was joined.
  figures[kThreads] = Threads();
  for (int i = 0; i < 200 && figures[kThreads] > base_[kThreads]; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    figures[kThreads] = Threads();
  }
  return figures;
}

// What was reported came to the page or was dropped behind it. So was the reply to a posted message
// that an element was just working on, at most one for each, which nobody reported.
int64_t Runner::EventsLost() const {
  const int64_t lost = Platform::reported + test::AnsweringTuner::tuned - counts_.events - dropped_;
  return lost <= 0 && lost >= -counts_.opened ? 0 : lost;
}

Work Runner::WorkSoFar() const {
  Work work;
  work.seconds = Seconds();
  work.opened = counts_.opened;
  work.messages = counts_.messages;
  std::copy(counts_.replies.begin(), counts_.replies.end(), work.replies.begin());
  work.events = counts_.events;
  work.dropped = dropped_;
  return work;
}

}  // namespace

bool Soak(const Options& options) {
  Platform::seed = options.seed;
  return Runner(options).Run();
}

void EndSoak() {
  is_over = true;
}

}  // namespace lumivex::soak
