#ifndef BENCH_ENGINE_SRC_LOOPBACK_SERVER_H_
#define BENCH_ENGINE_SRC_LOOPBACK_SERVER_H_

#include <QByteArray>
#include <QTcpServer>
#include <QThread>
#include <map>
#include <string>

class QTcpSocket;

namespace lumivex::bench {

struct Document {
  QByteArray type;
  QByteArray body;
};

// Answers GET requests on the loopback interface from memory, on its own thread and with persistent
// connections: about the minimum of an HTTP service.
class LoopbackServer {
 public:
  // By path.
  explicit LoopbackServer(std::map<std::string, Document> documents);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }  // 0 on failure

 private:
  void Accept();
  void Answer(QTcpSocket* socket) const;

  const std::map<std::string, Document> documents_;
  QThread thread_;
  QTcpServer* server_;  // used and deleted on the thread
  int port_ = 0;
};

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_LOOPBACK_SERVER_H_
