#ifndef HOST_VARS_H_
#define HOST_VARS_H_

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/defects.h"
#include "host/json.h"
#include "ppapi/c/pp_var.h"

namespace lumivex::host {

// Containers nested deeper than this are not passed between page and plug-in.
inline constexpr int kMaxDepth = 1000;

class OwnedVar;

// The browser's reference-counted vars: strings, dictionaries and arrays, by as_id.
//
// Any thread may call every function. Vars passed in are borrowed; returned vars come with one
// reference, which the caller owns. A use that the Pepper interface forbids (a released var, a key
// that is not a string ...) is recorded as a defect, does nothing and returns undefined, null or
// false. AddRef and Release accept values without a count (numbers, null ...).
class VarTable {
 public:
  explicit VarTable(Defects* defects) : defects_(defects) {}
  VarTable(const VarTable&) = delete;
  VarTable& operator=(const VarTable&) = delete;

  void AddRef(PP_Var var);
  void Release(PP_Var var) noexcept;

  PP_Var FromUtf8(std::string_view text);  // a null var if the text is not UTF-8
  // Valid as long as the var exists; null and length 0 if var is not a string.
  const char* ToUtf8(PP_Var var, uint32_t* length);

  PP_Var CreateDictionary();
  PP_Var DictionaryGet(PP_Var dictionary, PP_Var key);  // undefined when absent
  bool DictionarySet(PP_Var dictionary, PP_Var key, PP_Var value);
  void DictionaryDelete(PP_Var dictionary, PP_Var key);
  bool DictionaryHasKey(PP_Var dictionary, PP_Var key);
  PP_Var DictionaryKeys(PP_Var dictionary);  // a sorted array

  PP_Var CreateArray();
  PP_Var ArrayGet(PP_Var array, uint32_t index);  // undefined beyond the end
  bool ArraySet(PP_Var array, uint32_t index, PP_Var value);
  uint32_t ArrayLength(PP_Var array);
  bool ArraySetLength(PP_Var array, uint32_t length);

  // As a browser converts a page's value: 32-bit integers become int32 (even 2.0, because a page
  // has one type of number), other numbers double, text that is not UTF-8 a null var. Null if the
  // value is nested deeper than kMaxDepth.
  std::optional<PP_Var> FromJson(const Json& value);
  // The var as the page sees it, a deep copy. Integral doubles become integers; undefined is left
  // out of objects and is null elsewhere. Null, with a defect recorded, if the var contains
  // something that cannot be passed.
  std::optional<Json> ToJson(PP_Var var);
  // Null, with a defect recorded, if the var contains something that cannot be passed.
  std::optional<PP_Var> DeepCopy(PP_Var var);

  // The number of counted vars, and a line for each of the first ones.
  int64_t Live() const;
  std::vector<std::string> DescribeLive() const;

 private:
  using Members = std::map<std::string, PP_Var>;
  using Items = std::vector<PP_Var>;
  // Slots are reused. An id is a generation and a slot's index; the generation changes when the var
  // is freed, which exposes the use of a freed var.
  struct Slot {
    std::variant<std::string, Members, Items> value;
    uint32_t references = 0;
    uint32_t generation = 1;
  };
  struct Children {
    std::vector<std::string> keys;  // of a dictionary, one for each value
    std::vector<OwnedVar> values;
  };
  using Path = std::vector<int64_t>;  // the containers around a var

  // These need the mutex.
  Slot* Find(PP_Var var);  // null if freed
  template <class Value>
  Value* Use(const char* operation, PP_Var var);  // null, with a defect, for any other var
  bool Take(const char* operation, PP_Var var);
  void Drop(PP_Var var);
  template <class Value>
  PP_Var Insert(Value value);
  void RecordMisuse(const char* operation, PP_Var var, const std::string& problem);

  // These do not. Containers take over the references to their contents.
  PP_Var AddDictionary(Members members);
  PP_Var AddArray(Items items);
  std::optional<std::string> TextOf(PP_Var string);
  std::optional<Children> ChildrenOf(PP_Var container, const Path& path);
  PP_Var MakeVar(const Json& value);
  bool ToJson(PP_Var var, Path* path, Json* json);
  bool Copy(OwnedVar* var, Path* path);

  Defects* const defects_;

  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::deque<Slot> slots_;
  std::vector<uint32_t> free_;  // indices of unused slots
};

// One reference to a var, released at the end of the scope.
class OwnedVar {
 public:
  OwnedVar(VarTable* vars, PP_Var var) : vars_(vars), var_(var) {}
  OwnedVar(OwnedVar&& other) noexcept;
  OwnedVar& operator=(OwnedVar&& other) noexcept;
  ~OwnedVar() { vars_->Release(var_); }

  const PP_Var& get() const { return var_; }
  PP_Var Detach();  // the caller then owns the reference

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
