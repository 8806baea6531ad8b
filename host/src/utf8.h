#ifndef HOST_UTF8_H_
#define HOST_UTF8_H_

#include <string_view>

namespace lumivex::host {

// Whether the text is UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF.
bool IsUtf8(std::string_view text);

}  // namespace lumivex::host

#endif  // HOST_UTF8_H_
