#ifndef PPAPI_C_PPP_MESSAGE_HANDLER_H_
#define PPAPI_C_PPP_MESSAGE_HANDLER_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

/* Functions of a plug-in that receive a page's messages, given to the browser by pointer when a
 * handler is registered. Called on the thread that runs the message loop given there. */
struct PPP_MessageHandler {
  void (*HandleMessage)(PP_Instance instance, void* user_data, const struct PP_Var* message);
  /* The response leaves with one reference that the browser owns. */
  void (*HandleBlockingMessage)(PP_Instance instance,
                                void* user_data,
                                const struct PP_Var* message,
                                struct PP_Var* response);
  /* The handler was unregistered and is not called again. */
  void (*Destroy)(PP_Instance instance, void* user_data);
};

#endif
