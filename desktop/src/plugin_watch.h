#ifndef DESKTOP_SRC_PLUGIN_WATCH_H_
#define DESKTOP_SRC_PLUGIN_WATCH_H_

#include <QLocalServer>
#include <QSocketNotifier>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "session_folder.h"

namespace lumivex::desktop {

// How a signal has ended a process: "was killed", "crashed (signal 6, Aborted)".
std::string EndWords(int signal);

// Knows how the plug-in's process fares: takes its log and what the wrapper tells. All on the main
// thread.
class PluginWatch {
 public:
  // `shown` is the lowest priority of log lines that go to standard error as well.
  PluginWatch(const SessionFolder& folder, int shown);
  ~PluginWatch();
  PluginWatch(const PluginWatch&) = delete;
  PluginWatch& operator=(const PluginWatch&) = delete;

  // Tells the processes that are started from now on where to report. Log lines of every priority
  // are wanted: nobody knows beforehand which are the last ones.
  void SetEnvironment() const;

  // Called with a sentence without a full stop after each failure.
  std::function<void(const std::string& sentence)> on_failure;

  // Notes that the plug-in could not be loaded or a process died, and tells the user.
  void Fail(const std::string& sentence);
  bool failed() const { return failed_; }
  // Plug-in elements that live at the moment.
  int instances() const { return instances_; }
  // The last lines of the log, oldest first, each with its line end.
  std::string LastLines() const;

 private:
  struct Connection;

  void Accept();
  void ReadConnection(Connection* connection);
  void ReadLog();
  void TakeLogLine(const std::string& line);

  const std::string channel_path_;
  const std::string log_path_;
  const int shown_;
  const int log_;  // both ends are ours, so that it never ends
  QLocalServer server_;
  std::unique_ptr<QSocketNotifier> log_notifier_;
  std::string unfinished_;  // the log's last line, without its end
  std::deque<std::string> last_lines_;
  int instances_ = 0;
  bool failed_ = false;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_PLUGIN_WATCH_H_
