#ifndef PPAPI_C_PP_MODULE_H_
#define PPAPI_C_PP_MODULE_H_

#include <stdint.h>

/* Names one loaded plug-in library; 0 is none. Assigned by the browser. */
typedef int32_t PP_Module;

#endif
