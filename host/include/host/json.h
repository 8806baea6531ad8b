#ifndef HOST_JSON_H_
#define HOST_JSON_H_

#include <nlohmann/json.hpp>

namespace lumivex::host {

// A message as the page sees it. Members are sorted by name, as the engine sorts those of a
// plug-in's messages.
using Json = nlohmann::json;

}  // namespace lumivex::host

#endif  // HOST_JSON_H_
