#include "check.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

#include "IZunoPlayer.h"
#include "host/browser.h"
#include "printable.h"

namespace lumivex::host {
namespace {

using std::chrono::milliseconds;

constexpr unsigned int kLayerTimeout = 10;  // seconds
constexpr milliseconds kCallbackTimeout(5000);
constexpr char kPlayerLibrary[] = "/usr/lib/libzuno-player.so";

bool all_good = true;
bool at_end = false;
const char* current_layer = "";

[[noreturn]] void EndCheck(const char* verdict) {
  const auto print = [](const char* text) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, text, std::strlen(text));
  };
  print("FAILED  ");
  print(current_layer);
  print(verdict);
  _exit(1);
}

void OnSignal(int signal) {
  EndCheck(signal == SIGALRM
               ? ": did not return within 10 s; on the device it blocks the page as long\n"
               : ": crashed; on the device it would end the runtime\n");
}

// Before a layer's code is called.
void Begin(const char* layer) {
  current_layer = layer;
  alarm(kLayerTimeout);
}

// found is what was found, meaning what a page notices if that is not good. Returns good.
bool Report(bool good, const std::string& found, const std::string& meaning) {
  all_good = all_good && good;
  const std::string line = std::string(good ? "ok      " : "FAILED  ") + current_layer + ": " +
                           found + (good ? "" : "; " + meaning);
  std::printf("%s\n", Printable(line).c_str());
  std::fflush(stdout);
  return good;
}

std::string LoaderError() {
  const char* error = dlerror();
  return error == nullptr ? "the loader gives no reason" : error;
}

template <typename Function>
Function Find(void* library, const char* name) {
  return reinterpret_cast<Function>(dlsym(library, name));
}

// Of the log library that the plug-in is linked with.
void CheckLog(void* plugin) {
  Begin("log");
  const auto print = Find<int (*)(int, int, const char*, const char*, ...)>(plugin, "__dlog_print");
  const int answer = print == nullptr ? -1 : print(0, 3, "LUMIVEX_PPLUGIN", "%s", "bring-up check");
  Report(answer >= 0,
         print == nullptr ? LoaderError() : "__dlog_print returns " + std::to_string(answer),
         "the plug-in works, but its log lines are lost");
}

std::atomic<int> messages{0};
std::atomic<int> last_message{0};
std::atomic<int> positions{0};

int OnMessage(int id, void* /*record*/, void* /*data*/) {
  last_message = id;
  ++messages;
  return 0;
}

void OnPosition(unsigned long /*position*/, void* /*data*/) {
  ++positions;
}

bool Arrives(const std::atomic<int>& count) {
  const auto deadline = std::chrono::steady_clock::now() + kCallbackTimeout;
  while (count == 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(20));
  }
  return count > 0;
}

void CheckPlayer(const std::string& clip) {
  const char* const meaning = "every player command returns false, -1, 0, FAILED or \"\"";
  Begin("player library");
  void* library = dlopen(kPlayerLibrary, RTLD_NOW);
  std::string found = library == nullptr ? LoaderError() : kPlayerLibrary;
  if (library == nullptr && (library = dlopen(kPlayerLibrary, RTLD_LAZY)) != nullptr) {
    // As the plug-in opens it.
    Report(false, found, "the runtime will end where the player calls the missing function");
  } else if (!Report(library != nullptr, found, meaning)) {
    return;
  }
  Begin("player entry");
  const auto create = Find<ZunoPlayerCreate>(library, "Create");
  if (create == nullptr) {
    Report(false, LoaderError(), meaning);
    return;
  }
  Report(true, "Create", "");
  Begin("player object");
  std::unique_ptr<IZunoPlayer> player(create());
  if (!Report(player != nullptr, player == nullptr ? "Create returns null" : "created", meaning)) {
    return;
  }
  Begin("player table");
  int position = 0;
  int tracks = 0;
  const bool has_position = player->GetCurrentPosition(&position);
  const bool has_tracks = player->GetTotalNumOfStreamID(1, &tracks);
  Report(!has_position && !has_tracks,
         has_position || has_tracks ? "an empty player reports a position or tracks"
                                    : "an empty player refuses position and tracks",
         "the library's table may differ from the one that the plug-in calls");
  Begin("player callbacks");
  const bool takes_message = player->SetMessageCallback(OnMessage, nullptr);
  const bool takes_position = player->SetCurrentPositionCallback(OnPosition, nullptr);
  if (!Report(takes_message && takes_position,
              std::string("messages ") + (takes_message ? "accepted" : "refused") + ", positions " +
                  (takes_position ? "accepted" : "refused"),
              "the page gets no events from the player")) {
    // None will come.
  } else if (clip == "-") {
    Begin("player messages");
    player->InitPlayer("/nonexistent/clip.mp4", 0);
    const bool came = Arrives(messages);
    Report(came,
           came ? "message " + std::to_string(last_message) + " for a source that does not exist"
                : "none for a source that does not exist",
           "run --check with a clip to see whether any arrive");
  } else {
    Begin("playback");
    const bool opened = player->InitPlayer(clip.c_str(), 0);
    const bool played = opened && player->Play(0);
    const bool came = played && Arrives(positions);
    Report(came,
           !opened   ? "the player cannot open " + clip
           : !played ? "the player does not start"
           : !came   ? "no position reported"
                     : "positions reported",
           "see the log of the player library");
    player->Stop();
  }
  Begin("end of the player");
  player.reset();
  Report(true, "deleted", "");
}

