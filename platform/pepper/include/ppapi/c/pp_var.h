#ifndef PPAPI_C_PP_VAR_H_
#define PPAPI_C_PP_VAR_H_

#include <stddef.h>
#include <stdint.h>

#include "ppapi/c/pp_bool.h"

/* Type codes of PP_Var. Types from PP_VARTYPE_STRING up are reference counted through as_id. */
typedef enum {
  PP_VARTYPE_UNDEFINED = 0,
  PP_VARTYPE_NULL = 1,
  PP_VARTYPE_BOOL = 2,
  PP_VARTYPE_INT32 = 3,
  PP_VARTYPE_DOUBLE = 4,
  PP_VARTYPE_STRING = 5,
  PP_VARTYPE_OBJECT = 6,
  PP_VARTYPE_ARRAY = 7,
  PP_VARTYPE_DICTIONARY = 8,
  PP_VARTYPE_ARRAY_BUFFER = 9,
  PP_VARTYPE_RESOURCE = 10
} PP_VarType;

union PP_VarValue {
  PP_Bool as_bool;
  int32_t as_int;
  double as_double;
  int64_t as_id;
};

/* A value exchanged with the page: 16 bytes, passed by value.
 * As an argument it is borrowed; as a result it belongs to the caller with one reference. */
struct PP_Var {
  PP_VarType type;
  int32_t padding;
  union PP_VarValue value;
};

#ifdef __cplusplus
static_assert(sizeof(PP_Var) == 16 && offsetof(PP_Var, value) == 8,
              "PP_Var is part of the binary interface");
#endif

#endif
