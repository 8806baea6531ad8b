// The cost of a blocking message, with and without the host.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "benchmarks.h"
#include "element.h"
#include "laps.h"
#include "requests.h"

namespace lumivex::bench {

namespace {

using host::Json;
using host::OwnedVar;
using host::Page;

constexpr int kNotSupported = 9;
constexpr int kAnswersALap = 32;

// From a thread of the page to the element's thread and back. The message is a var, to exclude the
// conversion of JSON.
void Hosted(benchmark::State& state, Plugin plugin, const Json& message, int code) {
  Element element(plugin);
  element.Check(message, code);
  const OwnedVar var = element.Var(message);
  Laps laps(&state);
  for (auto _ : state) {
    if (element.page().SendBlockingVar(var.get()).outcome != Page::Outcome::kAnswered) {
      Fail("a message got no reply");
    }
    laps.Next();
  }
}

// The handler alone, on this thread.
void Direct(benchmark::State& state, Plugin plugin, const Json& message, int code) {
  Element element(plugin);
  element.Check(message, code);
  const OwnedVar var = element.Var(message);
  Laps laps(&state, kAnswersALap);
  for (auto _ : state) {
    const OwnedVar answer = element.Ask(var.get());
    benchmark::DoNotOptimize(answer.get());
    laps.Next();
  }
}

void Register(const std::string& name, const Json& message, int code) {
  const auto add = [&](const char* kind, auto* function, Plugin plugin) {
    benchmark::RegisterBenchmark(
        (kind + name).c_str(),
        [=](benchmark::State& state) { function(state, plugin, message, code); })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
  };
  add(kHosted, &Hosted, Plugin::kLumivex);
  add(kHostedEcho, &Hosted, Plugin::kEcho);
  add(kDirect, &Direct, Plugin::kLumivex);
  add(kDirectEcho, &Direct, Plugin::kEcho);
}

// One command while other elements exist.
void AmongOthers(benchmark::State& state) {
  const Json message =
      Json::parse(R"({"moduleName": "lumivexplayer", "command": "GetCurrentPosition"})");
  Session session(Plugin::kLumivex);
  std::vector<std::unique_ptr<Page>> pages;
  for (int64_t i = 0; i < state.range(0); ++i) {
    pages.push_back(session.CreatePage());
  }
  host::VarTable& vars = session.browser().vars();
  const OwnedVar var(&vars, vars.FromJson(message).value());
  Page& page = *pages[pages.size() / 2];
  Laps laps(&state);
  for (auto _ : state) {
    if (page.SendBlockingVar(var.get()).outcome != Page::Outcome::kAnswered) {
      Fail("a message got no reply");
    }
    laps.Next();
  }
}

}  // namespace

void RegisterMessages() {
  for (const Request& request : Requests()) {
    Register(request.command, request.message, 0);
  }
  Register(kUnknown, UnknownRequest(), kNotSupported);
  // No container and no text: only the way to the other thread and back.
  benchmark::RegisterBenchmark(kHandover,
                               [](benchmark::State& state) { Hosted(state, Plugin::kEcho, 1, 0); })
      ->UseRealTime()
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark(kAmongOthers, &AmongOthers)
      ->Arg(1)
      ->Arg(10)
      ->Arg(100)
      ->UseRealTime()
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace lumivex::bench
