#include "loopback_server.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <utility>

namespace lumivex::bench {

LoopbackServer::LoopbackServer(std::map<std::string, Document> documents)
    : documents_(std::move(documents)), server_(new QTcpServer) {
  QObject::connect(server_, &QTcpServer::newConnection, server_, [this] { Accept(); });
  if (server_->listen(QHostAddress::LocalHost)) {
    port_ = server_->serverPort();
  }
  server_->moveToThread(&thread_);
  QObject::connect(&thread_, &QThread::finished, server_, &QObject::deleteLater);
  thread_.start();
}

LoopbackServer::~LoopbackServer() {
  thread_.quit();
  thread_.wait();
}

void LoopbackServer::Accept() {
  while (QTcpSocket* socket = server_->nextPendingConnection()) {
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { Answer(socket); });
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
  }
}

// The engine sends the next request of a connection only after the last reply.
void LoopbackServer::Answer(QTcpSocket* socket) const {
  const QByteArray request = socket->peek(socket->bytesAvailable());
  if (!request.contains("\r\n\r\n")) {
    return;
  }
  socket->readAll();
  const QByteArray target = request.split('\n').first().split(' ').value(1);
  const auto found = documents_.find(target.split('?').first().toStdString());
  const bool is_known = found != documents_.end() && request.startsWith("GET ");
  const QByteArray type = is_known ? found->second.type : "text/plain";
  const QByteArray body = is_known ? found->second.body : "";
  socket->write((is_known ? "HTTP/1.1 200 OK\r\nContent-Type: "
                          : "HTTP/1.1 404 Not Found\r\nContent-Type: ") +
                type + "\r\nCache-Control: no-store\r\nContent-Length: " +
                QByteArray::number(body.size()) + "\r\n\r\n" + body);
}

}  // namespace lumivex::bench
