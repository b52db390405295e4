#include <atlcomcli.h>

#include <memory>
#include <string>
#include <string_view>

#include <om/codepage.h>

namespace {

// The text of a BSTR over its whole length; a null BSTR is empty.
std::u16string_view textOf(BSTR text) { return std::u16string_view(text, SysStringLen(text)); }

std::u16string_view textOf(LPCOLESTR text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

BSTR allocate(std::u16string_view text) { return SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); }

BSTR fromNarrow(LPCSTR text) { return text == nullptr ? nullptr : allocate(om::cp932ToUtf16(text)); }

}  // namespace

CComBSTR::CComBSTR(int nSize) : m_str(nSize > 0 ? SysAllocStringLen(nullptr, static_cast<UINT>(nSize)) : nullptr) {}

CComBSTR::CComBSTR(int nSize, LPCOLESTR sz)
    : m_str(nSize > 0 ? SysAllocStringLen(sz, static_cast<UINT>(nSize)) : nullptr) {}

CComBSTR::CComBSTR(LPCOLESTR pSrc) : m_str(SysAllocString(pSrc)) {}

CComBSTR::CComBSTR(LPCSTR pSrc) : m_str(fromNarrow(pSrc)) {}

CComBSTR::CComBSTR(const CComBSTR& src) : m_str(src.Copy()) {}

CComBSTR& CComBSTR::operator=(const CComBSTR& src) {
  if (this != std::addressof(src)) Attach(src.Copy());
  return *this;
}

CComBSTR& CComBSTR::operator=(CComBSTR&& src) noexcept {
  if (this != std::addressof(src)) Attach(src.Detach());
  return *this;
}

CComBSTR& CComBSTR::operator=(LPCOLESTR pSrc) {
  if (pSrc != m_str) Attach(SysAllocString(pSrc));
  return *this;
}

CComBSTR& CComBSTR::operator=(LPCSTR pSrc) {
  Attach(fromNarrow(pSrc));
  return *this;
}

BSTR CComBSTR::Copy() const {
  if (m_str == nullptr) return nullptr;
  return SysAllocStringByteLen(reinterpret_cast<LPCSTR>(m_str), ByteLength());
}

HRESULT CComBSTR::CopyTo(BSTR* pbstr) const {
  if (pbstr == nullptr) return E_POINTER;
  *pbstr = Copy();
  return (*pbstr == nullptr && m_str != nullptr) ? E_OUTOFMEMORY : S_OK;
}

void CComBSTR::Attach(BSTR src) noexcept {
  if (m_str == src) return;
  SysFreeString(m_str);
  m_str = src;
}

BSTR CComBSTR::Detach() noexcept {
  BSTR out = m_str;
  m_str = nullptr;
  return out;
}

void CComBSTR::Empty() noexcept { Attach(nullptr); }

HRESULT CComBSTR::Append(LPCOLESTR lpsz) { return Append(lpsz, static_cast<int>(textOf(lpsz).size())); }

HRESULT CComBSTR::Append(LPCOLESTR lpsz, int nLen) {
  if (nLen < 0) return E_INVALIDARG;
  if (lpsz == nullptr) return S_OK;
  const UINT length = Length();
  BSTR joined = SysAllocStringLen(nullptr, length + static_cast<UINT>(nLen));
  if (joined == nullptr) return E_OUTOFMEMORY;
  // lpsz may point into m_str: copy both before the old string is freed.
  std::char_traits<OLECHAR>::copy(joined, textOf(m_str).data(), length);
  std::char_traits<OLECHAR>::copy(joined + length, lpsz, static_cast<size_t>(nLen));
  Attach(joined);
  return S_OK;
}

HRESULT CComBSTR::Append(LPCSTR lpsz) {
  if (lpsz == nullptr) return S_OK;
  const std::u16string wide = om::cp932ToUtf16(lpsz);
  return Append(wide.data(), static_cast<int>(wide.size()));
}

HRESULT CComBSTR::Append(char ch) {
  const char text[2] = {ch, '\0'};
  return Append(text);
}

CComBSTR& CComBSTR::operator+=(const CComBSTR& bstrSrc) {
  Append(bstrSrc);
  return *this;
}

CComBSTR& CComBSTR::operator+=(LPCOLESTR pszSrc) {
  Append(pszSrc);
  return *this;
}

bool CComBSTR::operator==(const CComBSTR& other) const noexcept { return textOf(m_str) == textOf(other.m_str); }

bool CComBSTR::operator==(LPCOLESTR other) const noexcept { return textOf(m_str) == textOf(other); }

bool CComBSTR::operator==(LPCSTR other) const {
  return textOf(m_str) == (other == nullptr ? std::u16string() : om::cp932ToUtf16(other));
}

bool CComBSTR::operator<(const CComBSTR& other) const noexcept { return textOf(m_str) < textOf(other.m_str); }
