#include "http_server.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>

namespace {

constexpr char kLoopback[] = "127.0.0.1";
constexpr int kSliceMsec = 20;
constexpr std::size_t kThreads = 32;  // a connection that is left open holds one

}  // namespace

HttpServer::HttpServer(const std::string& folder) : HttpServer(folder, Options()) {}

HttpServer::HttpServer(const std::string& folder, const Options& options)
    : server_(std::make_unique<httplib::Server>()), port_(server_->bind_to_any_port(kLoopback)) {
  const auto wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(kSliceMsec)); };
  const auto send = [this, options, wait](const std::string& body, std::size_t at,
                                          std::size_t length, httplib::DataSink& sink) {
    const std::size_t end = at + length;
    while (!quit_ && at < end && sink.is_writable()) {
      std::size_t size = end - at;
      if (options.bytes_per_second > 0) {
        size = std::min(size, options.bytes_per_second * kSliceMsec / 1000);
      }
      if (options.stall_after > 0) {
        size = std::min(size, options.stall_after - std::min(options.stall_after, at));
      }
      if (size > 0 ? !sink.write(body.data() + at, size) : options.hang_up) {
        return false;
      }
      at += size;
      if (options.bytes_per_second > 0 || size == 0) {
        wait();
      }
    }
    return at == end;
  };
  server_->set_keep_alive_max_count(1);
  server_->set_tcp_nodelay(true);
  server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_->set_mount_point("/", folder);
  server_->set_file_extension_and_mimetype_mapping("m3u8", "application/vnd.apple.mpegurl");
  server_->set_file_request_handler([this, options, wait, send](const httplib::Request& request,
                                                                httplib::Response& response) {
    while (!options.answer && !quit_) {
      wait();
    }
    if (!options.ranges) {
      const_cast<httplib::Request&>(request).ranges.clear();
    }
    const std::string type = response.get_header_value("Content-Type");
    response.headers.erase("Content-Type");
    response.set_content_provider(
        response.body.size(), type,
        [body = response.body, send](std::size_t at, std::size_t length, httplib::DataSink& sink) {
          return send(body, at, length, sink);
        });
    response.body.clear();
  });
  thread_ = std::thread([this] { server_->listen_after_bind(); });
}

HttpServer::~HttpServer() {
  quit_ = true;
  while (!server_->is_running()) {
    std::this_thread::yield();
  }
  server_->stop();
  thread_.join();
}

std::string HttpServer::Url(const std::string& path) const {
  return std::string("http://") + kLoopback + ":" + std::to_string(port_) + "/" + path;
}

int UnusedPort() {
  return HttpServer("").port();  // a server that never ran would keep it
}
