#ifndef PPAPI_C_PP_BOOL_H_
#define PPAPI_C_PP_BOOL_H_

/* A boolean that is 32 bits wide on every compiler; any value but 0 and 1 is invalid. */
typedef enum { PP_FALSE = 0, PP_TRUE = 1 } PP_Bool;

#ifdef __cplusplus
static_assert(sizeof(PP_Bool) == 4, "PP_Bool is part of the binary interface");
#endif

#endif
