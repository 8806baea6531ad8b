#ifndef DESKTOP_SRC_CHANNEL_H_
#define DESKTOP_SRC_CHANNEL_H_

// The protocol between the window and the wrapper plug-in, which run in different processes.
//
// The window passes settings in environment variables, because the engine passes on nothing else.
// The wrapper reports over a local socket, in lines:
//
//   start PID       the plug-in's process has loaded the wrapper
//   problem TEXT    the plug-in cannot be loaded
//   instances N     the number of plug-in elements
//   crash SIGNAL    a signal is about to end the process
//   stop            the engine ends the process
//
// If a connection with instances closes without "crash" or "stop", the process was killed. The
// engine keeps a process without instances for ten seconds, for the next page.

namespace lumivex::desktop {

constexpr char kPluginVariable[] = "LUMIVEX_DESKTOP_PLUGIN";  // the library to load
constexpr char kDenyVariable[] = "LUMIVEX_DESKTOP_DENY";      // denied modules, comma-separated
constexpr char kWindowIdVariable[] = "LUMIVEX_DESKTOP_WINDOW_ID";  // unset: none
constexpr char kRecordVariable[] = "LUMIVEX_DESKTOP_RECORD";       // the file; unset: none
constexpr char kChannelVariable[] = "LUMIVEX_DESKTOP_CHANNEL";     // the socket; unset: no window

// The first line of a recording.
constexpr char kRecordHeader[] = "# Recorded by lumivex-desktop; lumivex-host plays it.\n";

constexpr char kStartLine[] = "start";
constexpr char kProblemLine[] = "problem";
constexpr char kInstancesLine[] = "instances";
constexpr char kCrashLine[] = "crash";
constexpr char kStopLine[] = "stop";

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_CHANNEL_H_
