#ifndef PPAPI_C_PP_INSTANCE_H_
#define PPAPI_C_PP_INSTANCE_H_

#include <stdint.h>

/* Names one plug-in element of a page; 0 is none. Assigned by the browser. */
typedef int32_t PP_Instance;

#endif
