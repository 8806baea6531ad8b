#ifndef PPAPI_C_PPB_VAR_DICTIONARY_H_
#define PPAPI_C_PPB_VAR_DICTIONARY_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_var.h"

#define PPB_VAR_DICTIONARY_INTERFACE "PPB_VarDictionary;1.0"

/* Keys are string vars. Any thread may call every function. */
struct PPB_VarDictionary {
  struct PP_Var (*Create)(void);
  struct PP_Var (*Get)(struct PP_Var dict, struct PP_Var key); /* undefined when absent */
  PP_Bool (*Set)(struct PP_Var dict, struct PP_Var key, struct PP_Var value);
  void (*Delete)(struct PP_Var dict, struct PP_Var key);
  PP_Bool (*HasKey)(struct PP_Var dict, struct PP_Var key);
  struct PP_Var (*GetKeys)(struct PP_Var dict); /* an array of strings */
};

#endif
