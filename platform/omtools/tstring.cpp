#include <omtools/tstring.h>

#include <cstdio>

#include <oleauto.h>

#include <om/StringTable.h>
#include <om/codepage.h>
#include <omtools/vstream.h>

tstring::tstring(const OLECHAR* text)
    : std::string(text == nullptr ? std::string() : om::utf16ToCp932(text)) {}

tstring& tstring::fromBSTR(BSTR text) {
  assign(om::utf16ToCp932(std::u16string_view(text, SysStringLen(text))));
  return *this;
}

BSTR tstring::toBSTR() const {
  const std::u16string wide = om::cp932ToUtf16(*this);
  return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

tstring& tstring::vformat(const char* fmt, va_list args) {
  va_list again;
  va_copy(again, args);
  const int n = std::vsnprintf(nullptr, 0, fmt, args);
  if (n < 0) {
    clear();
  } else {
    resize(static_cast<size_t>(n));
    std::vsnprintf(data(), static_cast<size_t>(n) + 1, fmt, again);
  }
  va_end(again);
  return *this;
}

tstring& tstring::format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vformat(fmt, args);
  va_end(args);
  return *this;
}

bool tstring::loadString(UINT id) {
  const std::string* text = om::findResourceString(id);
  if (text == nullptr) return false;
  assign(*text);
  return true;
}

int tstring::compareNoCase(const char* other) const {
  const std::string_view a(*this);
  const std::string_view b(other == nullptr ? "" : other);
  auto lower = [](unsigned char c) { return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c; };
  size_t i = 0;
  for (; i < a.size() && i < b.size(); ++i) {
    const unsigned char ca = static_cast<unsigned char>(a[i]);
    const unsigned char cb = static_cast<unsigned char>(b[i]);
    const int diff = lower(ca) - lower(cb);
    if (diff != 0) return diff;
    // Both hold the same lead byte here: the trail bytes compare exactly.
    if (om::isCp932LeadByte(ca) && i + 1 < a.size() && i + 1 < b.size()) {
      ++i;
      const int trail = static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]);
      if (trail != 0) return trail;
    }
  }
  return static_cast<int>(a.size() > i) - static_cast<int>(b.size() > i);
}

void tstring::save(vostream& out) const { out << static_cast<const std::string&>(*this); }

bool tstring::restore(vistream& in) { return static_cast<bool>(in >> static_cast<std::string&>(*this)); }
