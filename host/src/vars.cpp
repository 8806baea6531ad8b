#include "host/vars.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <type_traits>
#include <utility>

#include "utf8.h"

namespace lumivex::host {

namespace {

constexpr const char* kMessage = "message";
constexpr uint32_t kMaxArrayLength = 1U << 24;

bool IsCounted(PP_Var var) {
  return var.type >= PP_VARTYPE_STRING;
}

uint32_t GenerationOf(PP_Var var) {
  return static_cast<uint32_t>(static_cast<uint64_t>(var.value.as_id) >> 32);
}

uint32_t IndexOf(PP_Var var) {
  return static_cast<uint32_t>(var.value.as_id);
}

const char* TypeName(int type) {
  static constexpr std::array<const char*, 11> kNames = {
      "undefined", "null",  "bool",       "int32",        "double",  "string",
      "object",    "array", "dictionary", "array buffer", "resource"};
  const auto index = static_cast<std::size_t>(type);
  return index < kNames.size() ? kNames[index] : "value of unknown type";
}

template <class Value>
constexpr PP_VarType kTypeOf = std::is_same_v<Value, std::string>           ? PP_VARTYPE_STRING
                               : std::is_same_v<Value, std::vector<PP_Var>> ? PP_VARTYPE_ARRAY
                                                                            : PP_VARTYPE_DICTIONARY;

template <class... Values>
PP_VarType TypeOf(const std::variant<Values...>& value) {
  return std::array{kTypeOf<Values>...}[value.index()];
}

}  // namespace

VarTable::Slot* VarTable::Find(PP_Var var) {
  const uint32_t index = IndexOf(var);
  Slot* const slot = index < slots_.size() ? &slots_[index] : nullptr;
  return slot != nullptr && slot->references > 0 && slot->generation == GenerationOf(var) &&
                 TypeOf(slot->value) == var.type
             ? slot
             : nullptr;
}

template <class Value>
Value* VarTable::Use(const char* operation, PP_Var var) {
  if (var.type != kTypeOf<Value>) {
    RecordMisuse(operation, var,
                 std::string(kTypeOf<Value> == PP_VARTYPE_ARRAY ? "is not an " : "is not a ") +
                     TypeName(kTypeOf<Value>));
    return nullptr;
  }
  Slot* const slot = Find(var);
  if (slot == nullptr) {
    RecordMisuse(operation, var, "does not exist");
    return nullptr;
  }
  return &std::get<Value>(slot->value);
}

// Adds a reference, if the value is counted.
bool VarTable::Take(const char* operation, PP_Var var) {
  if (!IsCounted(var)) {
    return true;
  }
  Slot* const slot = Find(var);
  if (slot == nullptr) {
    RecordMisuse(operation, var, "does not exist");
    return false;
  }
  ++slot->references;
  return true;
}

// Removes a reference.
void VarTable::Drop(PP_Var var) {
  // The contents of freed containers; recursion could go too deep.
  Items pending;
  for (;;) {
    Slot* const slot = IsCounted(var) ? Find(var) : nullptr;
    if (slot != nullptr && --slot->references == 0) {
      if (const auto* const members = std::get_if<Members>(&slot->value)) {
        for (const auto& [key, value] : *members) {
          pending.push_back(value);
        }
      } else if (const auto* const items = std::get_if<Items>(&slot->value)) {
        pending.insert(pending.end(), items->begin(), items->end());
      }
      slot->value = std::string();
      ++slot->generation;
      free_.push_back(IndexOf(var));
    } else if (slot == nullptr && IsCounted(var)) {
      RecordMisuse("Release", var, "does not exist");
    }
    if (pending.empty()) {
      return;
    }
    var = pending.back();
    pending.pop_back();
  }
}

template <class Value>
PP_Var VarTable::Insert(Value value) {
  auto index = static_cast<uint32_t>(slots_.size());
  if (free_.empty()) {
    slots_.emplace_back();
  } else {
    index = free_.back();
    free_.pop_back();
  }
  Slot& slot = slots_[index];
  slot.value = std::move(value);
  slot.references = 1;
  PP_Var var = UndefinedVar();
  var.type = kTypeOf<Value>;
  var.value.as_id = static_cast<int64_t>(uint64_t{slot.generation} << 32 | index);
  return var;
}

void VarTable::RecordMisuse(const char* operation, PP_Var var, const std::string& problem) {
  std::string text = std::string(operation) + ": " + TypeName(var.type);
  bool released = false;
  if (IsCounted(var)) {
    char id[32];
    std::snprintf(id, sizeof id, " %#" PRIx64, static_cast<uint64_t>(var.value.as_id));
    text += id;
    released = GenerationOf(var) > 0 && IndexOf(var) < slots_.size() &&
               GenerationOf(var) < slots_[IndexOf(var)].generation;
  }
  defects_->Record(text + " " + (released ? "was already released" : problem));
}

void VarTable::AddRef(PP_Var var) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Take("AddRef", var);
}

