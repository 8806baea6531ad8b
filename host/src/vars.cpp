#include "host/vars.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <utility>

#include "utf8.h"

namespace lumivex::host {

namespace {

// A slot's state is one word, so that a reference is taken or dropped by one atomic step:
// 28 bits of generation, 4 bits of type, 32 bits of references. The generation is part of a var's
// id and changes when the var dies, which is how the use of a dead var is recognised.
struct State {
  uint32_t generation;
  PP_VarType type;
  uint32_t references;
};

constexpr uint32_t kGenerations = 1U << 28;

constexpr uint64_t Pack(State state) {
  return (static_cast<uint64_t>(state.generation) << 36) |
         (static_cast<uint64_t>(state.type) << 32) | state.references;
}

constexpr State Unpack(uint64_t word) {
  return {static_cast<uint32_t>(word >> 36), static_cast<PP_VarType>((word >> 32) & 0xf),
          static_cast<uint32_t>(word)};
}

// The head of the list of free slots after one more change.
constexpr uint64_t NextHead(uint64_t head, uint32_t first) {
  return (((head >> 32) + 1) << 32) | first;
}

uint32_t GenerationOf(PP_Var var) {
  return static_cast<uint32_t>(static_cast<uint64_t>(var.value.as_id) >> 32);
}

uint32_t IndexOf(PP_Var var) {
  return static_cast<uint32_t>(var.value.as_id);
}

PP_Var CountedVar(PP_VarType type, uint32_t generation, uint32_t index) {
  PP_Var var = UndefinedVar();
  var.type = type;
  var.value.as_id = static_cast<int64_t>((static_cast<uint64_t>(generation) << 32) | index);
  return var;
}

bool IsCounted(PP_Var var) {
  return var.type >= PP_VARTYPE_STRING;
}

bool IsContainer(PP_Var var) {
  return var.type == PP_VARTYPE_DICTIONARY || var.type == PP_VARTYPE_ARRAY;
}

const char* TypeName(int type) {
  static constexpr std::array<const char*, 11> kNames = {
      "undefined", "null",  "bool",       "int32",        "double",  "string",
      "object",    "array", "dictionary", "array buffer", "resource"};
  const auto index = static_cast<std::size_t>(type);
  return index < kNames.size() ? kNames[index] : "value of unknown type";
}

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

constexpr uint32_t kLongestArray = 1U << 24;

}  // namespace

struct VarTable::Children {
  std::vector<std::string> keys;  // of a dictionary, one for each value
  std::vector<OwnedVar> values;
};

struct VarTable::Entry {
  std::string key;
  PP_Var value;
};

struct VarTable::Body {
  explicit Body(PP_VarType type_given) : type(type_given) {}

  // Needs the mutex.
  std::vector<Entry>::iterator FindEntry(const std::string& key) {
    return std::find_if(entries.begin(), entries.end(),
                        [&key](const Entry& entry) { return entry.key == key; });
  }

  // Needs the mutex, or that nobody else knows of the body yet.
  void AddEntry(std::string key, PP_Var value) {
    if (entries.empty()) {
      entries.reserve(kUsualEntries);
    }
    entries.push_back({std::move(key), value});
  }

  static constexpr std::size_t kUsualEntries = 4;  // of a reply, and of most events

  const PP_VarType type;
  std::string text;             // of a string; never changes
  std::atomic<int> holders{0};  // containers that hold this one
  std::mutex mutex;             // guards entries and items
  std::vector<Entry> entries;   // of a dictionary
  std::vector<PP_Var> items;    // of an array
};

struct VarTable::Slot {
  std::atomic<uint64_t> state{Pack({1, PP_VARTYPE_UNDEFINED, 0})};
  std::unique_ptr<Body> body;          // reached only by who holds a reference
  std::atomic<uint32_t> next_free{0};  // index + 1, while this one is free; 0: there is none
};

struct VarTable::Chunk {
  std::array<Slot, kSlotsPerChunk> slots;
};

// Holds a reference while a body is in use, so that another thread's mistake cannot free it.
class VarTable::Pin {
 public:
  // Records a defect, and is empty, unless var is a living var of the type wanted.
  Pin(VarTable* table, PP_Var var, PP_VarType wanted, const char* operation)
      : table_(table), var_(var) {
    if (var.type != wanted) {
      const std::string problem = std::string("is no ") + TypeName(wanted);
      table->RecordMisuse(operation, var, problem.c_str());
    } else if (!table->TryAddRef(var)) {
      table->RecordMisuse(operation, var, "does not live");
    } else {
      body_ = &table->BodyOf(var);
    }
  }
  ~Pin() {
    if (body_ != nullptr) {
      table_->Release(var_);
    }
  }
  Pin(const Pin&) = delete;
  Pin& operator=(const Pin&) = delete;

