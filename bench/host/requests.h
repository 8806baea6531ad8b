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

// Every command of the contract, with valid arguments. Player and tuner accept each.
const std::vector<Request>& Requests();

// A valid request with an unknown command.
const host::Json& UnknownRequest();

}  // namespace lumivex::bench

#endif  // BENCH_HOST_REQUESTS_H_
