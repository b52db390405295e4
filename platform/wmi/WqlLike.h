// The pattern match of WQL's LIKE operator, without regard to case:
//   %       any run of characters, empty included
//   _       any one character
//   [abc]   one of the listed characters; [a-f] a range; [^...] any other
//           character. A ']' right after '[' or '[^' is listed, not closing;
//           a '[' that is never closed stands for itself.
#ifndef OM_PLATFORM_WMI_WQLLIKE_H_
#define OM_PLATFORM_WMI_WQLLIKE_H_

#include <string_view>

namespace om::wmi {

bool wqlLike(std::u16string_view text, std::u16string_view pattern);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WQLLIKE_H_