  explicit operator bool() const { return body_ != nullptr; }
  Body* operator->() const { return body_; }
  Body& operator*() const { return *body_; }

 private:
  VarTable* const table_;
  const PP_Var var_;
  Body* body_ = nullptr;
};

VarTable::VarTable(Defects* defects)
    : defects_(defects), chunks_(std::make_unique<std::atomic<Chunk*>[]>(kChunks)) {}

VarTable::~VarTable() {
  for (std::size_t i = 0; i < kChunks; ++i) {
    delete chunks_[i].load();
  }
}

bool VarTable::TakeFreeSlot(uint32_t* index) {
  uint64_t head = free_.load(std::memory_order_acquire);
  while (static_cast<uint32_t>(head) != 0) {
    const uint32_t first = static_cast<uint32_t>(head) - 1;
    const uint32_t next = SlotAt(first).next_free.load(std::memory_order_relaxed);
    if (free_.compare_exchange_weak(head, NextHead(head, next), std::memory_order_acquire)) {
      *index = first;
      return true;
    }
  }
  return false;
}

void VarTable::Recycle(PP_Var var) {
  std::atomic<uint32_t>& next = SlotAt(IndexOf(var)).next_free;
  uint64_t head = free_.load(std::memory_order_relaxed);
  do {
    next.store(static_cast<uint32_t>(head), std::memory_order_relaxed);
  } while (!free_.compare_exchange_weak(head, NextHead(head, IndexOf(var) + 1),
                                        std::memory_order_release, std::memory_order_relaxed));
}

PP_Var VarTable::Add(std::unique_ptr<Body> body) {
  uint32_t index = 0;
  if (!TakeFreeSlot(&index)) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (slots_ == kChunks * kSlotsPerChunk) {
      defects_->Record("too many vars live at once");
      return NullVar();
    }
    index = slots_++;
    if (index % kSlotsPerChunk == 0) {
      chunks_[index / kSlotsPerChunk].store(new Chunk, std::memory_order_release);
    }
  }
  Slot& slot = SlotAt(index);
  const uint32_t generation = Unpack(slot.state.load(std::memory_order_relaxed)).generation;
  const PP_VarType type = body->type;
  slot.body = std::move(body);
  slot.state.store(Pack({generation, type, 1}), std::memory_order_release);
  return CountedVar(type, generation, index);
}

VarTable::Slot& VarTable::SlotAt(uint32_t index) const {
  return chunks_[index / kSlotsPerChunk]
      .load(std::memory_order_acquire)
      ->slots[index % kSlotsPerChunk];
}

VarTable::Slot* VarTable::Find(PP_Var var) const {
  const std::size_t index = IndexOf(var);
  if (index >= kChunks * kSlotsPerChunk) {
    return nullptr;
  }
  Chunk* const chunk = chunks_[index / kSlotsPerChunk].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : &chunk->slots[index % kSlotsPerChunk];
}

VarTable::Body& VarTable::BodyOf(PP_Var var) const {
  return *SlotAt(IndexOf(var)).body;
}

bool VarTable::TryAddRef(PP_Var var) {
  Slot* const slot = Find(var);
  if (slot == nullptr) {
    return false;
  }
  uint64_t word = slot->state.load(std::memory_order_acquire);
  for (;;) {
    const State state = Unpack(word);
    if (state.references == 0 || state.generation != GenerationOf(var) || state.type != var.type) {
      return false;
    }
    if (slot->state.compare_exchange_weak(word, word + 1, std::memory_order_acq_rel)) {
      return true;
    }
  }
}

