#ifndef PPAPI_C_PPB_MESSAGING_H_
#define PPAPI_C_PPB_MESSAGING_H_

#include <stdint.h>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_var.h"
#include "ppapi/c/ppp_message_handler.h"

#define PPB_MESSAGING_INTERFACE "PPB_Messaging;1.2"

struct PPB_Messaging {
  /* Copies the message; the page receives it later. Any thread may call it. */
  void (*PostMessage)(PP_Instance instance, struct PP_Var message);
  /* PP_OK, or a PP_ERROR_ value: the main thread's loop is refused with PP_ERROR_WRONG_THREAD. */
  int32_t (*RegisterMessageHandler)(PP_Instance instance,
                                    void* user_data,
                                    const struct PPP_MessageHandler* handler,
                                    PP_Resource message_loop);
  void (*UnregisterMessageHandler)(PP_Instance instance);
};

#endif
