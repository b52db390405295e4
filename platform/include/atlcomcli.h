// ATL's COM client classes: CComPtr and CComQIPtr (interface references),
// CComBSTR (an owned BSTR) and CComVariant (an owned VARIANT). Implemented in
// platform/com (target om_com).
#ifndef OM_PLATFORM_ATLCOMCLI_H_
#define OM_PLATFORM_ATLCOMCLI_H_

#include <cassert>
#include <cstddef>
#include <memory>
#include <type_traits>

#include <objbase.h>
#include <oleauto.h>

// ---- CComPtr ----------------------------------------------------------------------

// Holds one reference to an interface: copying adds a reference, destruction
// or reassignment releases it. Attach/Detach move a reference in or out
// without counting. operator& gives the slot for an output parameter and
// expects it empty.
template <class T>
class CComPtr {
 public:
  CComPtr() noexcept = default;
  CComPtr(T* lp) noexcept : p(lp) {
    if (p != nullptr) p->AddRef();
  }
  CComPtr(const CComPtr& lp) noexcept : CComPtr(lp.p) {}
  CComPtr(CComPtr&& lp) noexcept : p(lp.p) { lp.p = nullptr; }
  ~CComPtr() { Release(); }

  T* operator=(T* lp) noexcept {
    if (lp != nullptr) lp->AddRef();
    T* old = p;
    p = lp;
    if (old != nullptr) old->Release();
    return p;
  }
  T* operator=(const CComPtr& lp) noexcept { return *this = lp.p; }
  CComPtr& operator=(CComPtr&& lp) noexcept {
    if (this != std::addressof(lp)) Attach(lp.Detach());
    return *this;
  }

  operator T*() const noexcept { return p; }
  T& operator*() const noexcept { return *p; }
  T* operator->() const noexcept {
    assert(p != nullptr);
    return p;
  }
  T** operator&() noexcept {
    assert(p == nullptr);
    return &p;
  }
  bool operator!() const noexcept { return p == nullptr; }
  bool operator==(const CComPtr& other) const noexcept { return p == other.p; }
  bool operator==(T* other) const noexcept { return p == other; }
  bool operator!=(T* other) const noexcept { return p != other; }
  bool operator<(T* other) const noexcept { return p < other; }

  // Releases the reference and empties the pointer.
  void Release() noexcept {
    T* old = p;
    if (old != nullptr) {
      p = nullptr;
      old->Release();
    }
  }
  // Takes over a reference without adding one; the one held before is released.
  void Attach(T* lp) noexcept {
    T* old = p;
    p = lp;
    if (old != nullptr) old->Release();
  }
  // Gives up the reference without releasing it.
  T* Detach() noexcept {
    T* out = p;
    p = nullptr;
    return out;
  }
  // A new reference for an output parameter.
  HRESULT CopyTo(T** ppT) const noexcept {
    if (ppT == nullptr) return E_POINTER;
    *ppT = p;
    if (p != nullptr) p->AddRef();
    return S_OK;
  }
  template <class Q>
  HRESULT QueryInterface(Q** pp) const noexcept {
    assert(pp != nullptr && *pp == nullptr);
    return p->QueryInterface(om::iidOf<Q>(), reinterpret_cast<void**>(pp));
  }
  // True when both point at the same object (compared through IUnknown).
  bool IsEqualObject(IUnknown* other) const noexcept {
    if (p == nullptr || other == nullptr) return p == nullptr && other == nullptr;
    CComPtr<IUnknown> mine;
    CComPtr<IUnknown> theirs;
    p->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&mine));
    other->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&theirs));
    return mine == theirs;
  }
  HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter = nullptr,
                           DWORD dwClsContext = CLSCTX_ALL) noexcept {
    assert(p == nullptr);
    return ::CoCreateInstance(rclsid, pUnkOuter, dwClsContext, om::iidOf<T>(),
                              reinterpret_cast<void**>(&p));
  }

  T* p = nullptr;
};