std::unique_ptr<VarTable::Body> VarTable::DropReference(PP_Var var, bool* known) {
  *known = false;
  Slot* const slot = Find(var);
  if (slot == nullptr) {
    return nullptr;
  }
  uint64_t word = slot->state.load(std::memory_order_acquire);
  for (;;) {
    const State state = Unpack(word);
    if (state.references == 0 || state.generation != GenerationOf(var) || state.type != var.type) {
      return nullptr;
    }
    const bool last = state.references == 1;
    const uint32_t next = (state.generation + 1) % kGenerations;
    const uint64_t dropped =
        last ? Pack({next == 0 ? 1 : next, PP_VARTYPE_UNDEFINED, 0}) : word - 1;
    if (slot->state.compare_exchange_weak(word, dropped, std::memory_order_acq_rel)) {
      *known = true;
      return last ? std::move(slot->body) : nullptr;
    }
  }
}

void VarTable::AddRef(PP_Var var) {
  if (IsCounted(var) && !TryAddRef(var)) {
    RecordMisuse("AddRef", var, "does not live");
  }
}

void VarTable::Release(PP_Var var) {
  if (!IsCounted(var)) {
    return;
  }
  bool known = false;
  std::unique_ptr<Body> body = DropReference(var, &known);
  if (!known) {
    RecordMisuse("Release", var, "does not live");
  }
  if (body == nullptr) {
    return;
  }
  Recycle(var);
  // A list of its own instead of recursion: containers can be nested deeper than the stack is.
  std::vector<PP_Var> containers;
  const auto drop_child = [this, &containers](PP_Var child) {
    bool lived = false;
    if (IsContainer(child)) {
      containers.push_back(child);
    } else if (IsCounted(child) && DropReference(child, &lived) != nullptr) {
      Recycle(child);
    }
  };
  const auto drop_children = [&drop_child](const Body& dead) {
    for (const Entry& entry : dead.entries) {
      drop_child(entry.value);
    }
    std::for_each(dead.items.begin(), dead.items.end(), drop_child);
  };
  drop_children(*body);
  while (!containers.empty()) {
    const PP_Var child = containers.back();
    containers.pop_back();
    BodyOf(child).holders.fetch_sub(1, std::memory_order_relaxed);
    body = DropReference(child, &known);
    if (body != nullptr) {
      Recycle(child);
      drop_children(*body);
    }
  }
}

void VarTable::RecordMisuse(const char* operation, PP_Var var, const char* problem) {
  std::string text = std::string(operation) + ": " + TypeName(var.type);
  if (IsCounted(var)) {
    const Slot* const slot = Find(var);
    const State state = slot == nullptr ? State{0, PP_VARTYPE_UNDEFINED, 0}
                                        : Unpack(slot->state.load(std::memory_order_acquire));
    char id[32];
    std::snprintf(id, sizeof id, " %#" PRIx64, static_cast<uint64_t>(var.value.as_id));
    text += id;
    if (GenerationOf(var) > 0 && GenerationOf(var) < state.generation) {
      problem = "was released before";
    }
  }
  defects_->Record(text + " " + problem);
}

PP_Var VarTable::FromUtf8(std::string_view text) {
  if (!IsUtf8(text)) {
    return NullVar();
  }
  auto body = std::make_unique<Body>(PP_VARTYPE_STRING);
  body->text = text;
  return Add(std::move(body));
}

const char* VarTable::ToUtf8(PP_Var var, uint32_t* length) {
  const Pin string(this, var, PP_VARTYPE_STRING, "VarToUtf8");
  if (length != nullptr) {
    *length = string ? static_cast<uint32_t>(string->text.size()) : 0;
  }
  return string ? string->text.data() : nullptr;
}

PP_Var VarTable::CreateDictionary() {
  return Add(std::make_unique<Body>(PP_VARTYPE_DICTIONARY));
}

PP_Var VarTable::DictionaryGet(PP_Var dictionary, PP_Var key) {
  const Pin body(this, dictionary, PP_VARTYPE_DICTIONARY, "VarDictionary.Get");
  const Pin name(this, key, PP_VARTYPE_STRING, "VarDictionary.Get, key");
  if (!body || !name) {
    return UndefinedVar();
  }
  const std::lock_guard<std::mutex> lock(body->mutex);
  const auto entry = body->FindEntry(name->text);
  if (entry == body->entries.end()) {
    return UndefinedVar();
  }
  AddRef(entry->value);
  return entry->value;
}

