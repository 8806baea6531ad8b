#ifndef BENCH_HOST_BENCHMARKS_H_
#define BENCH_HOST_BENCHMARKS_H_

#include "host/json.h"

namespace lumivex::bench {

// Names of the benchmarks. A command follows the first four.
inline constexpr char kHosted[] = "message/";
inline constexpr char kHostedEcho[] = "message-echo/";
inline constexpr char kDirect[] = "handler/";
inline constexpr char kDirectEcho[] = "handler-echo/";
inline constexpr char kUnknown[] = "unknown";
inline constexpr char kHandover[] = "message-echo-number";
inline constexpr char kAmongOthers[] = "message-among-elements";

inline constexpr char kPosition[] = "events/position";
inline constexpr char kMessage[] = "events/message";
inline constexpr char kBareMade[] = "events/bare-made";
inline constexpr char kBare[] = "events/bare";

inline constexpr char kLoad[] = "load";
inline constexpr char kLoadEcho[] = "load-echo";
inline constexpr char kUnload[] = "unload";
inline constexpr char kCreate[] = "create";
inline constexpr char kCreateEcho[] = "create-echo";
inline constexpr char kDestroy[] = "destroy";
inline constexpr char kDestroyEcho[] = "destroy-echo";
inline constexpr char kHeap[] = "heap";
inline constexpr char kHeapEcho[] = "heap-echo";
inline constexpr char kBytes[] = "bytes";  // counter of the two

// Counter: seconds per iteration of the median lap.
inline constexpr char kTypical[] = "typical";

void RegisterMessages();
void RegisterEvents();
void RegisterLife();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_BENCHMARKS_H_
