#ifndef TESTS_SUPPORT_HTTP_SERVER_H_
#define TESTS_SUPPORT_HTTP_SERVER_H_

#include <atomic>
#include <cstddef>
#include <list>
#include <string>
#include <thread>

// Serves a folder over HTTP on the loopback interface, as far as a media player asks: GET and HEAD,
// one byte range, one request a connection. Serves from construction to destruction, with a thread
// a connection; any thread may call it.
class HttpServer {
 public:
  struct Options {
    std::size_t bytes_per_second = 0;  // 0: as fast as it goes
    // Nothing behind this place of a file is ever sent; the connection stays open.
    std::size_t stall_after = 0;  // 0: never
    bool answer = true;           // false: takes connections and requests and says nothing
  };

  explicit HttpServer(std::string folder);
  HttpServer(std::string folder, const Options& options);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::string Url(const std::string& path) const;
  int requests() const { return requests_; }

 private:
  struct Connection {
    int fd;
    std::thread thread;
  };

  void Accept();
  void Serve(int fd);
  void SendBody(int fd, const std::string& body, std::size_t offset);

  const std::string folder_;
  const Options options_;
  int port_ = 0;
  const int listener_;  // fills in port_
  std::atomic<bool> quit_{false};
  std::atomic<int> requests_{0};
  std::list<Connection> connections_;  // the accepting thread's, until it has ended
  std::thread thread_;
};

// A port of the loopback interface that nobody listens on.
int UnusedPort();

#endif  // TESTS_SUPPORT_HTTP_SERVER_H_