// Takes a reference for the container that is about to hold the value.
bool VarTable::AdmitChild(const char* operation, PP_Var container, const Body& body, PP_Var value) {
  if (!IsCounted(value)) {
    return true;
  }
  if (!TryAddRef(value)) {
    RecordMisuse(operation, value, "does not live");
    return false;
  }
  if (!IsContainer(value)) {
    return true;
  }
  // What nobody holds cannot be inside the value.
  const bool held = body.holders.load(std::memory_order_relaxed) > 0;
  if (value.value.as_id == container.value.as_id || (held && Reaches(value, container))) {
    RecordMisuse(operation, container, "would hold itself");
    Release(value);
    return false;
  }
  BodyOf(value).holders.fetch_add(1, std::memory_order_relaxed);
  return true;
}

VarTable::Children VarTable::ChildrenOf(Body* container) {
  Children children;
  const std::lock_guard<std::mutex> lock(container->mutex);
  children.keys.reserve(container->entries.size());
  children.values.reserve(container->entries.size() + container->items.size());
  for (const Entry& entry : container->entries) {
    AddRef(entry.value);
    children.keys.push_back(entry.key);
    children.values.emplace_back(this, entry.value);
  }
  for (const PP_Var& item : container->items) {
    AddRef(item);
    children.values.emplace_back(this, item);
  }
  return children;
}

bool VarTable::Reaches(PP_Var from, PP_Var target) {
  std::unordered_set<int64_t> seen;
  std::vector<OwnedVar> pending;
  AddRef(from);
  pending.emplace_back(this, from);
  while (!pending.empty()) {
    const OwnedVar var = std::move(pending.back());
    pending.pop_back();
    if (var.get().value.as_id == target.value.as_id) {
      return true;
    }
    if (IsContainer(var.get()) && seen.insert(var.get().value.as_id).second) {
      Children children = ChildrenOf(&BodyOf(var.get()));
      std::move(children.values.begin(), children.values.end(), std::back_inserter(pending));
    }
  }
  return false;
}

// What a container no longer holds; counterpart of AdmitChild.
void VarTable::ReleaseChild(PP_Var value) {
  if (IsContainer(value)) {
    BodyOf(value).holders.fetch_sub(1, std::memory_order_relaxed);
  }
  Release(value);
}

bool VarTable::DictionarySet(PP_Var dictionary, PP_Var key, PP_Var value) {
  constexpr const char* kOperation = "VarDictionary.Set";
  const Pin body(this, dictionary, PP_VARTYPE_DICTIONARY, kOperation);
  const Pin name(this, key, PP_VARTYPE_STRING, "VarDictionary.Set, key");
  if (!body || !name || !AdmitChild(kOperation, dictionary, *body, value)) {
    return false;
  }
  PP_Var replaced = UndefinedVar();
  {
    const std::lock_guard<std::mutex> lock(body->mutex);
    const auto entry = body->FindEntry(name->text);
    if (entry == body->entries.end()) {
      body->AddEntry(name->text, value);
    } else {
      replaced = std::exchange(entry->value, value);
    }
  }
  ReleaseChild(replaced);
  return true;
}

void VarTable::DictionaryDelete(PP_Var dictionary, PP_Var key) {
  const Pin body(this, dictionary, PP_VARTYPE_DICTIONARY, "VarDictionary.Delete");
  const Pin name(this, key, PP_VARTYPE_STRING, "VarDictionary.Delete, key");
  if (!body || !name) {
    return;
  }
  PP_Var removed = UndefinedVar();
  {
    const std::lock_guard<std::mutex> lock(body->mutex);
    const auto entry = body->FindEntry(name->text);
    if (entry == body->entries.end()) {
      return;
    }
    removed = entry->value;
    body->entries.erase(entry);
  }
  ReleaseChild(removed);
}

bool VarTable::DictionaryHasKey(PP_Var dictionary, PP_Var key) {
  const Pin body(this, dictionary, PP_VARTYPE_DICTIONARY, "VarDictionary.HasKey");
  const Pin name(this, key, PP_VARTYPE_STRING, "VarDictionary.HasKey, key");
  if (!body || !name) {
    return false;
  }
  const std::lock_guard<std::mutex> lock(body->mutex);
  return body->FindEntry(name->text) != body->entries.end();
}

