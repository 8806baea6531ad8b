#ifndef PPAPI_CPP_VAR_ARRAY_H_
#define PPAPI_CPP_VAR_ARRAY_H_

#include <cstdint>

#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

namespace pp {

// An array var. Copies share one array.
class VarArray : public Var {
 public:
  VarArray();  // a new, empty array
  // Shares the array that var holds; a new, empty one when var is of another type.
  explicit VarArray(const Var& var);
  VarArray(PassRef, const PP_Var& var);

  Var Get(uint32_t index) const;  // undefined beyond the end
  bool Set(uint32_t index, const Var& value);
  uint32_t GetLength() const;
  bool SetLength(uint32_t length);
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_VAR_ARRAY_H_
