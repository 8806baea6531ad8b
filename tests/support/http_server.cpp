#include "http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

constexpr int kSliceMsec = 20;

// A socket bound to a free port of the loopback interface.
int BindLoopback(int* port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no free loopback port");
  }
  *port = ntohs(address.sin_port);
  return fd;
}

bool SendAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = send(fd, data, size, MSG_NOSIGNAL);
    if (sent <= 0) {
      return false;
    }
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool SendAll(int fd, const std::string& text) {
  return SendAll(fd, text.data(), text.size());
}

std::string ContentType(const std::string& path) {
  const std::string extension = path.substr(std::min(path.rfind('.'), path.size()));
  if (extension == ".m3u8") {
    return "application/vnd.apple.mpegurl";
  }
  if (extension == ".ts") {
    return "video/mp2t";
  }
  return extension == ".webm" ? "video/webm" : "application/octet-stream";
}

}  // namespace

HttpServer::HttpServer(std::string folder) : HttpServer(std::move(folder), Options()) {}

HttpServer::HttpServer(std::string folder, const Options& options)
    : folder_(std::move(folder)), options_(options), listener_(BindLoopback(&port_)) {
  if (listen(listener_, 16) != 0) {
    throw std::runtime_error("cannot listen");
  }
  thread_ = std::thread([this] { Accept(); });
}

HttpServer::~HttpServer() {
  quit_ = true;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
  for (Connection& connection : connections_) {
    shutdown(connection.fd, SHUT_RDWR);
    connection.thread.join();
    close(connection.fd);
  }
}

std::string HttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

void HttpServer::Accept() {
  while (!quit_) {
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
      continue;
    }
    connections_.push_back({fd, std::thread([this, fd] { Serve(fd); })});
  }
}

void HttpServer::Serve(int fd) {
  std::string request;
  char buffer[4096];
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t size = recv(fd, buffer, sizeof(buffer), 0);
    if (size <= 0) {
      return;
    }
    request.append(buffer, static_cast<std::size_t>(size));
  }
  ++requests_;
  if (!options_.answer) {
    while (!quit_ && recv(fd, buffer, sizeof(buffer), 0) > 0) {
    }
    return;
  }
  const std::size_t path_begin = request.find(' ') + 2;
  const std::string path = request.substr(path_begin, request.find(' ', path_begin) - path_begin);
  std::ifstream file(folder_ + "/" + path, std::ios::binary);
  if (!file || path.find("..") != std::string::npos) {
    SendAll(fd, "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    shutdown(fd, SHUT_RDWR);
    return;
  }
  std::ostringstream contents;
  contents << file.rdbuf();
  std::string body = contents.str();
  std::string head = "HTTP/1.1 200 OK\r\n";
  const std::size_t total = body.size();
  std::size_t range = request.find("Range: bytes=");
  if (range == std::string::npos) {
    range = request.find("range: bytes=");
  }
  std::size_t first = 0;
  if (range != std::string::npos) {
    char* end = nullptr;
    first = std::strtoull(request.c_str() + range + 13, &end, 10);
    std::size_t last = *end == '-' ? std::strtoull(end + 1, nullptr, 10) : 0;
    last = last == 0 ? total - 1 : std::min(last, total - 1);
    if (first > last) {
      SendAll(fd, "HTTP/1.1 416 Range Not Satisfiable\r\nConnection: close\r\n\r\n");
      shutdown(fd, SHUT_RDWR);
      return;
    }
    body = body.substr(first, last - first + 1);
    head = "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(first) + "-" +
           std::to_string(last) + "/" + std::to_string(total) + "\r\n";
  }
  head += "Accept-Ranges: bytes\r\nContent-Type: " + ContentType(path) +
          "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n";
  if (SendAll(fd, head) && request.compare(0, 4, "GET ") == 0) {
    SendBody(fd, body, first);
  }
  shutdown(fd, SHUT_RDWR);
}

void HttpServer::SendBody(int fd, const std::string& body, std::size_t offset) {
  const std::size_t slice =
      options_.bytes_per_second == 0
          ? body.size()
          : std::max<std::size_t>(options_.bytes_per_second * kSliceMsec / 1000, 1);
  std::size_t sent = 0;
  while (!quit_ && sent < body.size()) {
    std::size_t size = std::min(slice, body.size() - sent);
    if (options_.stall_after > 0) {
      size = std::min(size, options_.stall_after - std::min(options_.stall_after, offset + sent));
    }
    if (size > 0 && !SendAll(fd, body.data() + sent, size)) {
      return;
    }
    sent += size;
    pollfd closed = {fd, POLLRDHUP, 0};
    if ((options_.bytes_per_second > 0 || size == 0) && poll(&closed, 1, kSliceMsec) > 0) {
      return;
    }
  }
}

int UnusedPort() {
  int port = 0;
  close(BindLoopback(&port));
  return port;
}
