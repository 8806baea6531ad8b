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

// How a signal ended a process: "was killed", "crashed (signal 6, Aborted)".
std::string DescribeEnd(int signal);

// Monitors the plug-in's process: reads its log and the wrapper's reports. All on the main thread.
class PluginWatch {
 public:
  // Log lines from the priority `shown` on also go to standard error.
  PluginWatch(const SessionFolder& folder, int shown);
  ~PluginWatch();
  PluginWatch(const PluginWatch&) = delete;
  PluginWatch& operator=(const PluginWatch&) = delete;

  // For the processes started from now on. They log all priorities, because any line may be the
  // last before a crash.
  void SetEnvironment() const;

  // Called after each failure, with a sentence without a full stop.
  std::function<void(const std::string& sentence)> on_failure;

  // Records a failure and reports it to the user.
  void Fail(const std::string& sentence);
  bool failed() const { return failed_; }
  // The number of plug-in elements.
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
  const int log_;  // both ends are open here, so that it never ends
  QLocalServer server_;
  std::unique_ptr<QSocketNotifier> log_notifier_;
  std::string unfinished_;  // the log's last line, without its end
  std::deque<std::string> last_lines_;
  int instances_ = 0;
  bool failed_ = false;
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_PLUGIN_WATCH_H_
