// lumivex-zap ROUNDS: changes the source of one player as soon as it plays, again and again, and
// fails when the heap grows too much from the second quarter of the rounds to the last.

#include <httplib.h>
#include <malloc.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "player_harness.h"

namespace {

constexpr int kSteps = 40;
// GStreamer loses about 0.1 KiB with every medium over HTTP, and 1 KiB with every one over HLS:
// the requests of its adaptive demultiplexer. What is kept for later may differ between two looks.
constexpr long kMaxGrowthPerRound = 1 << 10;
constexpr long kMaxNoise = 512 << 10;

}  // namespace

int main(int, char** argv) {
  const int rounds = std::atoi(argv[1]);
  httplib::Server server;
  server.set_tcp_nodelay(true);
  server.set_mount_point("/", ZUNO_TEST_MEDIA);
  const std::string site =
      "http://127.0.0.1:" + std::to_string(server.bind_to_any_port("127.0.0.1")) + "/";
  std::thread([&server] { server.listen_after_bind(); }).detach();
  const std::string sources[] = {site + "clip.webm", Media("turned.mp4"), site + "hls/master.m3u8"};
  Rig rig;
  // In each quarter. Resident memory also counts what malloc and stacks happen to keep.
  long least[] = {LONG_MAX, LONG_MAX, LONG_MAX, LONG_MAX};
  for (int round = 1; round <= rounds; ++round) {
    const std::string& source = sources[round % 3];
    if (!rig.PlayFile(source) || !rig.WaitForPosition(1)) {
      std::fprintf(stderr, "lumivex-zap: round %d: %s does not play\n", round, source.c_str());
      std::_Exit(1);
    }
    if (round % (rounds / kSteps) == 0) {
      rig.player->Stop();
      rig.recorder.Clear();
      const struct mallinfo2 info = mallinfo2();
      const long heap = static_cast<long>(info.uordblks + info.hblkhd);
      long& quarter = least[(round - 1) * 4 / rounds];
      quarter = std::min(quarter, heap);
      std::printf("%5d rounds: %6ld KiB of heap in use\n", round, heap >> 10);
      std::fflush(stdout);
    }
  }
  const long growth = least[3] - least[1];
  const long allowed = kMaxNoise + kMaxGrowthPerRound * rounds / 2;
  std::printf("Grown by %ld KiB from the second quarter to the last, of %ld KiB allowed\n",
              growth >> 10, allowed >> 10);
  std::fflush(stdout);
  std::_Exit(growth <= allowed ? 0 : 1);
}
