#include "ppapi/cpp/var_array.h"

#include "interfaces.h"

namespace pp {

namespace {

Var NewArray() {
  return Browser().array == nullptr ? Var() : Var(PASS_REF, Browser().array->Create());
}

}  // namespace

VarArray::VarArray() : Var(NewArray()) {}

VarArray::VarArray(const Var& var) : Var(var.is_array() ? var : NewArray()) {}

VarArray::VarArray(PassRef, const PP_Var& var) : Var(PASS_REF, var) {}

Var VarArray::Get(uint32_t index) const {
  return Browser().array == nullptr ? Var() : Var(PASS_REF, Browser().array->Get(var_, index));
}

bool VarArray::Set(uint32_t index, const Var& value) {
  return Browser().array != nullptr &&
         Browser().array->Set(var_, index, value.pp_var()) != PP_FALSE;
}

uint32_t VarArray::GetLength() const {
  return Browser().array == nullptr ? 0 : Browser().array->GetLength(var_);
}

bool VarArray::SetLength(uint32_t length) {
  return Browser().array != nullptr && Browser().array->SetLength(var_, length) != PP_FALSE;
}

}  // namespace pp