PP_Var VarTable::DictionaryKeys(PP_Var dictionary) {
  const Pin body(this, dictionary, PP_VARTYPE_DICTIONARY, "VarDictionary.GetKeys");
  auto keys = std::make_unique<Body>(PP_VARTYPE_ARRAY);
  if (body) {
    const std::lock_guard<std::mutex> lock(body->mutex);
    for (const Entry& entry : body->entries) {
      keys->items.push_back(FromUtf8(entry.key));
    }
  }
  return Add(std::move(keys));
}

PP_Var VarTable::CreateArray() {
  return Add(std::make_unique<Body>(PP_VARTYPE_ARRAY));
}

PP_Var VarTable::ArrayGet(PP_Var array, uint32_t index) {
  const Pin body(this, array, PP_VARTYPE_ARRAY, "VarArray.Get");
  if (!body) {
    return UndefinedVar();
  }
  const std::lock_guard<std::mutex> lock(body->mutex);
  if (index >= body->items.size()) {
    return UndefinedVar();
  }
  AddRef(body->items[index]);
  return body->items[index];
}

bool VarTable::ArraySet(PP_Var array, uint32_t index, PP_Var value) {
  constexpr const char* kOperation = "VarArray.Set";
  const Pin body(this, array, PP_VARTYPE_ARRAY, kOperation);
  if (!body) {
    return false;
  }
  if (index >= kLongestArray) {
    RecordMisuse(kOperation, array, "would be too long");
    return false;
  }
  if (!AdmitChild(kOperation, array, *body, value)) {
    return false;
  }
  PP_Var replaced = UndefinedVar();
  {
    const std::lock_guard<std::mutex> lock(body->mutex);
    if (index >= body->items.size()) {
      body->items.resize(index + 1, UndefinedVar());
    }
    replaced = std::exchange(body->items[index], value);
  }
  ReleaseChild(replaced);
  return true;
}

uint32_t VarTable::ArrayLength(PP_Var array) {
  const Pin body(this, array, PP_VARTYPE_ARRAY, "VarArray.GetLength");
  if (!body) {
    return 0;
  }
  const std::lock_guard<std::mutex> lock(body->mutex);
  return static_cast<uint32_t>(body->items.size());
}

bool VarTable::ArraySetLength(PP_Var array, uint32_t length) {
  constexpr const char* kOperation = "VarArray.SetLength";
  const Pin body(this, array, PP_VARTYPE_ARRAY, kOperation);
  if (!body) {
    return false;
  }
  if (length > kLongestArray) {
    RecordMisuse(kOperation, array, "would be too long");
    return false;
  }
  std::vector<PP_Var> removed;
  {
    const std::lock_guard<std::mutex> lock(body->mutex);
    for (std::size_t i = length; i < body->items.size(); ++i) {
      removed.push_back(body->items[i]);
    }
    body->items.resize(length, UndefinedVar());
  }
  for (const PP_Var& value : removed) {
    ReleaseChild(value);
  }
  return true;
}

std::optional<PP_Var> VarTable::FromJson(const Json& value) {
  if (IsDeeperThan(value, kMaxDepth)) {
    return std::nullopt;
  }
  return MakeVar(value);
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
      auto body = std::make_unique<Body>(PP_VARTYPE_ARRAY);
      for (const Json& item : value) {
        body->items.push_back(MakeChild(item));
      }
      return Add(std::move(body));
    }
    case Json::value_t::object: {
      auto body = std::make_unique<Body>(PP_VARTYPE_DICTIONARY);
      for (const auto& [key, member] : value.items()) {
        if (IsUtf8(key)) {
          body->AddEntry(key, MakeChild(member));
        }
      }
      return Add(std::move(body));
    }
    default:
      return NullVar();
  }
}

PP_Var VarTable::MakeChild(const Json& value) {
  const PP_Var var = MakeVar(value);
  if (IsContainer(var)) {
    BodyOf(var).holders.store(1, std::memory_order_relaxed);
  }
  return var;
}

std::optional<Json> VarTable::ToJson(PP_Var var) {
  Json json;
  return ToJson(var, 0, &json) ? std::optional<Json>(std::move(json)) : std::nullopt;
}

