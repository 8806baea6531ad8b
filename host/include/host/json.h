#ifndef HOST_JSON_H_
#define HOST_JSON_H_

#include <nlohmann/json.hpp>

namespace lumivex::host {

// The page's side of every message. Members are sorted by name, as those of what a plug-in sends a
// page are in the engine.
using Json = nlohmann::json;

}  // namespace lumivex::host

#endif  // HOST_JSON_H_