void CheckPlugin(const CommandLine& line) {
  const char* const meaning = "the page's element stays empty";
  Begin("plug-in");
  void* const library = dlopen(line.plugin.c_str(), RTLD_NOW);
  if (!Report(library != nullptr, library == nullptr ? LoaderError() : line.plugin, meaning)) {
    return;
  }
  CheckLog(library);
  Begin("Pepper entry points");
  for (const char* name : {"PPP_InitializeModule", "PPP_GetInterface", "PPP_ShutdownModule"}) {
    if (dlsym(library, name) == nullptr) {
      Report(false, LoaderError(),
             "libpepperplugin.so is not the platform's; " + std::string(meaning));
      return;
    }
  }
  Report(true, "found", "");

  Begin("element");
  Browser::Options options;
  options.extension_answers.window_id = line.window_id;
  Browser browser(options);
  std::string error;
  std::unique_ptr<Page> page;
  if (browser.Load(line.plugin, &error)) {
    page = browser.CreatePage({}, &error);
  }
  if (!Report(page != nullptr && page->HasHandler(),
              page == nullptr      ? error
              : page->HasHandler() ? "created, with a message handler"
                                   : "no message handler registered",
              meaning)) {
    return;
  }
  Begin("private interface");
  Report(browser.GenericSyncCalls().size() == 3,
         std::to_string(browser.GenericSyncCalls().size()) +
             " of 3 calls (two privileges, window) reached this program's own",
         "the plug-in finds no PPB_ExtensionSystem_Quorvel;0.1 and no privilege");
  const auto code = [&page](const char* command) {
    const Page::Answer answer =
        page->SendBlocking({{"moduleName", "lumivexrfmanager"}, {"command", command}});
    const auto found = answer.value.find("code");
    return found == answer.value.end() ? -1 : found->get<int>();
  };
  Begin("messages");
  const int version = code("GetRFManagerVersion");
  Report(version == 0, "GetRFManagerVersion returns code " + std::to_string(version),
         "libpepperplugin.so does not deliver messages to the plug-in");
  Begin("tuner");
  // Without its argument the command obtains the tuner but does not use it.
  const int tuner = code("SetChannelType");
  Report(tuner == 26,
         tuner == 26 ? "instance found" : "no instance (code " + std::to_string(tuner) + ")",
         "every tuner command fails with InvalidStateError");
  Begin("end of the element");
  page.reset();
  browser.Unload(&error);
  const std::vector<std::string> defects = browser.Defects();
  Report(defects.empty(), defects.empty() ? "nothing leaked" : defects.front(), "it leaks");
}

}  // namespace

int Check(const CommandLine& line) {
  for (const int signal : {SIGALRM, SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
    std::signal(signal, OnSignal);
  }
  std::set_terminate(
      [] { EndCheck(": threw an exception; on the device it would end the runtime\n"); });
  std::atexit([] {
    if (!at_end) {
      EndCheck(": ended the process\n");
    }
  });
  try {
    CheckPlayer(line.script);
    CheckPlugin(line);
  } catch (...) {
    std::terminate();
  }
  Begin("end of the process");
  at_end = true;
  return all_good ? 0 : 1;
}

}  // namespace lumivex::host