bool VarTable::ToJson(PP_Var var, int depth, Json* json) {
  constexpr const char* kOperation = "message";
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
    case PP_VARTYPE_STRING: {
      const Pin string(this, var, var.type, kOperation);
      if (string) {
        *json = string->text;
      }
      return static_cast<bool>(string);
    }
    case PP_VARTYPE_ARRAY:
    case PP_VARTYPE_DICTIONARY:
      break;
    default:
      RecordMisuse(kOperation, var, "cannot be passed to a page");
      return false;
  }
  const Pin body(this, var, var.type, kOperation);
  if (!body) {
    return false;
  }
  if (depth == kMaxDepth) {
    RecordMisuse(kOperation, var, "is nested too deep");
    return false;
  }
  Children children = ChildrenOf(&*body);
  const std::size_t count = children.values.size();
  if (var.type == PP_VARTYPE_ARRAY) {
    Json::array_t items(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (!ToJson(children.values[i].get(), depth + 1, &items[i])) {
        return false;
      }
    }
    *json = std::move(items);
    return true;
  }
  Json::object_t members;
  members.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const PP_Var value = children.values[i].get();
    if (value.type == PP_VARTYPE_UNDEFINED) {
      continue;
    }
    members.emplace_back(std::move(children.keys[i]), nullptr);
    if (!ToJson(value, depth + 1, &members.back().second)) {
      return false;
    }
  }
  *json = std::move(members);
  return true;
}

std::optional<PP_Var> VarTable::DeepCopy(PP_Var var) {
  return DeepCopy(var, 0);
}

std::optional<PP_Var> VarTable::DeepCopy(PP_Var var, int depth) {
  constexpr const char* kOperation = "message";
  if (!IsCounted(var)) {
    return var;
  }
  if (var.type != PP_VARTYPE_STRING && !IsContainer(var)) {
    RecordMisuse(kOperation, var, "cannot be passed on");
    return std::nullopt;
  }
  const Pin body(this, var, var.type, kOperation);
  if (!body) {
    return std::nullopt;
  }
  if (var.type == PP_VARTYPE_STRING) {  // never changes, so the same one serves
    AddRef(var);
    return var;
  }
  if (depth == kMaxDepth) {
    RecordMisuse(kOperation, var, "is nested too deep");
    return std::nullopt;
  }
  Children children = ChildrenOf(&*body);
  OwnedVar copy(this, Add(std::make_unique<Body>(var.type)));
  Body& copied = BodyOf(copy.get());
  for (std::size_t i = 0; i < children.values.size(); ++i) {
    const std::optional<PP_Var> child = DeepCopy(children.values[i].get(), depth + 1);
    if (!child) {
      return std::nullopt;
    }
    if (IsContainer(*child)) {
      BodyOf(*child).holders.store(1, std::memory_order_relaxed);
    }
    if (var.type == PP_VARTYPE_ARRAY) {
      copied.items.push_back(*child);
    } else {
      copied.AddEntry(std::move(children.keys[i]), *child);
    }
  }
  return copy.Detach();
}

int64_t VarTable::Live() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  int64_t live = 0;
  for (uint32_t index = 0; index < slots_; ++index) {
    const uint64_t word = SlotAt(index).state.load(std::memory_order_relaxed);
    live += Unpack(word).references > 0 ? 1 : 0;
  }
  return live;
}

std::vector<std::string> VarTable::DescribeLive() {
  constexpr std::size_t kMost = 20;
  std::vector<std::pair<OwnedVar, uint32_t>> live;  // with the references it had
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (uint32_t index = 0; index < slots_ && live.size() < kMost; ++index) {
      const Slot& slot = *Find(CountedVar(PP_VARTYPE_STRING, 1, index));
      const State state = Unpack(slot.state.load(std::memory_order_acquire));
      const PP_Var var = CountedVar(state.type, state.generation, index);
      if (TryAddRef(var)) {
        live.emplace_back(OwnedVar(this, var), state.references);
      }
    }
  }
  std::vector<std::string> lines;
  for (const auto& [var, references] : live) {
    std::string line = TypeName(var.get().type);
    if (IsContainer(var.get())) {
      const Children children = ChildrenOf(&BodyOf(var.get()));
      line += " of " + std::to_string(children.values.size());
      for (const std::string& key : children.keys) {
        line += " \"" + key.substr(0, 20) + "\"";
      }
    } else {
      line += " \"" + BodyOf(var.get()).text.substr(0, 60) + "\"";
    }
    lines.push_back(line + ", references: " + std::to_string(references));
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
