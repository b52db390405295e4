// CString: narrow code page 932 text over std::string.
#include <afx.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include <om/StringTable.h>
#include <om/codepage.h>

namespace {

bool isAsciiSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
char asciiUpper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// Calls `visit(i)` at the start of each character of `s` from byte `start`
// until it returns true; returns that index, or npos.
template <class Visit>
size_t scanCharacters(const std::string& s, size_t start, Visit visit) {
  for (size_t i = start; i < s.size(); i += om::cp932CharLength(s, i)) {
    if (visit(i)) return i;
  }
  return std::string::npos;
}

// Applies `change` to every single-byte character, leaving double-byte
// characters alone.
template <class Change>
void mapSingleBytes(std::string& s, Change change) {
  scanCharacters(s, 0, [&](size_t i) {
    if (om::cp932CharLength(s, i) == 1) s[i] = change(s[i]);
    return false;
  });
}

int toIndex(size_t pos) { return pos == std::string::npos ? -1 : static_cast<int>(pos); }

int sign(int v) { return (v > 0) - (v < 0); }

}  // namespace

CString::CString(LPCSTR psz) : m_str(psz == nullptr ? "" : psz) {}

CString::CString(LPCSTR pch, int nLength) {
  if (pch != nullptr && nLength > 0) m_str.assign(pch, static_cast<size_t>(nLength));
}

CString::CString(LPCWSTR pwsz) {
  if (pwsz != nullptr) m_str = om::utf16ToCp932(pwsz);
}

CString::CString(char ch, int nRepeat) : m_str(static_cast<size_t>(std::max(nRepeat, 0)), ch) {}

CString& CString::operator=(LPCSTR psz) {
  m_str = psz == nullptr ? "" : psz;
  return *this;
}

CString& CString::operator=(char ch) {
  m_str.assign(1, ch);
  return *this;
}

CString& CString::operator+=(const CString& s) {
  m_str += s.m_str;
  return *this;
}

CString& CString::operator+=(LPCSTR psz) {
  if (psz != nullptr) m_str += psz;
  return *this;
}

CString& CString::operator+=(char ch) {
  m_str += ch;
  return *this;
}

int CString::Compare(LPCTSTR psz) const {
  return sign(std::strcmp(m_str.c_str(), psz == nullptr ? "" : psz));
}

int CString::CompareNoCase(LPCTSTR psz) const {
  const unsigned char* a = reinterpret_cast<const unsigned char*>(m_str.c_str());
  const unsigned char* b = reinterpret_cast<const unsigned char*>(psz == nullptr ? "" : psz);
  while (*a != 0 || *b != 0) {
    // Inside a double-byte character both bytes compare exactly.
    const bool doubleByte = om::isCp932LeadByte(*a) && a[1] != 0;
    const int ca = doubleByte ? *a : static_cast<unsigned char>(asciiLower(static_cast<char>(*a)));
    const int cb = doubleByte ? *b : static_cast<unsigned char>(asciiLower(static_cast<char>(*b)));
    if (ca != cb) return ca < cb ? -1 : 1;
    if (doubleByte) {
      if (a[1] != b[1]) return a[1] < b[1] ? -1 : 1;
      a += 2;
      b += 2;
    } else {
      ++a;
      ++b;
    }
  }
  return 0;
}

CString CString::Mid(int nFirst) const { return Mid(nFirst, GetLength()); }

CString CString::Mid(int nFirst, int nCount) const {
  const int length = GetLength();
  nFirst = std::clamp(nFirst, 0, length);
  nCount = std::clamp(nCount, 0, length - nFirst);
  return CString(m_str.data() + nFirst, nCount);
}

CString CString::Left(int nCount) const { return Mid(0, nCount); }

CString CString::Right(int nCount) const {
  nCount = std::clamp(nCount, 0, GetLength());
  return Mid(GetLength() - nCount, nCount);
}

int CString::Find(char ch, int nStart) const {
  if (nStart < 0 || nStart >= GetLength()) return -1;
  return toIndex(scanCharacters(m_str, static_cast<size_t>(nStart), [&](size_t i) {
    return om::cp932CharLength(m_str, i) == 1 && m_str[i] == ch;
  }));
}

int CString::Find(LPCTSTR pszSub, int nStart) const {
  if (pszSub == nullptr || nStart < 0 || nStart > GetLength()) return -1;
  const std::string_view sub(pszSub);
  if (sub.empty()) return nStart;
  return toIndex(scanCharacters(m_str, static_cast<size_t>(nStart), [&](size_t i) {
    return m_str.compare(i, sub.size(), sub) == 0;
  }));
}

int CString::ReverseFind(char ch) const {
  size_t found = std::string::npos;
  scanCharacters(m_str, 0, [&](size_t i) {
    if (om::cp932CharLength(m_str, i) == 1 && m_str[i] == ch) found = i;
    return false;
  });
  return toIndex(found);
}

int CString::FindOneOf(LPCTSTR pszCharSet) const {
  if (pszCharSet == nullptr) return -1;
  const std::string_view set(pszCharSet);
  return toIndex(scanCharacters(m_str, 0, [&](size_t i) {
    return om::cp932CharLength(m_str, i) == 1 && set.find(m_str[i]) != std::string_view::npos;
  }));
}

CString& CString::MakeUpper() {
  mapSingleBytes(m_str, asciiUpper);
  return *this;
}