void VarTable::Release(PP_Var var) noexcept {
  if (!IsCounted(var)) {
    return;
  }
  try {
    const std::lock_guard<std::mutex> lock(mutex_);
    Drop(var);
  } catch (...) {
    std::terminate();  // no memory
  }
}

PP_Var VarTable::FromUtf8(std::string_view text) {
  if (!IsUtf8(text)) {
    return NullVar();
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  return Insert(std::string(text));
}

const char* VarTable::ToUtf8(PP_Var var, uint32_t* length) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const text = Use<std::string>("VarToUtf8", var);
  if (length != nullptr) {
    *length = text == nullptr ? 0 : static_cast<uint32_t>(text->size());
  }
  return text == nullptr ? nullptr : text->data();
}

std::optional<std::string> VarTable::TextOf(PP_Var string) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const text = Use<std::string>(kMessage, string);
  return text == nullptr ? std::nullopt : std::optional(*text);
}

PP_Var VarTable::AddDictionary(Members members) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return Insert(std::move(members));
}

PP_Var VarTable::CreateDictionary() {
  return AddDictionary({});
}

PP_Var VarTable::DictionaryGet(PP_Var dictionary, PP_Var key) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const members = Use<Members>("VarDictionary.Get", dictionary);
  const auto* const name = Use<std::string>("VarDictionary.Get, key", key);
  if (members == nullptr || name == nullptr) {
    return UndefinedVar();
  }
  const auto member = members->find(*name);
  return member != members->end() && Take("VarDictionary.Get", member->second) ? member->second
                                                                               : UndefinedVar();
}

bool VarTable::DictionarySet(PP_Var dictionary, PP_Var key, PP_Var value) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto* const members = Use<Members>("VarDictionary.Set", dictionary);
  const auto* const name = Use<std::string>("VarDictionary.Set, key", key);
  if (members == nullptr || name == nullptr || !Take("VarDictionary.Set", value)) {
    return false;
  }
  const auto [member, added] = members->try_emplace(*name, value);
  if (!added) {
    Drop(std::exchange(member->second, value));
  }
  return true;
}

void VarTable::DictionaryDelete(PP_Var dictionary, PP_Var key) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto* const members = Use<Members>("VarDictionary.Delete", dictionary);
  const auto* const name = Use<std::string>("VarDictionary.Delete, key", key);
  if (members == nullptr || name == nullptr) {
    return;
  }
  if (const auto member = members->find(*name); member != members->end()) {
    const PP_Var removed = member->second;
    members->erase(member);
    Drop(removed);
  }
}

bool VarTable::DictionaryHasKey(PP_Var dictionary, PP_Var key) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const members = Use<Members>("VarDictionary.HasKey", dictionary);
  const auto* const name = Use<std::string>("VarDictionary.HasKey, key", key);
  return members != nullptr && name != nullptr && members->count(*name) > 0;
}

PP_Var VarTable::DictionaryKeys(PP_Var dictionary) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Items keys;
  if (const auto* const members = Use<Members>("VarDictionary.GetKeys", dictionary)) {
    for (const auto& [key, value] : *members) {
      keys.push_back(Insert(key));
    }
  }
  return Insert(std::move(keys));
}

PP_Var VarTable::AddArray(Items items) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return Insert(std::move(items));
}

PP_Var VarTable::CreateArray() {
  return AddArray({});
}

PP_Var VarTable::ArrayGet(PP_Var array, uint32_t index) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const items = Use<Items>("VarArray.Get", array);
  return items != nullptr && index < items->size() && Take("VarArray.Get", (*items)[index])
             ? (*items)[index]
             : UndefinedVar();
}

bool VarTable::ArraySet(PP_Var array, uint32_t index, PP_Var value) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto* const items = Use<Items>("VarArray.Set", array);
  if (items == nullptr) {
    return false;
  }
  if (index >= kMaxArrayLength) {
    RecordMisuse("VarArray.Set", array, "would become too long");
    return false;
  }
  if (!Take("VarArray.Set", value)) {
    return false;
  }
  if (index >= items->size()) {
    items->resize(index + 1, UndefinedVar());
  }
  Drop(std::exchange((*items)[index], value));
  return true;
}

uint32_t VarTable::ArrayLength(PP_Var array) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto* const items = Use<Items>("VarArray.GetLength", array);
  return items == nullptr ? 0 : static_cast<uint32_t>(items->size());
}

bool VarTable::ArraySetLength(PP_Var array, uint32_t length) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto* const items = Use<Items>("VarArray.SetLength", array);
  if (items == nullptr) {
    return false;
  }
  if (length > kMaxArrayLength) {
    RecordMisuse("VarArray.SetLength", array, "would become too long");
    return false;
  }
  Items removed;
  if (length < items->size()) {
    removed.assign(items->begin() + length, items->end());
  }
  items->resize(length, UndefinedVar());
  std::for_each(removed.begin(), removed.end(), [this](PP_Var item) { Drop(item); });
  return true;
}

