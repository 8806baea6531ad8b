#ifndef PPAPI_C_PPP_H_
#define PPAPI_C_PPP_H_

#include <stdint.h>

#include "ppapi/c/pp_module.h"
#include "ppapi/c/ppb.h"

/* What a plug-in library exports to the browser, found by name. All on the plug-in's main thread.
 */
#ifdef __cplusplus
extern "C" {
#endif

__attribute__((visibility("default"))) int32_t PPP_InitializeModule(
    PP_Module module, PPB_GetInterface get_browser_interface);
__attribute__((visibility("default"))) void PPP_ShutdownModule(void);
__attribute__((visibility("default"))) const void* PPP_GetInterface(const char* interface_name);

#ifdef __cplusplus
}
#endif

#endif
