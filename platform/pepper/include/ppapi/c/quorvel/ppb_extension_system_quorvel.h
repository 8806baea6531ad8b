#ifndef PPAPI_C_QUORVEL_PPB_EXTENSION_SYSTEM_QUORVEL_H_
#define PPAPI_C_QUORVEL_PPB_EXTENSION_SYSTEM_QUORVEL_H_

#include <stdint.h>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

#define PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1 "PPB_ExtensionSystem_Quorvel;0.1"

/* The television runtime's private services, by name of the operation. Other engines lack this
 * table. */
struct PPB_ExtensionSystem_Quorvel_0_1 {
  /* The embedder's name, a string var. */
  struct PP_Var (*GetEmbedderName)(PP_Instance instance);
  struct PP_Var (*GetCurrentExtensionInfo)(PP_Instance instance);
  /* 0 on success; the result is then stored with one reference that the caller owns. */
  int32_t (*GenericSyncCall)(PP_Instance instance,
                             struct PP_Var operation_name,
                             struct PP_Var operation_data,
                             struct PP_Var* result);
};

#endif
