#ifndef PPAPI_C_PPP_MESSAGING_H_
#define PPAPI_C_PPP_MESSAGING_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

#define PPP_MESSAGING_INTERFACE "PPP_Messaging;1.0"

/* Receives a page's messages on the plug-in's main thread while no message handler is registered.
 */
struct PPP_Messaging {
  void (*HandleMessage)(PP_Instance instance, struct PP_Var message);
};

#endif
