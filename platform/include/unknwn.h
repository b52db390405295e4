// IUnknown and IClassFactory, and the link from an interface type to its IID
// (om::InterfaceId), which smart pointers and om::ComObject use where Windows
// code would write __uuidof.
#ifndef OM_PLATFORM_UNKNWN_H_
#define OM_PLATFORM_UNKNWN_H_

#include <type_traits>

#include <wtypes.h>

namespace om {

// Specialised for each interface (OM_INTERFACE_ID) with `value`, its IID, and
// `Interface`, the interface type a pointer for that IID has.
template <class T>
struct InterfaceId;

template <class T>
constexpr const IID& iidOf() {
  return InterfaceId<std::remove_cv_t<T>>::value;
}

}  // namespace om

#define OM_INTERFACE_ID(interfaceType, iid)          \
  template <>                                        \
  struct om::InterfaceId<interfaceType> {            \
    using Interface = interfaceType;                 \
    static constexpr const IID& value = iid;         \
  }

// The IID of the pointer's interface and the pointer as void**, for
// QueryInterface and CoCreateInstance.
#define IID_PPV_ARGS(pp) \
  om::iidOf<std::remove_pointer_t<std::remove_reference_t<decltype(*(pp))>>>(), reinterpret_cast<void**>(pp)

DEFINE_GUID(IID_IUnknown, 0x00000000, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46);
DEFINE_GUID(IID_IClassFactory, 0x00000001, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46);

// The root of every COM interface: identity and reference counting. An object
// is destroyed when its last reference is released.
struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

  template <class Q>
  HRESULT STDMETHODCALLTYPE QueryInterface(Q** pp) {
    return QueryInterface(om::iidOf<Q>(), reinterpret_cast<void**>(pp));
  }
};
typedef IUnknown* LPUNKNOWN;
OM_INTERFACE_ID(IUnknown, IID_IUnknown);

// Makes the objects of one class; CoCreateInstance goes through it.
struct IClassFactory : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};
typedef IClassFactory* LPCLASSFACTORY;
OM_INTERFACE_ID(IClassFactory, IID_IClassFactory);

#endif  // OM_PLATFORM_UNKNWN_H_
