#include "requests.h"

#include "contract.h"

namespace lumivex::bench {

const std::vector<Request>& Requests() {
  static const std::vector<Request> requests = [] {
    std::vector<Request> all;
    for (const test::Command& command : test::Commands()) {
      if (all.empty() || all.back().command != command.name) {
        all.push_back({command.name, command.message});
      }
    }
    return all;
  }();
  return requests;
}

const host::Json& UnknownRequest() {
  static const host::Json message = {{"moduleName", test::kPlayer}, {"command", "GetPlayerColour"}};
  return message;
}

}  // namespace lumivex::bench
