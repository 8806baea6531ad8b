#ifndef PPAPI_C_PPB_H_
#define PPAPI_C_PPB_H_

/* Asks the browser for a table of functions by its name and version; null when it offers none. */
typedef const void* (*PPB_GetInterface)(const char* interface_name);

#endif
