#ifndef SOAK_RANDOM_H_
#define SOAK_RANDOM_H_

#include <cstdint>

namespace lumivex::soak {

// A stream of numbers that is the same for the same seed and number of the stream. One thread.
class Random {
 public:
  Random(uint64_t seed, uint64_t stream) : state_(seed ^ (stream * 0xd1342543de82ef95)) {}

  // Below a limit that is not 0.
  unsigned int Below(unsigned int limit) {
    return static_cast<unsigned int>((Next() >> 32) % limit);
  }
  bool OneIn(unsigned int chances) { return Below(chances) == 0; }
  template <class Table>
  const auto& Pick(const Table& table) {
    return table[Below(static_cast<unsigned int>(table.size()))];
  }

 private:
  uint64_t Next() {
    uint64_t mixed = state_ += 0x9e3779b97f4a7c15;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
  }

  uint64_t state_;
};

}  // namespace lumivex::soak

#endif  // SOAK_RANDOM_H_
