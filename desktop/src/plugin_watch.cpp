#include "plugin_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <QLocalSocket>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "channel.h"
#include "log_level.h"
#include "printable.h"

namespace lumivex::desktop {
namespace {

constexpr std::size_t kMaxKeptLines = 20;
constexpr std::size_t kMaxLineLength = 1000;  // a page can log megabytes

// Gets the argument of a line that starts with this word.
bool TakeWord(std::string_view line, std::string_view word, std::string* argument) {
  if (line.substr(0, word.size()) != word) {
    return false;
  }
  *argument = line.substr(std::min(line.size(), word.size() + 1));
  return true;
}

}  // namespace

std::string DescribeEnd(int signal) {
  if (signal == SIGKILL) {
    return "was killed";
  }
  const char* name = strsignal(signal);
  return "crashed (signal " + std::to_string(signal) + ", " + (name ? name : "unknown") + ")";
}

struct PluginWatch::Connection {
  QLocalSocket* socket;
  std::string pid = "?";
  int instances = 0;
  bool explained = false;  // the process has said why it ends
};

PluginWatch::PluginWatch(const SessionFolder& folder, int shown)
    : channel_path_(folder.Path("channel")),
      log_path_(folder.Pipe("log")),
      shown_(shown),
      log_(open(log_path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
  QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] { Accept(); });
  if (log_ < 0 || !server_.listen(QString::fromStdString(channel_path_))) {
    std::fprintf(stderr, "%s: cannot monitor the plug-in's process\n",
                 program_invocation_short_name);
    return;
  }
  log_notifier_ = std::make_unique<QSocketNotifier>(log_, QSocketNotifier::Read);
  QObject::connect(log_notifier_.get(), &QSocketNotifier::activated, [this] { ReadLog(); });
}

PluginWatch::~PluginWatch() {
  server_.close();
  log_notifier_.reset();
  if (log_ >= 0) {
    close(log_);
  }
}

void PluginWatch::SetEnvironment() const {
  qputenv(kChannelVariable, channel_path_.c_str());
  qputenv("LUMIVEX_DLOG", "verbose");
  qputenv("LUMIVEX_DLOG_FILE", log_path_.c_str());
}

std::string PluginWatch::LastLines() const {
  std::string all;
  for (const std::string& line : last_lines_) {
    all += line + "\n";
  }
  return all;
}

void PluginWatch::Accept() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    auto connection = std::make_shared<Connection>();
    connection->socket = socket;
    QObject::connect(socket, &QLocalSocket::readyRead,
                     [this, connection] { ReadConnection(connection.get()); });
    QObject::connect(socket, &QLocalSocket::disconnected, &server_, [this, connection] {
      ReadConnection(connection.get());
      instances_ -= connection->instances;
      if (!connection->explained && connection->instances > 0) {
        Fail("the plug-in's process " + connection->pid + " " + DescribeEnd(SIGKILL));
      }
      connection->socket->deleteLater();
    });
    ReadConnection(connection.get());
  }
}

void PluginWatch::ReadConnection(Connection* connection) {
  while (connection->socket->canReadLine()) {
    const std::string line = Printable(connection->socket->readLine().trimmed().toStdString());
    std::string argument;
    if (shown_ <= LogPriority("info")) {
      std::fprintf(stderr, "%s: plug-in process: %s\n", program_invocation_short_name,
                   line.c_str());
    }
    if (TakeWord(line, kStartLine, &argument)) {
      connection->pid = argument;
    } else if (TakeWord(line, kInstancesLine, &argument)) {
      instances_ -= connection->instances;
      connection->instances = std::atoi(argument.c_str());
      instances_ += connection->instances;
    } else if (TakeWord(line, kStopLine, &argument)) {
      connection->explained = true;
    } else if (TakeWord(line, kProblemLine, &argument)) {
      connection->explained = true;
      Fail("cannot load the plug-in: " + argument);
    } else if (TakeWord(line, kCrashLine, &argument)) {
      connection->explained = true;
      Fail("the plug-in's process " + connection->pid + " " +
           DescribeEnd(std::atoi(argument.c_str())));
    }
  }
}

void PluginWatch::Fail(const std::string& sentence) {
  failed_ = true;
  ReadLog();
  const std::string lines = LastLines();
  std::fprintf(
      stderr, "%s: %s. %s\n%s", program_invocation_short_name, sentence.c_str(),
      lines.empty() ? "The plug-in logged nothing." : "The last lines of the plug-in's log:",
      lines.c_str());
  if (on_failure) {
    on_failure(sentence);
  }
}

void PluginWatch::ReadLog() {
  char part[4096];
  for (ssize_t length = 0; (length = read(log_, part, sizeof part)) > 0;) {
    for (const char character : std::string_view(part, static_cast<std::size_t>(length))) {
      if (character == '\n') {
        TakeLogLine(Printable(unfinished_));
        unfinished_.clear();
      } else if (unfinished_.size() < kMaxLineLength) {
        unfinished_ += character;
      }
    }
  }
}

void PluginWatch::TakeLogLine(const std::string& line) {
  // "[0] D/TAG: text": the letter is the priority.
  const std::size_t bracket = line.find("] ");
  const bool has_letter = bracket != std::string::npos && bracket + 2 < line.size();
  if (has_letter && LogPriority(line.substr(bracket + 2, 1)) >= shown_) {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  last_lines_.push_back(line);
  if (last_lines_.size() > kMaxKeptLines) {
    last_lines_.pop_front();
  }
}

}  // namespace lumivex::desktop
