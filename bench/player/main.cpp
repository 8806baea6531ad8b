// lumivex-bench-player MEDIA_FOLDER JSON_FILE [RUNS]: opens and seeks with the media player's
// stand-in, and with GstPlay as its peer. See bench/README.md.

#include <gst/gst.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <thread>

#include "players.h"

namespace lumivex::bench {
namespace {

// As make-media.sh makes them, 12 s at least.
constexpr struct {
  const char* name;
  const char* path;
  bool over_http;
} kMedia[] = {{"MP4", "bench.mp4", false},
              {"1080p MP4", "bench-1080p.mp4", false},
              {"TS", "bench.ts", false},
              {"WebM over HTTP", "clip.webm", true},
              {"HLS ladder", "hls/master.m3u8", true},
              {"MP3", "bench.mp3", false}};
constexpr int kSeeksARun = 10;
constexpr int kFarthestMsec = 11000;
constexpr int kPrecisionMsec = 300;
constexpr double kMaxTimesThePeer = 1.15;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "lumivex-bench-player: %s\n", what.c_str());
  std::_Exit(1);  // a server may be running
}

template <class Operation>
double Milliseconds(const Operation& operation, const std::string& failure) {
  const auto begin = std::chrono::steady_clock::now();
  const bool done = operation();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  if (!done) {
    Fail(failure);
  }
  return time.count();
}

// One player with one medium, and how long everything took.
struct Series {
  std::string name;
  std::unique_ptr<Player> (*make)();
  std::string uri;
  std::vector<double> open = {};
  std::vector<double> seek = {};

  // Each time with a new player, so that nothing is left over from the medium before.
  void Run() {
    const std::unique_ptr<Player> player = make();
    open.push_back(Milliseconds([&] { return player->Open(uri); }, name + " does not open"));
    player->Play();
    for (int count = 1; count <= kSeeksARun; ++count) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      const int place = count * 4567 % kFarthestMsec;
      seek.push_back(Milliseconds([&] { return player->Seek(place); }, name + " does not seek"));
      if (std::abs(player->Position() - place) > kPrecisionMsec) {
        Fail(name + " does not arrive");
      }
    }
  }
};

double Median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

// Whether the aim is reached.
bool Report(const std::vector<Series>& all, nlohmann::json* figures) {
  std::printf("Build %s, %u processors; medians, ms\n\n%-16s", LUMIVEX_BENCH_BUILD,
              std::thread::hardware_concurrency(), "");
  for (const char* what : {"open", "seek"}) {
    std::printf(" %9s %9s %6s  ", what, "GstPlay", "ratio");
  }
  bool reached = true;
  for (std::size_t i = 0; i + 1 < all.size(); i += 2) {
    const char* medium = kMedia[i / 2].name;
    std::printf("\n%-16s", medium);
    for (auto what : {&Series::open, &Series::seek}) {
      const double own = Median(all[i].*what);
      const double peer = Median(all[i + 1].*what);
      reached = reached && own / peer <= kMaxTimesThePeer;
      std::printf(" %9.2f %9.2f %6.2f%c ", own, peer, own / peer,
                  own / peer <= kMaxTimesThePeer ? ' ' : '!');
      (*figures)[medium][what == &Series::open ? "open" : "seek"] = {
          {"ms", own}, {"gstplay_ms", peer}, {"times_gstplay", own / peer}};
    }
  }
  std::printf("\n\nAim: opening and seeking take at most %.2f times as long as GstPlay: %s\n",
              kMaxTimesThePeer, reached ? "reached" : "NOT REACHED");
  return reached;
}

int Main(int argc, char** argv) {
  const int runs = argc > 3 ? std::atoi(argv[3]) : 15;
  if (argc < 3 || argc > 4 || runs < 1 || !std::filesystem::is_directory(argv[1])) {
    std::fprintf(stderr, "usage: lumivex-bench-player MEDIA_FOLDER JSON_FILE [RUNS]\n");
    return 64;
  }
  const std::string folder = std::filesystem::canonical(argv[1]);
  gst_init(nullptr, nullptr);
  httplib::Server server;
  server.set_tcp_nodelay(true);
  server.set_default_headers({{"Accept-Ranges", "bytes"}});  // as web servers do
  server.set_mount_point("/", folder);
  const std::string site =
      "http://127.0.0.1:" + std::to_string(server.bind_to_any_port("127.0.0.1"));
  std::thread serving([&server] { server.listen_after_bind(); });

  std::vector<Series> all;
  for (const auto& medium : kMedia) {
    const std::string uri = (medium.over_http ? site : "file://" + folder) + "/" + medium.path;
    all.push_back({medium.name + std::string(" with the stand-in"), MakeStandIn, uri});
    all.push_back({medium.name + std::string(" with GstPlay"), MakeGstPlay, uri});
  }
  for (Series& series : all) {
    Series(series).Run();  // loads what it needs; not counted
  }
  std::vector<std::size_t> order(all.size());
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random;
  for (int run = 0; run < runs; ++run) {
    // What else the machine does falls on both players alike.
    std::shuffle(order.begin(), order.end(), random);
    for (const std::size_t index : order) {
      all[index].Run();
    }
  }
  server.stop();
  serving.join();

  nlohmann::json figures;
  const bool reached = Report(all, &figures);
  std::ofstream file(argv[2]);
  file << nlohmann::json{{"build_type", LUMIVEX_BENCH_BUILD},
                         {"runs", runs},
                         {"media", figures},
                         {"aim", {{"times_gstplay", kMaxTimesThePeer}, {"reached", reached}}}}
              .dump(2)
       << std::endl;
  if (!file) {
    Fail("cannot write " + std::string(argv[2]));
  }
  return 0;
}

}  // namespace
}  // namespace lumivex::bench

int main(int argc, char** argv) try {
  return lumivex::bench::Main(argc, argv);
} catch (const std::exception& error) {
  lumivex::bench::Fail(error.what());
}
