#ifndef PPAPI_C_PPB_VAR_ARRAY_H_
#define PPAPI_C_PPB_VAR_ARRAY_H_

#include <stdint.h>

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_var.h"

#define PPB_VAR_ARRAY_INTERFACE "PPB_VarArray;1.0"

/* Any thread may call every function. */
struct PPB_VarArray {
  struct PP_Var (*Create)(void);
  struct PP_Var (*Get)(struct PP_Var array, uint32_t index); /* undefined beyond the end */
  PP_Bool (*Set)(struct PP_Var array, uint32_t index, struct PP_Var value);
  uint32_t (*GetLength)(struct PP_Var array);
  PP_Bool (*SetLength)(struct PP_Var array, uint32_t length);
};

#endif
