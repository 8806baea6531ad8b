#ifndef HOST_JSON_H_
#define HOST_JSON_H_

#include <algorithm>
#include <nlohmann/json.hpp>

namespace lumivex::host {

// An object as a page has it: members keep the order in which they were added, and two objects are
// equal when they have the same members in whatever order.
template <class Key, class Value, class IgnoredLess, class Allocator>
struct PageObject : nlohmann::ordered_map<Key, Value, IgnoredLess, Allocator> {
  using nlohmann::ordered_map<Key, Value, IgnoredLess, Allocator>::ordered_map;
  // What the base's constructors do not bring along.
  PageObject() = default;

  friend bool operator==(const PageObject& a, const PageObject& b) {
    return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&b](const auto& member) {
             const auto found = b.find(member.first);
             return found != b.end() && found->second == member.second;
           });
  }
};

// The page's side of every message. nlohmann::json converts to it and back.
using Json = nlohmann::basic_json<PageObject>;

}  // namespace lumivex::host

#endif  // HOST_JSON_H_
