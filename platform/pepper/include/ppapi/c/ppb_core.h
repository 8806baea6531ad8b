#ifndef PPAPI_C_PPB_CORE_H_
#define PPAPI_C_PPB_CORE_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/c/pp_resource.h"

#define PPB_CORE_INTERFACE "PPB_Core;1.0"

/* Any thread may call every function. */
struct PPB_Core {
  void (*AddRefResource)(PP_Resource resource);
  void (*ReleaseResource)(PP_Resource resource);
  double (*GetTime)(void);      /* seconds since 1970 */
  double (*GetTimeTicks)(void); /* seconds since some start, monotonic */
  void (*CallOnMainThread)(int32_t delay_ms, struct PP_CompletionCallback callback, int32_t result);
  PP_Bool (*IsMainThread)(void);
};

#endif
