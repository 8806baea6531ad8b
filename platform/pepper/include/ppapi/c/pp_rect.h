#ifndef PPAPI_C_PP_RECT_H_
#define PPAPI_C_PP_RECT_H_

#include <stdint.h>

struct PP_Point {
  int32_t x;
  int32_t y;
};

struct PP_Size {
  int32_t width;
  int32_t height;
};

/* A rectangle in CSS pixels of the page. */
struct PP_Rect {
  struct PP_Point point;
  struct PP_Size size;
};

#endif
