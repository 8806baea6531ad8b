#include "ppapi/cpp/var_dictionary.h"

#include "interfaces.h"

namespace pp {

namespace {

Var NewDictionary() {
  return Browser().dictionary == nullptr ? Var() : Var(PASS_REF, Browser().dictionary->Create());
}

}  // namespace

VarDictionary::VarDictionary() : Var(NewDictionary()) {}

VarDictionary::VarDictionary(const Var& var) : Var(var.is_dictionary() ? var : NewDictionary()) {}

VarDictionary::VarDictionary(const PP_Var& var) : VarDictionary(Var(var)) {}

Var VarDictionary::Get(const Var& key) const {
  return Browser().dictionary == nullptr
             ? Var()
             : Var(PASS_REF, Browser().dictionary->Get(var_, key.pp_var()));
}

bool VarDictionary::Set(const Var& key, const Var& value) {
  return Browser().dictionary != nullptr &&
         Browser().dictionary->Set(var_, key.pp_var(), value.pp_var()) != PP_FALSE;
}

bool VarDictionary::HasKey(const Var& key) const {
  return Browser().dictionary != nullptr &&
         Browser().dictionary->HasKey(var_, key.pp_var()) != PP_FALSE;
}

}  // namespace pp
