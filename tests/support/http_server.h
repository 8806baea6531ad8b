#ifndef TESTS_SUPPORT_HTTP_SERVER_H_
#define TESTS_SUPPORT_HTTP_SERVER_H_

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class Server;
}

// Serves a folder over HTTP on the loopback interface, one request a connection, from construction
// to destruction. Any thread may call it.
class HttpServer {
 public:
  struct Options {
    std::size_t bytes_per_second = 0;  // 0: as fast as it goes
    // Nothing beyond this offset of a file is ever sent; the connection stays open.
    std::size_t stall_after = 0;  // 0: never
    bool hang_up = false;         // there the connection ends instead
    bool ranges = true;           // false: sends whole files only, whatever is asked for
    bool answer = true;           // false: takes connections and requests and says nothing
  };

  explicit HttpServer(const std::string& folder);
  HttpServer(const std::string& folder, const Options& options);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::string Url(const std::string& path) const;
  int port() const { return port_; }

 private:
  const std::unique_ptr<httplib::Server> server_;
  const int port_;
  std::atomic<bool> quit_{false};
  std::thread thread_;
};

// A loopback port that nobody listens on.
int UnusedPort();

#endif  // TESTS_SUPPORT_HTTP_SERVER_H_
