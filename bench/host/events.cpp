// Events per second from the player library to the page: through adapter, listener, handler and
// Pepper layer, converted to JSON, to the page's callback.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>

#include "IZunoPlayer.h"
#include "benchmarks.h"
#include "element.h"
#include "laps.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "quiet_platform.h"

namespace lumivex::bench {

namespace {

using host::Json;

constexpr int kInfoMessage = 177;  // passes on its record's value
constexpr int kEventsALap = 64;

// What the threads of one run share.
std::unique_ptr<Element> element;
std::atomic<int64_t> posted;
std::atomic<int64_t> taken;

// Main thread, before the threads start and after they have ended.
void SetUp(const benchmark::State&) {
  posted = 0;
  taken = 0;
  element = std::make_unique<Element>(Plugin::kLumivex, [](const Json& event) {
    taken.fetch_add(event.size() == 4 ? 1 : 0, std::memory_order_relaxed);
  });
}

void TearDown(const benchmark::State&) {
  element.reset();
  if (posted != taken) {
    Fail(std::to_string(posted) + " events posted, but " + std::to_string(taken) + " received");
  }
}

// One thread's loop. Laps only make sense for a single thread.
template <class Post>
void Run(benchmark::State* state, const Post& post) {
  if (state->threads() == 1) {
    Laps laps(state, kEventsALap);
    for (auto _ : *state) {
      post();
      laps.Next();
    }
  } else {
    for (auto _ : *state) {
      post();
    }
  }
  posted += state->iterations();
  state->SetItemsProcessed(state->iterations());
}

void Position(benchmark::State& state) {
  const PlayerCallbacks player = LastPlayer();
  unsigned long position = 0;
  Run(&state, [&] { player.position(++position, player.position_user); });
}

void Message(benchmark::State& state) {
  const PlayerCallbacks player = LastPlayer();
  ZunoMessageParam record{};
  Run(&state, [&] {
    ++record.value;
    player.message(kInfoMessage, &record, player.message_user);
  });
}

template <class Table>
const Table* Find(const char* name) {
  return static_cast<const Table*>(host::Browser::GetInterface(name));
}

// A position event like the plug-in's, made with the browser's tables alone.
class EventMaker {
 public:
  host::OwnedVar Make(int32_t position) const {
    const PP_Var event = dictionaries_->Create();
    const PP_Var name = Text("PLAYBACK_INFO_EVENT");
    Set(event, "event", name);
    vars_->Release(name);
    Set(event, "type", host::IntVar(6));
    Set(event, "param1", host::IntVar(position));
    Set(event, "param2", host::IntVar(0));
    return {&element->vars(), event};
  }

 private:
  PP_Var Text(const char* text) const {
    return vars_->VarFromUtf8(text, static_cast<uint32_t>(std::strlen(text)));
  }
  void Set(PP_Var dictionary, const char* key, PP_Var value) const {
    const PP_Var name = Text(key);
    dictionaries_->Set(dictionary, name, value);
    vars_->Release(name);
  }

  const PPB_Var* const vars_ = Find<PPB_Var>(PPB_VAR_INTERFACE);
  const PPB_VarDictionary* const dictionaries_ =
      Find<PPB_VarDictionary>(PPB_VAR_DICTIONARY_INTERFACE);
};

// Without the plug-in: the same event made and posted.
void BareMade(benchmark::State& state) {
  const EventMaker maker;
  const auto* const messaging = Find<PPB_Messaging>(PPB_MESSAGING_INTERFACE);
  const PP_Instance page = element->page().instance();
  int32_t position = 0;
  Run(&state, [&] { messaging->PostMessage(page, maker.Make(++position).get()); });
}

// The same one event posted again and again.
void Bare(benchmark::State& state) {
  const auto* const messaging = Find<PPB_Messaging>(PPB_MESSAGING_INTERFACE);
  const PP_Instance page = element->page().instance();
  const host::OwnedVar event = EventMaker().Make(1);
  Run(&state, [&] { messaging->PostMessage(page, event.get()); });
}

}  // namespace

void RegisterEvents() {
  const auto add = [](const char* name, auto* function) {
    benchmark::RegisterBenchmark(name, function)
        ->Setup(&SetUp)
        ->Teardown(&TearDown)
        ->Threads(1)
        ->Threads(4)
        ->UseRealTime();
  };
  add(kPosition, &Position);
  add(kMessage, &Message);
  add(kBareMade, &BareMade);
  add(kBare, &Bare);
}

}  // namespace lumivex::bench
