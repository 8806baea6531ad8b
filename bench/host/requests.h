#ifndef BENCH_HOST_REQUESTS_H_
#define BENCH_HOST_REQUESTS_H_

#include <string>
#include <vector>

#include "host/json.h"

namespace lumivex::bench {

struct Request {
  std::string command;
  host::Json message;
};

// Every command of the plug-in with arguments that are right. Player and tuner agree to each.
const std::vector<Request>& Requests();

// A request that is right in all but the command, which there is not.
const host::Json& UnknownRequest();

// Empty when Requests() has the commands of the page's reference, which the tests hold against the
// plug-in's own table; otherwise what differs.
std::string CompareWithReference();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_REQUESTS_H_
