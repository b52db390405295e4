// Building blocks for implementing COM interfaces: ComObject gives a class
// QueryInterface over the interfaces it lists and thread-safe reference
// counting; ComClassFactory makes instances of such a class for
// CoCreateInstance.
#ifndef OM_PLATFORM_OM_COMOBJECT_H_
#define OM_PLATFORM_OM_COMOBJECT_H_

#include <atomic>
#include <new>
#include <tuple>

#include <objbase.h>

namespace om {

namespace detail {
inline std::atomic<long> liveComObjects{0};
}  // namespace detail

// The number of ComObject objects alive in the process; tests use it to find
// reference leaks.
inline long comObjectCount() { return detail::liveComObjects.load(); }

// Base of a class implementing `Interfaces` (each with an om::InterfaceId,
// or an implementation class whose InterfaceId names the interface it
// implements). A new object holds one reference, owned by whoever created it
// with `new`; the last Release deletes it. IUnknown is answered through the
// first interface, so every QueryInterface for it gives the same pointer.
//
//   class Locator : public om::ComObject<IWbemLocator, om::ProxyBlanketHolder> { ... };
template <class... Interfaces>
class ComObject : public Interfaces... {
  static_assert(sizeof...(Interfaces) > 0, "a COM object implements at least one interface");

 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
    if (ppvObject == nullptr) return E_POINTER;
    *ppvObject = find(riid);
    if (*ppvObject == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  ComObject() { detail::liveComObjects.fetch_add(1, std::memory_order_relaxed); }
  virtual ~ComObject() { detail::liveComObjects.fetch_sub(1, std::memory_order_relaxed); }

 private:
  using First = std::tuple_element_t<0, std::tuple<Interfaces...>>;

  void* find(REFIID riid) {
    if (IsEqualIID(riid, IID_IUnknown)) return static_cast<IUnknown*>(static_cast<First*>(this));
    void* found = nullptr;
    ((found == nullptr && IsEqualIID(riid, InterfaceId<Interfaces>::value)
          ? (found = static_cast<typename InterfaceId<Interfaces>::Interface*>(static_cast<Interfaces*>(this)))
          : nullptr),
     ...);
    return found;
  }

  std::atomic<ULONG> refs_{1};
};

// A class factory for a default-constructible ComObject class T. Aggregation
// is refused (CLASS_E_NOAGGREGATION). LockServer has nothing to keep loaded
// in-process and only succeeds.
template <class T>
class ComClassFactory final : public ComObject<IClassFactory> {
 public:
  ComClassFactory() = default;

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) override {
    if (ppvObject == nullptr) return E_POINTER;
    *ppvObject = nullptr;
    if (pUnkOuter != nullptr) return CLASS_E_NOAGGREGATION;
    T* object = new (std::nothrow) T();
    if (object == nullptr) return E_OUTOFMEMORY;
    const HRESULT hr = object->QueryInterface(riid, ppvObject);
    object->Release();
    return hr;
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace om

#endif  // OM_PLATFORM_OM_COMOBJECT_H_
