#ifndef DESKTOP_SRC_CHANNEL_H_
#define DESKTOP_SRC_CHANNEL_H_

// What the window and the wrapper plug-in, which live in different processes, agree on.
//
// The window tells the wrapper through its environment, because the engine passes nothing else on.
// The wrapper tells the window over a local socket, one line each:
//
//   start PID       the plug-in's process has loaded the plug-in
//   problem TEXT    the plug-in could not be loaded
//   instances N     so many plug-in elements live now
//   crash SIGNAL    a signal is about to end the process
//   stop            the engine ends the process
//
// A connection that closes after neither "crash" nor "stop", and with instances alive, is a process
// that was killed. The engine keeps a process without instances for ten seconds, for the next page.

namespace lumivex::desktop {

constexpr char kPluginVariable[] = "LUMIVEX_DESKTOP_PLUGIN";       // the library to load
constexpr char kDenyVariable[] = "LUMIVEX_DESKTOP_DENY";           // refused, a comma between two
constexpr char kWindowIdVariable[] = "LUMIVEX_DESKTOP_WINDOW_ID";  // unset: there is none
constexpr char kRecordVariable[] = "LUMIVEX_DESKTOP_RECORD";       // the file; unset: none
constexpr char kChannelVariable[] = "LUMIVEX_DESKTOP_CHANNEL";     // the socket; unset: no window

// What the window writes into a new recording.
constexpr char kRecordHeader[] = "# Recorded by lumivex-desktop; lumivex-host plays it.\n";

constexpr char kStartLine[] = "start";
constexpr char kProblemLine[] = "problem";
constexpr char kInstancesLine[] = "instances";
constexpr char kCrashLine[] = "crash";
constexpr char kStopLine[] = "stop";

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_CHANNEL_H_
