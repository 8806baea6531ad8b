// lumivex-zap ROUNDS: changes the source of one player as soon as it plays, again and again, and
// fails when the process grows in the second half of the rounds by more than 1 MiB.

#include <httplib.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "player_harness.h"

namespace {

constexpr int kSteps = 40;
constexpr long kMaxGrowth = 1 << 20;

long ResidentBytes() {
  long pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

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
  // The least at the looks in each quarter: what malloc and the threads' stacks happen to keep at
  // one look is several times what is allowed.
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
      malloc_trim(0);  // what is free counts for nothing
      const long resident = ResidentBytes();
      long& quarter = least[(round - 1) * 4 / rounds];
      quarter = std::min(quarter, resident);
      std::printf("%5d rounds: %6ld KiB resident, %6zu KiB of heap in use\n", round, resident >> 10,
                  mallinfo2().uordblks >> 10);
      std::fflush(stdout);
    }
  }
  const long growth = least[3] - least[1];
  std::printf("Grown by %ld KiB from the second quarter to the last, of %ld KiB allowed\n",
              growth >> 10, kMaxGrowth >> 10);
  std::fflush(stdout);
  std::_Exit(growth <= kMaxGrowth ? 0 : 1);
}
