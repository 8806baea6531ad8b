#ifndef PPAPI_C_PPB_VAR_H_
#define PPAPI_C_PPB_VAR_H_

#include <stdint.h>

#include "ppapi/c/pp_var.h"

#define PPB_VAR_INTERFACE "PPB_Var;1.2"

/* Any thread may call every function. */
struct PPB_Var {
  void (*AddRef)(struct PP_Var var);
  void (*Release)(struct PP_Var var);
  /* A string var, or a null var when the text is not UTF-8. */
  struct PP_Var (*VarFromUtf8)(const char* data, uint32_t length);
  /* Not terminated; lives as long as the var. Null and length 0 when var is not a string. */
  const char* (*VarToUtf8)(struct PP_Var var, uint32_t* length);
};

#endif
