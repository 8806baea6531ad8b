// The cost of loading, of creating and destroying an element, and its memory.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks.h"
#include "element.h"
#include "laps.h"

namespace lumivex::bench {

namespace {

using host::Page;

template <class Work>
double Seconds(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Opens the library and initialises it, or shuts it down and closes it, with the platform's
// libraries.
void LoadOrUnload(benchmark::State& state, Plugin plugin, bool load) {
  host::Browser browser;
  std::string error;
  bool good = true;
  Laps laps(&state);
  for (auto _ : state) {
    const double loading = Seconds([&] { good = good && browser.Load(PathOf(plugin), &error); });
    const double unloading = Seconds([&] { good = good && browser.Unload(&error); });
    laps.Add(load ? loading : unloading);
    state.SetIterationTime(load ? loading : unloading);
  }
  if (!good) {
    Fail(error);
  }
}

void CreateOrDestroy(benchmark::State& state, Plugin plugin, bool create) {
  Session session(plugin);
  std::vector<std::unique_ptr<Page>> others;
  for (int64_t i = 0; i < state.range(0); ++i) {
    others.push_back(session.CreatePage());
  }
  std::unique_ptr<Page> page;
  Laps laps(&state);
  for (auto _ : state) {
    const double creation = Seconds([&] { page = session.CreatePage(); });
    const double destruction = Seconds([&] { page.reset(); });
    laps.Add(create ? creation : destruction);
    state.SetIterationTime(create ? creation : destruction);
  }
}

// Heap bytes per element, including the browser's.
void Heap(benchmark::State& state, Plugin plugin) {
  constexpr std::size_t kElements = 100;
  Session session(plugin);
  // The first element allocates what all share.
  std::vector<std::unique_ptr<Page>> pages(kElements + 1);
  pages[0] = session.CreatePage();
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    for (std::size_t i = 1; i <= kElements; ++i) {
      pages[i] = session.CreatePage();
    }
    bytes = mallinfo2().uordblks - before;
  }
  state.counters[kBytes] = static_cast<double>(bytes) / kElements;
}

template <class Function>
benchmark::internal::Benchmark* Add(const char* name, const Function& function) {
  return benchmark::RegisterBenchmark(name, function)->Unit(benchmark::kMicrosecond);
}

}  // namespace

void RegisterLife() {
  const auto load = [](const char* name, Plugin plugin, bool loads) {
    Add(name, [=](benchmark::State& state) { LoadOrUnload(state, plugin, loads); })
        ->UseManualTime()
        ->Iterations(20);
  };
  load(kLoad, Plugin::kLumivex, true);
  load(kUnload, Plugin::kLumivex, false);
  load(kLoadEcho, Plugin::kEcho, true);

  const auto life = [](const char* name, Plugin plugin, bool creates) {
    Add(name, [=](benchmark::State& state) { CreateOrDestroy(state, plugin, creates); })
        ->Arg(1)
        ->Arg(10)
        ->Arg(100)
        ->UseManualTime()
        ->Iterations(200);
  };
  life(kCreate, Plugin::kLumivex, true);
  life(kDestroy, Plugin::kLumivex, false);
  life(kCreateEcho, Plugin::kEcho, true);
  life(kDestroyEcho, Plugin::kEcho, false);

  const auto heap = [](const char* name, Plugin plugin) {
    Add(name, [=](benchmark::State& state) { Heap(state, plugin); })->Iterations(1);
  };
  heap(kHeap, Plugin::kLumivex);
  heap(kHeapEcho, Plugin::kEcho);
}

}  // namespace lumivex::bench
