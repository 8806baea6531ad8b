// Vars as a page sends and sees them.

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "host/vars.h"
#include "utf8.h"

namespace lumivex::host {

namespace {

bool IsWholeInt32(double number) {
  return number >= std::numeric_limits<int32_t>::min() &&
         number <= std::numeric_limits<int32_t>::max() && number == std::trunc(number) &&
         !(number == 0 && std::signbit(number));
}

PP_Var NumberVar(double number) {
  return IsWholeInt32(number) ? IntVar(static_cast<int32_t>(number)) : DoubleVar(number);
}

Json NumberJson(double number) {
  constexpr double kExact = 9007199254740992.0;  // 2^53: whole numbers up to here are exact
  const bool whole = std::abs(number) <= kExact && number == std::trunc(number);
  return whole && !(number == 0 && std::signbit(number)) ? Json(static_cast<int64_t>(number))
                                                         : Json(number);
}

bool IsDeeperThan(const Json& value, int depth) {
  return value.is_structured() &&
         (depth == 0 || std::any_of(value.begin(), value.end(), [depth](const Json& child) {
            return IsDeeperThan(child, depth - 1);
          }));
}

}  // namespace

std::optional<PP_Var> VarTable::FromJson(const Json& value) {
  return IsDeeperThan(value, kMaxDepth) ? std::nullopt : std::optional(MakeVar(value));
}

PP_Var VarTable::MakeVar(const Json& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return BoolVar(value.get<bool>());
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float:
      return NumberVar(value.get<double>());
    case Json::value_t::string:
      return FromUtf8(value.get_ref<const std::string&>());
    case Json::value_t::array: {
      Items items;
      items.reserve(value.size());
      for (const Json& item : value) {
        items.push_back(MakeVar(item));
      }
      return AddArray(std::move(items));
    }
    case Json::value_t::object: {
      Members members;
      for (const auto& [key, member] : value.items()) {
        if (IsUtf8(key)) {
          members.emplace_hint(members.end(), key, MakeVar(member));
        }
      }
      return AddDictionary(std::move(members));
    }
    default:
      return NullVar();
  }
}

std::optional<Json> VarTable::ToJson(PP_Var var) {
  Json json;
  Path path;
  return ToJson(var, &path, &json) ? std::optional<Json>(std::move(json)) : std::nullopt;
}

bool VarTable::ToJson(PP_Var var, Path* path, Json* json) {
  switch (var.type) {
    case PP_VARTYPE_UNDEFINED:
    case PP_VARTYPE_NULL:
      *json = nullptr;
      return true;
    case PP_VARTYPE_BOOL:
      *json = var.value.as_bool != PP_FALSE;
      return true;
    case PP_VARTYPE_INT32:
      *json = var.value.as_int;
      return true;
    case PP_VARTYPE_DOUBLE:
      *json = NumberJson(var.value.as_double);
      return true;
    case PP_VARTYPE_ARRAY:
    case PP_VARTYPE_DICTIONARY:
      break;
    default: {  // a string, or a type that cannot be passed
      std::optional<std::string> text = TextOf(var);
      if (text) {
        *json = std::move(*text);
      }
      return text.has_value();
    }
  }
  std::optional<Children> children = ChildrenOf(var, *path);
  if (!children) {
    return false;
  }
  path->push_back(var.value.as_id);
  *json = var.type == PP_VARTYPE_ARRAY ? Json::array() : Json::object();
  for (std::size_t i = 0; i < children->values.size(); ++i) {
    const PP_Var value = children->values[i].get();
    Json* place = nullptr;
    if (var.type == PP_VARTYPE_ARRAY) {
      place = &json->emplace_back();
    } else if (value.type != PP_VARTYPE_UNDEFINED) {
      place = &(*json)[std::move(children->keys[i])];
    }
    if (place != nullptr && !ToJson(value, path, place)) {
      return false;
    }
  }
  path->pop_back();
  return true;
}

}  // namespace lumivex::host
