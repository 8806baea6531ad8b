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

// Every command of the contract with arguments that are right. Player and tuner agree to each.
const std::vector<Request>& Requests();

// A request that is right in all but the command, which there is not.
const host::Json& UnknownRequest();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_REQUESTS_H_
