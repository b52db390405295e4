#include "Text.h"

#include <algorithm>

#include <om/codepage.h>

namespace om::wmi {

size_t NoCaseHash::operator()(std::u16string_view name) const {
  size_t hash = 14695981039346656037ull;  // FNV-1a over the folded characters
  for (const char16_t c : name) hash = (hash ^ foldChar(c)) * 1099511628211ull;
  return hash;
}

std::u16string foldCase(std::u16string_view text) {
  std::u16string out(text);
  std::transform(out.begin(), out.end(), out.begin(), foldChar);
  return out;
}

int compareNoCase(std::u16string_view a, std::u16string_view b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const char16_t x = foldChar(a[i]);
    const char16_t y = foldChar(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool equalsNoCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && compareNoCase(a, b) == 0;
}

std::u16string toU16(std::string_view utf8) {
  // Plain ASCII, the common case for names and paths, needs no conversion.
  if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return std::u16string(utf8.begin(), utf8.end());
  }
  return om::utf8ToUtf16(utf8);
}

std::string toUtf8(std::u16string_view text) {
  if (std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; })) {
    return std::string(text.begin(), text.end());
  }
  return om::utf16ToUtf8(text);
}

BSTR allocBstr(std::u16string_view text) {
  return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

SAFEARRAY* stringArray(const std::vector<std::u16string>& items) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(items.size()));
  for (size_t i = 0; array != nullptr && i < items.size(); ++i) {
    BSTR item = allocBstr(items[i]);
    LONG index = static_cast<LONG>(i);
    const HRESULT hr = SafeArrayPutElement(array, &index, item);
    SysFreeString(item);
    if (FAILED(hr)) {
      SafeArrayDestroy(array);
      return nullptr;
    }
  }
  return array;
}

}  // namespace om::wmi
