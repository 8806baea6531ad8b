#ifndef HOST_VARS_H_
#define HOST_VARS_H_

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/defects.h"
#include "host/json.h"
#include "ppapi/c/pp_var.h"

namespace lumivex::host {

// Containers nested deeper than this are not passed between page and plug-in.
inline constexpr int kMaxDepth = 1000;

// The browser's reference-counted vars: strings, dictionaries and arrays, named by their as_id.
//
// Any thread may call every function. Vars given are borrowed, vars returned belong to the caller
// with one reference. A use that the Pepper interface forbids (a var that was released, a key that
// is no string ...) is recorded as a defect, has no other effect and answers undefined, null or
// false. Values without a count (numbers, null ...) may be given to AddRef and Release.
class VarTable {
 public:
  explicit VarTable(Defects* defects);
  ~VarTable();
  VarTable(const VarTable&) = delete;
  VarTable& operator=(const VarTable&) = delete;

  void AddRef(PP_Var var);
  void Release(PP_Var var);

  PP_Var FromUtf8(std::string_view text);  // a null var when the text is not UTF-8
  // Valid as long as the var lives; null and length 0 when var is no string.
  const char* ToUtf8(PP_Var var, uint32_t* length);

  PP_Var CreateDictionary();
  PP_Var DictionaryGet(PP_Var dictionary, PP_Var key);  // undefined when absent
  bool DictionarySet(PP_Var dictionary, PP_Var key, PP_Var value);
  void DictionaryDelete(PP_Var dictionary, PP_Var key);
  bool DictionaryHasKey(PP_Var dictionary, PP_Var key);
  PP_Var DictionaryKeys(PP_Var dictionary);  // an array, in the order in which keys were added

  PP_Var CreateArray();
  PP_Var ArrayGet(PP_Var array, uint32_t index);  // undefined beyond the end
  bool ArraySet(PP_Var array, uint32_t index, PP_Var value);
  uint32_t ArrayLength(PP_Var array);
  bool ArraySetLength(PP_Var array, uint32_t length);

  // As a browser converts a page's value: whole numbers of 32 bits become int32 (2.0 too, for a
  // page has one kind of number), other numbers double, text that is not UTF-8 a null var.
  // Null when the value is nested deeper than kMaxDepth.
  std::optional<PP_Var> FromJson(const Json& value);
  // What the page sees of a var, a deep copy. Whole doubles become whole numbers; undefined is left
  // out of objects and is null elsewhere. Null, with a defect recorded, when the var holds
  // something that cannot be passed on.
  std::optional<Json> ToJson(PP_Var var);
  // Null, with a defect recorded, when the var holds something that cannot be passed on.
  std::optional<PP_Var> DeepCopy(PP_Var var);

  // Counted vars that live now, found by looking at all that ever were at once, and a line for each
  // of the first of them.
  int64_t Live() const;
  std::vector<std::string> DescribeLive();

 private:
  struct Body;
  struct Slot;
  struct Chunk;
  class Pin;
  struct Entry;
  struct Children;

  PP_Var Add(std::unique_ptr<Body> body);
  Slot& SlotAt(uint32_t index) const;  // of a slot that was used
  Slot* Find(PP_Var var) const;        // null when no such slot was ever used
  Body& BodyOf(PP_Var var) const;      // of a var to which a reference is held
  bool TryAddRef(PP_Var var);
  // The body when this was the last reference; *known is false when the var did not live.
  std::unique_ptr<Body> DropReference(PP_Var var, bool* known);
  // Slots that can be used again, for any thread without a lock. False when there is none.
  bool TakeFreeSlot(uint32_t* index);
  void Recycle(PP_Var var);
  void RecordMisuse(const char* operation, PP_Var var, const char* problem);
  Children ChildrenOf(Body* container);
  bool Reaches(PP_Var from, PP_Var target);
  bool AdmitChild(const char* operation, PP_Var container, const Body& body, PP_Var value);
  void ReleaseChild(PP_Var value);
  PP_Var MakeVar(const Json& value);
  PP_Var MakeChild(const Json& value);
  bool ToJson(PP_Var var, int depth, Json* json);
  std::optional<PP_Var> DeepCopy(PP_Var var, int depth);

  static constexpr std::size_t kSlotsPerChunk = 1024;
  static constexpr std::size_t kChunks = 1 << 14;

  Defects* const defects_;
  // Chunks are only ever added, so that a slot keeps its address and is found without a lock.
  std::unique_ptr<std::atomic<Chunk*>[]> chunks_;

  // The first free slot's index + 1 (0: none) in the lower half, and in the upper half the number
  // of the change, by which a thread sees that others have been here. Each slot names the next.
  std::atomic<uint64_t> free_{0};

  mutable std::mutex mutex_;
  uint32_t slots_ = 0;  // guarded by mutex_: slots ever used
};

// One reference to a var, released at the end of the scope.
class OwnedVar {
 public:
  OwnedVar(VarTable* vars, PP_Var var) : vars_(vars), var_(var) {}
  OwnedVar(OwnedVar&& other) noexcept;
  OwnedVar& operator=(OwnedVar&& other) noexcept;
  ~OwnedVar() { vars_->Release(var_); }

  const PP_Var& get() const { return var_; }
  PP_Var Detach();  // the caller takes over the reference

 private:
  VarTable* vars_;
  PP_Var var_;
};

// Vars without a count.
PP_Var UndefinedVar();
PP_Var NullVar();
PP_Var BoolVar(bool value);
PP_Var IntVar(int32_t value);
PP_Var DoubleVar(double value);

}  // namespace lumivex::host

#endif  // HOST_VARS_H_