// A CComPtr that takes any interface pointer by querying it for T.
template <class T, const IID* piid = &om::InterfaceId<T>::value>
class CComQIPtr : public CComPtr<T> {
 public:
  CComQIPtr() noexcept = default;
  CComQIPtr(T* lp) noexcept : CComPtr<T>(lp) {}
  CComQIPtr(const CComQIPtr& lp) noexcept : CComPtr<T>(lp.p) {}
  CComQIPtr(IUnknown* lp) noexcept
    requires(!std::is_same_v<T, IUnknown>)
  {
    if (lp != nullptr) lp->QueryInterface(*piid, reinterpret_cast<void**>(&this->p));
  }

  T* operator=(T* lp) noexcept { return CComPtr<T>::operator=(lp); }
  T* operator=(const CComQIPtr& lp) noexcept { return CComPtr<T>::operator=(lp.p); }
  T* operator=(IUnknown* lp) noexcept
    requires(!std::is_same_v<T, IUnknown>)
  {
    T* found = nullptr;
    if (lp != nullptr) lp->QueryInterface(*piid, reinterpret_cast<void**>(&found));
    this->Attach(found);
    return this->p;
  }
};

// ---- CComBSTR -----------------------------------------------------------------------

// Owns one BSTR (m_str, null for empty). Narrow text is code page 932 and is
// converted to UTF-16. Copies keep the whole length, embedded NULs included.
// Comparisons are ordinal over the whole length; a null BSTR equals "".
class CComBSTR {
 public:
  CComBSTR() noexcept = default;
  // `nSize` characters, zero-filled (or copied from `sz`).
  explicit CComBSTR(int nSize);
  CComBSTR(int nSize, LPCOLESTR sz);
  CComBSTR(LPCOLESTR pSrc);
  CComBSTR(LPCSTR pSrc);
  CComBSTR(const CComBSTR& src);
  CComBSTR(CComBSTR&& src) noexcept : m_str(src.Detach()) {}
  ~CComBSTR() { SysFreeString(m_str); }

  CComBSTR& operator=(const CComBSTR& src);
  CComBSTR& operator=(CComBSTR&& src) noexcept;
  CComBSTR& operator=(LPCOLESTR pSrc);
  CComBSTR& operator=(LPCSTR pSrc);

  unsigned int Length() const noexcept { return SysStringLen(m_str); }
  unsigned int ByteLength() const noexcept { return SysStringByteLen(m_str); }
  operator BSTR() const noexcept { return m_str; }
  // The slot for an output parameter. What it held is not freed.
  BSTR* operator&() noexcept { return &m_str; }
  bool operator!() const noexcept { return m_str == nullptr; }

  // A new BSTR with the same contents; the caller frees it.
  BSTR Copy() const;
  HRESULT CopyTo(BSTR* pbstr) const;
  void Attach(BSTR src) noexcept;
  BSTR Detach() noexcept;
  void Empty() noexcept;

  HRESULT Append(const CComBSTR& bstrSrc) { return AppendBSTR(bstrSrc.m_str); }
  HRESULT Append(LPCOLESTR lpsz);
  HRESULT Append(LPCOLESTR lpsz, int nLen);
  HRESULT Append(LPCSTR lpsz);
  HRESULT Append(OLECHAR ch) { return Append(&ch, 1); }
  HRESULT Append(char ch);
  HRESULT AppendBSTR(BSTR p) { return Append(p, static_cast<int>(SysStringLen(p))); }
  CComBSTR& operator+=(const CComBSTR& bstrSrc);
  CComBSTR& operator+=(LPCOLESTR pszSrc);

  bool operator==(const CComBSTR& other) const noexcept;
  bool operator==(LPCOLESTR other) const noexcept;
  bool operator==(LPCSTR other) const;
  bool operator==(std::nullptr_t) const noexcept { return m_str == nullptr; }
  bool operator!=(const CComBSTR& other) const noexcept { return !(*this == other); }
  bool operator!=(LPCOLESTR other) const noexcept { return !(*this == other); }
  bool operator!=(LPCSTR other) const { return !(*this == other); }
  bool operator!=(std::nullptr_t) const noexcept { return m_str != nullptr; }
  bool operator<(const CComBSTR& other) const noexcept;

  BSTR m_str = nullptr;
};

// ---- CComVariant ---------------------------------------------------------------------

