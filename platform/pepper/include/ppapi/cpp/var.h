#ifndef PPAPI_CPP_VAR_H_
#define PPAPI_CPP_VAR_H_

#include <cstdint>
#include <string>

#include "ppapi/c/pp_var.h"

#pragma GCC visibility push(default)

namespace pp {

// Tells a constructor to take over the reference that comes with its argument.
enum PassRef { PASS_REF };

// A value exchanged with the page. Owns one reference to the browser's var; copies share that var.
// Each thread may use its own Vars.
class Var {
 public:
  struct Null {};

  Var();  // undefined
  explicit Var(Null);
  Var(bool value);                  // NOLINT(google-explicit-constructor): Pepper's way
  Var(int32_t value);               // NOLINT(google-explicit-constructor)
  Var(double value);                // NOLINT(google-explicit-constructor)
  Var(const char* utf8);            // NOLINT(google-explicit-constructor): up to the first NUL
  Var(const std::string& utf8);     // NOLINT(google-explicit-constructor): all bytes
  Var(PassRef, const PP_Var& var);  // takes over the reference
  explicit Var(const PP_Var& var);  // adds a reference of its own
  Var(const Var& other);
  Var(Var&& other) noexcept;
  Var& operator=(const Var& other);
  Var& operator=(Var&& other) noexcept;
  virtual ~Var();

  bool is_undefined() const { return var_.type == PP_VARTYPE_UNDEFINED; }
  bool is_null() const { return var_.type == PP_VARTYPE_NULL; }
  bool is_bool() const { return var_.type == PP_VARTYPE_BOOL; }
  bool is_int() const { return var_.type == PP_VARTYPE_INT32; }
  bool is_double() const { return var_.type == PP_VARTYPE_DOUBLE; }
  bool is_number() const { return is_int() || is_double(); }
  bool is_string() const { return var_.type == PP_VARTYPE_STRING; }
  bool is_array() const { return var_.type == PP_VARTYPE_ARRAY; }
  bool is_dictionary() const { return var_.type == PP_VARTYPE_DICTIONARY; }

  bool AsBool() const;  // false unless a bool
  // A double is truncated and clamped to 32 bits; NaN is 0.
  int32_t AsInt() const;         // 0 unless a number
  double AsDouble() const;       // 0.0 unless a number
  std::string AsString() const;  // empty unless a string

  // Borrowed: valid as long as this Var.
  const PP_Var& pp_var() const { return var_; }
  // The caller then owns the reference, and this Var is undefined.
  PP_Var Detach();

 protected:
  PP_Var var_;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_VAR_H_
