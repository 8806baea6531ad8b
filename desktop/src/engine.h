#ifndef DESKTOP_SRC_ENGINE_H_
#define DESKTOP_SRC_ENGINE_H_

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plugin_watch.h"
#include "session_folder.h"

// What a program has to do before, at and after the start of the engine so that the engine loads
// plug-ins. All on the main thread.
namespace lumivex::desktop {

constexpr char kMimeType[] = "application/x-lumivex";

// Why no window can be opened; empty when there is a screen.
std::string ScreenProblem();

// A plug-in as the engine is told of it.
struct EmbeddedPlugin {
  std::string name;       // of a link in the session's folder; each plug-in has another
  std::string library;    // absolute; what the engine loads
  std::string mime_type;  // several: with semicolons between
};

// The arguments to construct the application with. Takes the switches in Qt's variable along, and
// sets the variables that Qt reads at its start. To outlive the application.
class EngineArguments {
 public:
  EngineArguments(const char* program,
                  const std::vector<EmbeddedPlugin>& plugins,
                  const SessionFolder& folder);
  EngineArguments(const EngineArguments&) = delete;
  EngineArguments& operator=(const EngineArguments&) = delete;

  int& count() { return count_; }
  char** values() { return pointers_.data(); }

 private:
  std::vector<std::string> arguments_;
  std::vector<char*> pointers_;
  int count_ = 0;
};

// What the wrapper finds in its environment; see channel.h. For the processes started from now on.
struct WrapperSettings {
  std::string plugin;                     // the library to load, absolute
  std::string sysroot;                    // empty: device paths are looked up on this machine
  std::string device_paths;               // the library that looks them up
  std::set<std::string> denied;           // the last parts of privilege URIs
  std::optional<std::int64_t> window_id;  // none: the plug-in has no window
  std::string record;                     // the file to record to, absolute; empty: none
};
void SetEnvironment(const WrapperSettings& settings, const SessionFolder& folder);

// Runs the event loop until no plug-in element lives any more, for some seconds at most.
void WaitForPluginsToEnd(const PluginWatch& watch);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_ENGINE_H_
