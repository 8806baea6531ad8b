#ifndef BENCH_PLAYER_PLAYERS_H_
#define BENCH_PLAYER_PLAYERS_H_

#include <memory>
#include <string>

namespace lumivex::bench {

// A player that drops picture and sound in time with the clock.
class Player {
 public:
  virtual ~Player() = default;
  // Returns when the medium is paused at its beginning, with picture and sound at the sinks.
  virtual bool Open(const std::string& uri) = 0;
  virtual bool Play() = 0;
  // While playing. Returns when picture and sound of the new place are at the sinks.
  virtual bool Seek(int msec) = 0;
  virtual int Position() = 0;
};

std::unique_ptr<Player> MakeStandIn();
std::unique_ptr<Player> MakeGstPlay();

}  // namespace lumivex::bench

#endif  // BENCH_PLAYER_PLAYERS_H_