CString& CString::MakeLower() {
  mapSingleBytes(m_str, asciiLower);
  return *this;
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimLeft() {
  const auto first = std::find_if_not(m_str.begin(), m_str.end(), isAsciiSpace);
  m_str.erase(m_str.begin(), first);
  return *this;
}

CString& CString::TrimRight() {
  // Stops at the last character that is not a space; a trail byte that looks
  // like a space belongs to the character before it.
  size_t keep = 0;
  scanCharacters(m_str, 0, [&](size_t i) {
    const size_t len = om::cp932CharLength(m_str, i);
    if (len == 2 || !isAsciiSpace(m_str[i])) keep = i + len;
    return false;
  });
  m_str.resize(keep);
  return *this;
}

CString& CString::Trim(char chTarget) { return TrimRight(chTarget).TrimLeft(chTarget); }

CString& CString::TrimLeft(char chTarget) {
  m_str.erase(0, std::min(m_str.find_first_not_of(chTarget), m_str.size()));
  return *this;
}

CString& CString::TrimRight(char chTarget) {
  size_t keep = 0;
  scanCharacters(m_str, 0, [&](size_t i) {
    const size_t len = om::cp932CharLength(m_str, i);
    if (len == 2 || m_str[i] != chTarget) keep = i + len;
    return false;
  });
  m_str.resize(keep);
  return *this;
}

int CString::Replace(char chOld, char chNew) {
  int count = 0;
  mapSingleBytes(m_str, [&](char c) {
    if (c != chOld) return c;
    ++count;
    return chNew;
  });
  return count;
}

int CString::Replace(LPCTSTR pszOld, LPCTSTR pszNew) {
  if (pszOld == nullptr || *pszOld == '\0') return 0;
  const std::string_view from(pszOld);
  const std::string_view to(pszNew == nullptr ? "" : pszNew);
  std::string result;
  int count = 0;
  size_t i = 0;
  while (i < m_str.size()) {
    if (m_str.compare(i, from.size(), from) == 0) {
      result += to;
      i += from.size();
      ++count;
    } else {
      const size_t len = om::cp932CharLength(m_str, i);
      result.append(m_str, i, len);
      i += len;
    }
  }
  m_str.swap(result);
  return count;
}

int CString::Remove(char ch) {
  std::string result;
  scanCharacters(m_str, 0, [&](size_t i) {
    const size_t len = om::cp932CharLength(m_str, i);
    if (len == 2 || m_str[i] != ch) result.append(m_str, i, len);
    return false;
  });
  const int removed = GetLength() - static_cast<int>(result.size());
  m_str.swap(result);
  return removed;
}

int CString::Insert(int nIndex, char ch) { return Insert(nIndex, CString(ch).GetString()); }

int CString::Insert(int nIndex, LPCTSTR psz) {
  if (psz != nullptr) m_str.insert(static_cast<size_t>(std::clamp(nIndex, 0, GetLength())), psz);
  return GetLength();
}

int CString::Delete(int nIndex, int nCount) {
  if (nIndex >= 0 && nIndex < GetLength() && nCount > 0) {
    m_str.erase(static_cast<size_t>(nIndex), static_cast<size_t>(nCount));
  }
  return GetLength();
}

void CString::Format(LPCTSTR pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  FormatV(pszFormat, args);
  va_end(args);
}

void CString::AppendFormat(LPCTSTR pszFormat, ...) {
  CString tail;
  va_list args;
  va_start(args, pszFormat);
  tail.FormatV(pszFormat, args);
  va_end(args);
  m_str += tail.m_str;
}

void CString::FormatV(LPCTSTR pszFormat, va_list args) {
  va_list copy;
  va_copy(copy, args);
  const int needed = std::vsnprintf(nullptr, 0, pszFormat, copy);
  va_end(copy);
  if (needed <= 0) {
    m_str.clear();
    return;
  }
  std::vector<char> buffer(static_cast<size_t>(needed) + 1);
  std::vsnprintf(buffer.data(), buffer.size(), pszFormat, args);
  m_str.assign(buffer.data(), static_cast<size_t>(needed));
}

BOOL CString::LoadString(UINT nID) {
  const std::string* text = om::findResourceString(nID);
  if (text == nullptr) return FALSE;
  m_str = *text;
  return TRUE;
}

LPTSTR CString::GetBuffer(int nMinBufLength) {
  if (nMinBufLength > GetLength()) m_str.resize(static_cast<size_t>(nMinBufLength));
  return m_str.data();
}

LPTSTR CString::GetBufferSetLength(int nNewLength) {
  m_str.resize(static_cast<size_t>(std::max(nNewLength, 0)));
  return m_str.data();
}

void CString::ReleaseBuffer(int nNewLength) {
  m_str.resize(nNewLength < 0 ? std::strlen(m_str.c_str()) : static_cast<size_t>(nNewLength));
}

CString AFXAPI operator+(const CString& a, const CString& b) {
  CString result(a);
  return result += b;
}

CString AFXAPI operator+(const CString& a, LPCTSTR b) {
  CString result(a);
  return result += b;
}

CString AFXAPI operator+(LPCTSTR a, const CString& b) {
  CString result(a);
  return result += b;
}

CString AFXAPI operator+(const CString& a, char b) {
  CString result(a);
  return result += b;
}

CString AFXAPI operator+(char a, const CString& b) {
  CString result(a);
  return result += b;
}
