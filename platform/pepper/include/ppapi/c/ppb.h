#ifndef PPAPI_C_PPB_H_
#define PPAPI_C_PPB_H_

/* The browser's table of functions of this name and version, or null. */
typedef const void* (*PPB_GetInterface)(const char* interface_name);

#endif
