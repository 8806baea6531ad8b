#ifndef BENCH_ENGINE_SRC_NAMES_H_
#define BENCH_ENGINE_SRC_NAMES_H_

// Shared by the program and the pair of plug-ins, in addition to desktop/src/channel.h.
namespace lumivex::bench {

constexpr char kEchoVariable[] = "LUMIVEX_BENCH_ECHO_PLUGIN";  // the echo plug-in's library
constexpr char kEchoMimeType[] = "application/x-lumivex-echo";

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_NAMES_H_
