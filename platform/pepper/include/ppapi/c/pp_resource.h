#ifndef PPAPI_C_PP_RESOURCE_H_
#define PPAPI_C_PP_RESOURCE_H_

#include <stdint.h>

/* Names a reference-counted object of the browser; 0 is none. Counted through PPB_Core. */
typedef int32_t PP_Resource;

#endif