// The contents of a container that is about to be passed.
std::optional<VarTable::Children> VarTable::ChildrenOf(PP_Var container, const Path& path) {
  Children children;
  const auto add = [this, &children](PP_Var child) {
    children.values.emplace_back(this, Take(kMessage, child) ? child : UndefinedVar());
  };
  const std::lock_guard<std::mutex> lock(mutex_);
  if (path.size() == kMaxDepth ||
      std::find(path.begin(), path.end(), container.value.as_id) != path.end()) {
    RecordMisuse(kMessage, container,
                 path.size() == kMaxDepth ? "is nested too deep" : "contains itself");
    return std::nullopt;
  }
  if (container.type == PP_VARTYPE_DICTIONARY) {
    const auto* const members = Use<Members>(kMessage, container);
    if (members == nullptr) {
      return std::nullopt;
    }
    for (const auto& [key, value] : *members) {
      children.keys.push_back(key);
      add(value);
    }
  } else {
    const auto* const items = Use<Items>(kMessage, container);
    if (items == nullptr) {
      return std::nullopt;
    }
    std::for_each(items->begin(), items->end(), add);
  }
  return children;
}

std::optional<PP_Var> VarTable::DeepCopy(PP_Var var) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!Take(kMessage, var)) {
      return std::nullopt;
    }
  }
  OwnedVar copy(this, var);
  Path path;
  return Copy(&copy, &path) ? std::optional(copy.Detach()) : std::nullopt;
}

// Replaces a container by a copy. Other vars are immutable and can be shared.
bool VarTable::Copy(OwnedVar* var, Path* path) {
  const PP_Var original = var->get();
  if (original.type != PP_VARTYPE_DICTIONARY && original.type != PP_VARTYPE_ARRAY) {
    return true;
  }
  std::optional<Children> children = ChildrenOf(original, *path);
  if (!children) {
    return false;
  }
  path->push_back(original.value.as_id);
  if (!std::all_of(children->values.begin(), children->values.end(),
                   [this, path](OwnedVar& child) { return Copy(&child, path); })) {
    return false;
  }
  path->pop_back();
  Members members;
  Items items;
  for (std::size_t i = 0; i < children->values.size(); ++i) {
    const PP_Var child = children->values[i].Detach();
    if (original.type == PP_VARTYPE_ARRAY) {
      items.push_back(child);
    } else {
      members.emplace_hint(members.end(), std::move(children->keys[i]), child);
    }
  }
  *var = OwnedVar(this, original.type == PP_VARTYPE_ARRAY ? AddArray(std::move(items))
                                                          : AddDictionary(std::move(members)));
  return true;
}

int64_t VarTable::Live() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::count_if(slots_.begin(), slots_.end(),
                       [](const Slot& slot) { return slot.references > 0; });
}

std::vector<std::string> VarTable::DescribeLive() const {
  constexpr std::size_t kMaxLines = 20;
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> lines;
  for (auto slot = slots_.begin(); slot != slots_.end() && lines.size() < kMaxLines; ++slot) {
    if (slot->references == 0) {
      continue;
    }
    std::string line = TypeName(TypeOf(slot->value));
    if (const auto* const text = std::get_if<std::string>(&slot->value)) {
      line += " \"" + text->substr(0, 60) + "\"";
    } else if (const auto* const items = std::get_if<Items>(&slot->value)) {
      line += " of " + std::to_string(items->size());
    } else {
      const auto& members = std::get<Members>(slot->value);
      line += " of " + std::to_string(members.size());
      for (const auto& [key, value] : members) {
        line += " \"" + key.substr(0, 20) + "\"";
      }
    }
    lines.push_back(line + ", references: " + std::to_string(slot->references));
  }
  return lines;
}

OwnedVar::OwnedVar(OwnedVar&& other) noexcept : vars_(other.vars_), var_(other.Detach()) {}

OwnedVar& OwnedVar::operator=(OwnedVar&& other) noexcept {
  if (this != &other) {
    vars_->Release(var_);
    vars_ = other.vars_;
    var_ = other.Detach();
  }
  return *this;
}

PP_Var OwnedVar::Detach() {
  return std::exchange(var_, UndefinedVar());
}

PP_Var UndefinedVar() {
  PP_Var var;
  var.type = PP_VARTYPE_UNDEFINED;
  var.padding = 0;
  var.value.as_id = 0;
  return var;
}

PP_Var NullVar() {
  PP_Var var = UndefinedVar();
  var.type = PP_VARTYPE_NULL;
  return var;
}

PP_Var BoolVar(bool value) {
  PP_Var var = UndefinedVar();
  var.type = PP_VARTYPE_BOOL;
  var.value.as_bool = value ? PP_TRUE : PP_FALSE;
  return var;
}

PP_Var IntVar(int32_t value) {
  PP_Var var = UndefinedVar();
  var.type = PP_VARTYPE_INT32;
  var.value.as_int = value;
  return var;
}

PP_Var DoubleVar(double value) {
  PP_Var var = UndefinedVar();
  var.type = PP_VARTYPE_DOUBLE;
  var.value.as_double = value;
  return var;
}

}  // namespace lumivex::host
