#ifndef DESKTOP_SRC_ENGINE_H_
#define DESKTOP_SRC_ENGINE_H_

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plugin_watch.h"
#include "session_folder.h"

// What makes the engine load plug-ins, before, at and after its start. All on the main thread.
namespace lumivex::desktop {

constexpr char kMimeType[] = "application/x-lumivex";

// Why no window can be opened; empty if there is a screen.
std::string ScreenProblem();

// A plug-in, as registered with the engine.
struct EmbeddedPlugin {
  std::string name;       // of a link in the session's folder; unique
  std::string library;    // absolute
  std::string mime_type;  // or several, separated by semicolons
};

// The arguments for the application's constructor, with the switches in Qt's variable. Also sets
// the variables that Qt reads at its start. Must outlive the application.
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

// The environment of the wrapper in processes started from now on; see channel.h.
struct WrapperSettings {
  std::string plugin;                     // the library to load, absolute
  std::string sysroot;                    // empty: device paths are those of this machine
  std::string device_paths;               // the library that maps device paths
  std::set<std::string> denied;           // the last parts of privilege URIs
  std::optional<std::int64_t> window_id;  // none: no window
  std::string record;                     // file to record to, absolute; empty: none
};
void SetEnvironment(const WrapperSettings& settings, const SessionFolder& folder);

// Runs the event loop until no plug-in element is left, for a few seconds at most.
void WaitForPluginsToEnd(const PluginWatch& watch);

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_ENGINE_H_
