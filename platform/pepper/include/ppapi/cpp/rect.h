#ifndef PPAPI_CPP_RECT_H_
#define PPAPI_CPP_RECT_H_

#include "ppapi/c/pp_rect.h"

namespace pp {

// A rectangle in CSS pixels of the page.
class Rect {
 public:
  Rect() : rect_() {}
  explicit Rect(const PP_Rect& rect) : rect_(rect) {}

  const PP_Rect& pp_rect() const { return rect_; }

 private:
  PP_Rect rect_;
};

}  // namespace pp

#endif  // PPAPI_CPP_RECT_H_
