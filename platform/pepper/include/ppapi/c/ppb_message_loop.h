#ifndef PPAPI_C_PPB_MESSAGE_LOOP_H_
#define PPAPI_C_PPB_MESSAGE_LOOP_H_

#include <stdint.h>

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

#define PPB_MESSAGELOOP_INTERFACE "PPB_MessageLoop;1.0"

struct PPB_MessageLoop {
  PP_Resource (*Create)(PP_Instance instance); /* the caller owns one reference; 0 on failure */
  PP_Resource (*GetForMainThread)(void);
  PP_Resource (*GetCurrent)(void); /* 0 on a thread without a loop */
  int32_t (*AttachToCurrentThread)(PP_Resource message_loop);
  int32_t (*Run)(PP_Resource message_loop); /* returns when the loop is told to quit */
  int32_t (*PostWork)(PP_Resource message_loop,
                      struct PP_CompletionCallback callback,
                      int64_t delay_ms);
  int32_t (*PostQuit)(PP_Resource message_loop, PP_Bool should_destroy);
};

#endif
