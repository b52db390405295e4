// The one conversion module: code page 932, UTF-16LE and UTF-8 through iconv.
#include <errno.h>
#include <iconv.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include <om/codepage.h>
#include <windows.h>

namespace om {
namespace {

enum class Encoding { kCp932, kUtf8, kUtf16 };

const char* iconvName(Encoding e) {
  switch (e) {
    case Encoding::kCp932: return "CP932";
    case Encoding::kUtf8: return "UTF-8";
    case Encoding::kUtf16: return "UTF-16LE";
  }
  return "";
}

// Bytes to skip over one character that cannot be converted.
size_t badCharLength(Encoding from, const char* p, size_t left) {
  switch (from) {
    case Encoding::kCp932:
      return (isCp932LeadByte(static_cast<unsigned char>(*p)) && left >= 2) ? 2 : 1;
    case Encoding::kUtf16: return left >= 2 ? 2 : left;
    case Encoding::kUtf8: return 1;
  }
  return 1;
}

// The replacement character, in the target encoding.
std::string replacement(Encoding from, Encoding to) {
  if (to == Encoding::kCp932) return "?";
  const char16_t r = from == Encoding::kCp932 ? u'\u30FB' : u'\uFFFD';
  if (to == Encoding::kUtf16) return std::string{static_cast<char>(r & 0xFF), static_cast<char>(r >> 8)};
  return from == Encoding::kCp932 ? "\xE3\x83\xBB" : "\xEF\xBF\xBD";
}

// iconv descriptors are not thread-safe; each thread keeps its own.
iconv_t descriptor(Encoding from, Encoding to) {
  struct Closer {
    void operator()(void* cd) const { iconv_close(static_cast<iconv_t>(cd)); }
  };
  thread_local std::map<std::pair<Encoding, Encoding>, std::unique_ptr<void, Closer>> cache;
  auto& slot = cache[{from, to}];
  if (!slot) slot.reset(iconv_open(iconvName(to), iconvName(from)));
  return static_cast<iconv_t>(slot.get());
}

// ASCII reads the same in all three encodings, so ASCII text (the usual
// name or key) is widened or narrowed without iconv. False, with `out`
// untouched, when `in` holds anything else.
bool convertAscii(Encoding from, Encoding to, std::string_view in, std::string& out) {
  const auto ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (from == Encoding::kUtf16) {
    if (in.size() % 2 != 0) return false;
    for (size_t i = 0; i < in.size(); i += 2) {
      if (!ascii(in[i]) || in[i + 1] != '\0') return false;
    }
    if (to == Encoding::kUtf16) {
      out.assign(in);
      return true;
    }
    out.resize(in.size() / 2);
    for (size_t i = 0; i < out.size(); ++i) out[i] = in[2 * i];
    return true;
  }
  if (!std::all_of(in.begin(), in.end(), ascii)) return false;
  if (to != Encoding::kUtf16) {
    out.assign(in);
    return true;
  }
  out.assign(in.size() * 2, '\0');
  for (size_t i = 0; i < in.size(); ++i) out[2 * i] = in[i];
  return true;
}

// Converts `in`, putting `repl` in place of each character that cannot be
// converted; `exact` tells whether that happened.
std::string convert(Encoding from, Encoding to, std::string_view in, std::string_view repl, bool* exact) {
  if (exact != nullptr) *exact = true;
  std::string out;
  if (in.empty() || convertAscii(from, to, in, out)) return out;
  iconv_t cd = descriptor(from, to);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  out.resize(in.size() * 4 + 8);
  char* src = const_cast<char*>(in.data());
  size_t srcLeft = in.size();
  size_t used = 0;
  while (srcLeft > 0) {
    char* dst = out.data() + used;
    size_t dstLeft = out.size() - used;
    const size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    used = out.size() - dstLeft;
    if (rc != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    // EILSEQ or EINVAL: replace one character and go on.
    if (exact != nullptr) *exact = false;
    if (out.size() - used < repl.size()) out.resize(out.size() * 2 + repl.size());
    std::memcpy(out.data() + used, repl.data(), repl.size());
    used += repl.size();
    const size_t skip = badCharLength(from, src, srcLeft);
    src += skip;
    srcLeft -= skip;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  out.resize(used);
  return out;
}

std::string convert(Encoding from, Encoding to, std::string_view in) {
  return convert(from, to, in, replacement(from, to), nullptr);
}

std::string_view bytesOf(std::u16string_view s) {
  return {reinterpret_cast<const char*>(s.data()), s.size() * sizeof(char16_t)};
}

std::u16string unitsOf(const std::string& bytes) {
  std::u16string s(bytes.size() / 2, u'\0');
  std::memcpy(s.data(), bytes.data(), s.size() * 2);
  return s;
}

bool encodingOf(UINT codePage, Encoding& e) {
  switch (codePage) {
    case CP_ACP:
    case CP_OEMCP:
    case 932: e = Encoding::kCp932; return true;
    case CP_UTF8: e = Encoding::kUtf8; return true;
    default: return false;
  }
}

// Copies `result` (of `units` elements) into a caller's buffer the Win32 way:
// size 0 asks for the length; a short buffer fails.
template <class Char>
int deliver(const Char* result, size_t units, Char* buffer, int bufferCount) {
  if (bufferCount == 0) return static_cast<int>(units);
  if (buffer == nullptr || static_cast<size_t>(bufferCount) < units) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::memcpy(buffer, result, units * sizeof(Char));
  return static_cast<int>(units);
}

}  // namespace

std::u16string cp932ToUtf16(std::string_view t) { return unitsOf(convert(Encoding::kCp932, Encoding::kUtf16, t)); }
std::string utf16ToCp932(std::u16string_view t) { return convert(Encoding::kUtf16, Encoding::kCp932, bytesOf(t)); }
std::string cp932ToUtf8(std::string_view t) { return convert(Encoding::kCp932, Encoding::kUtf8, t); }
std::string utf8ToCp932(std::string_view t) { return convert(Encoding::kUtf8, Encoding::kCp932, t); }
std::u16string utf8ToUtf16(std::string_view t) { return unitsOf(convert(Encoding::kUtf8, Encoding::kUtf16, t)); }
std::string utf16ToUtf8(std::u16string_view t) { return convert(Encoding::kUtf16, Encoding::kUtf8, bytesOf(t)); }

}  // namespace om

BOOL IsDBCSLeadByteEx(UINT codePage, BYTE testChar) {
  om::Encoding e;
  return om::encodingOf(codePage, e) && e == om::Encoding::kCp932 && om::isCp932LeadByte(testChar);
}

BOOL IsDBCSLeadByte(BYTE testChar) { return om::isCp932LeadByte(testChar); }

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR mb, int mbCount, LPWSTR wide, int wideCount) {
  om::Encoding from;
  if (mb == nullptr || mbCount == 0 || mbCount < -1 || wideCount < 0 || !om::encodingOf(codePage, from)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const size_t n = mbCount == -1 ? std::strlen(mb) + 1 : static_cast<size_t>(mbCount);
  bool exact = true;
  const std::u16string out = om::unitsOf(
      om::convert(from, om::Encoding::kUtf16, {mb, n}, om::replacement(from, om::Encoding::kUtf16), &exact));
  if (!exact && (flags & MB_ERR_INVALID_CHARS)) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
  }
  return om::deliver(out.data(), out.size(), wide, wideCount);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideCount, LPSTR mb, int mbCount,
                        LPCSTR defaultChar, LPBOOL usedDefaultChar) {
  om::Encoding to;
  if (wide == nullptr || wideCount == 0 || wideCount < -1 || mbCount < 0 || !om::encodingOf(codePage, to)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  size_t n = 0;
  if (wideCount == -1) {
    while (wide[n] != 0) ++n;
    ++n;
  } else {
    n = static_cast<size_t>(wideCount);
  }
  // The caller's default character applies to code page 932 only, as on Windows.
  const std::string repl = (to == om::Encoding::kCp932 && defaultChar != nullptr)
                               ? std::string(1, *defaultChar)
                               : om::replacement(om::Encoding::kUtf16, to);
  bool exact = true;
  const std::string out = om::convert(om::Encoding::kUtf16, to, om::bytesOf({wide, n}), repl, &exact);
  if (!exact && to == om::Encoding::kUtf8 && (flags & WC_ERR_INVALID_CHARS)) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
  }
  if (usedDefaultChar != nullptr) *usedDefaultChar = exact ? FALSE : TRUE;
  return om::deliver(out.data(), out.size(), mb, mbCount);
}