// Owns one VARIANT. The constructors pick the type as on Windows: bool ->
// VT_BOOL (VARIANT_TRUE is -1), int and long -> VT_I4, short -> VT_I2, BYTE
// -> VT_UI1, char -> VT_I1, unsigned short -> VT_UI2, unsigned int and
// unsigned long -> VT_UI4, long long -> VT_I8, float -> VT_R4, double ->
// VT_R8, text -> VT_BSTR (narrow text is code page 932), IUnknown* ->
// VT_UNKNOWN (AddRef'd), SAFEARRAY* -> VT_ARRAY|type (a copy). long is 32
// bits on Windows but 64 here (and LONGLONG is long): a long value beyond 32
// bits becomes VT_I8 (VT_UI8) instead of being cut. When a copy cannot be
// made the variant holds VT_ERROR with the HRESULT in scode.
class CComVariant : public tagVARIANT {
 public:
  CComVariant() noexcept { ::VariantInit(this); }
  CComVariant(const VARIANT& varSrc);
  CComVariant(const CComVariant& varSrc) : CComVariant(static_cast<const VARIANT&>(varSrc)) {}
  CComVariant(CComVariant&& varSrc) noexcept;
  CComVariant(LPCOLESTR lpszSrc);
  CComVariant(LPCSTR lpszSrc);
  CComVariant(bool bSrc) noexcept;
  CComVariant(int nSrc, VARTYPE vtSrc = VT_I4) noexcept;  // VT_I4 or VT_INT
  CComVariant(long nSrc, VARTYPE vtSrc = VT_I4) noexcept;  // VT_I4 or VT_ERROR
  CComVariant(long long nSrc) noexcept;
  CComVariant(BYTE nSrc) noexcept;
  CComVariant(char cSrc) noexcept;
  CComVariant(short nSrc) noexcept;
  CComVariant(unsigned short nSrc) noexcept;
  CComVariant(unsigned int nSrc, VARTYPE vtSrc = VT_UI4) noexcept;  // VT_UI4 or VT_UINT
  CComVariant(unsigned long nSrc) noexcept;
  CComVariant(unsigned long long nSrc) noexcept;
  CComVariant(float fltSrc) noexcept;
  CComVariant(double dblSrc, VARTYPE vtSrc = VT_R8) noexcept;  // VT_R8 or VT_DATE
  CComVariant(IUnknown* pSrc) noexcept;
  CComVariant(const SAFEARRAY* pSrc);
  ~CComVariant() { Clear(); }

  // Each assignment frees what the variant held and takes the new value as
  // the matching constructor would.
  CComVariant& operator=(const CComVariant& varSrc);
  CComVariant& operator=(const VARIANT& varSrc);
  CComVariant& operator=(CComVariant&& varSrc) noexcept;
  template <class V>
    requires(!std::is_base_of_v<tagVARIANT, std::remove_cvref_t<V>> &&
             std::is_constructible_v<CComVariant, V>)
  CComVariant& operator=(V&& value) {
    CComVariant fresh(static_cast<V&&>(value));
    return *this = static_cast<CComVariant&&>(fresh);
  }

  // Same type and value. Strings compare over their whole length; interfaces
  // by pointer; arrays only when they are the same array.
  bool operator==(const VARIANT& other) const noexcept;
  bool operator==(const CComVariant& other) const noexcept { return *this == static_cast<const VARIANT&>(other); }
  bool operator!=(const VARIANT& other) const noexcept { return !(*this == other); }
  bool operator!=(const CComVariant& other) const noexcept { return !(*this == other); }

  HRESULT Clear() { return ::VariantClear(this); }
  HRESULT Copy(const VARIANT* pSrc) { return ::VariantCopy(this, pSrc); }
  // Takes the contents of *pSrc, which is left VT_EMPTY.
  HRESULT Attach(VARIANT* pSrc);
  // Moves the contents into *pDest (whose old contents are freed); this
  // variant is left VT_EMPTY.
  HRESULT Detach(VARIANT* pDest);
  // Converts *pSrc (this variant when null) to vtNew in place, as
  // VariantChangeType does.
  HRESULT ChangeType(VARTYPE vtNew, const VARIANT* pSrc = nullptr);
};

#endif  // OM_PLATFORM_ATLCOMCLI_H_
