#ifndef PPAPI_CPP_VAR_DICTIONARY_H_
#define PPAPI_CPP_VAR_DICTIONARY_H_

#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

namespace pp {

// A dictionary var. Copies share one dictionary.
class VarDictionary : public Var {
 public:
  VarDictionary();  // a new, empty dictionary
  // Shares var's dictionary; a new, empty one if var is of another type.
  explicit VarDictionary(const Var& var);
  explicit VarDictionary(const PP_Var& var);

  Var Get(const Var& key) const;  // undefined when absent
  bool Set(const Var& key, const Var& value);
  bool HasKey(const Var& key) const;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_VAR_DICTIONARY_H_
