// The process's registry of class objects, behind CoCreateInstance.
#include <mutex>
#include <vector>

#include <objbase.h>

#include <om/ComRuntime.h>

#include "Apartment.h"

namespace {

struct Registration {
  CLSID clsid;
  IUnknown* object;  // one reference, released on revocation
  DWORD context;
  DWORD cookie;
  bool singleUse;
  bool used;  // a single-use registration that has served its caller
};

// Factories are released outside the lock: their Release may call back in.
class ClassTable {
 public:
  HRESULT add(REFCLSID clsid, IUnknown* object, DWORD context, bool singleUse, DWORD* cookie) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const Registration& r : entries_) {
      if (IsEqualCLSID(r.clsid, clsid) && !r.used) return CO_E_OBJISREG;
    }
    object->AddRef();
    entries_.push_back({clsid, object, context, nextCookie_, singleUse, false});
    if (cookie != nullptr) *cookie = nextCookie_;
    ++nextCookie_;
    return S_OK;
  }

  // The class object for a request in `context`, with a new reference.
  IUnknown* find(REFCLSID clsid, DWORD context) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (Registration& r : entries_) {
      if (!IsEqualCLSID(r.clsid, clsid) || r.used || (r.context & context) == 0) continue;
      if (r.singleUse) r.used = true;
      r.object->AddRef();
      return r.object;
    }
    return nullptr;
  }

  template <class Match>
  HRESULT remove(Match match) {
    IUnknown* object = nullptr;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        if (!match(*it)) continue;
        object = it->object;
        entries_.erase(it);
        break;
      }
    }
    if (object == nullptr) return CO_E_OBJNOTREG;
    object->Release();
    return S_OK;
  }

 private:
  std::mutex mutex_;
  std::vector<Registration> entries_;
  DWORD nextCookie_ = 1;
};

// Never destroyed, so that objects released late in the process's exit can
// still revoke their classes.
ClassTable& classTable() {
  static ClassTable* table = new ClassTable;
  return *table;
}

}  // namespace

HRESULT om::registerClassObject(REFCLSID clsid, IClassFactory* factory, DWORD* cookie) {
  if (factory == nullptr) return E_INVALIDARG;
  return classTable().add(clsid, factory, CLSCTX_ALL, false, cookie);
}

HRESULT om::revokeClassObject(REFCLSID clsid) {
  return classTable().remove([&](const Registration& r) { return IsEqualCLSID(r.clsid, clsid) && !r.used; });
}

HRESULT CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD flags,
                              LPDWORD lpdwRegister) {
  if (pUnk == nullptr || lpdwRegister == nullptr || (flags & REGCLS_SUSPENDED) != 0) return E_INVALIDARG;
  *lpdwRegister = 0;
  if (!om::com::comInitialised()) return CO_E_NOTINITIALIZED;
  const bool singleUse = (flags & (REGCLS_MULTIPLEUSE | REGCLS_MULTI_SEPARATE)) == 0;
  return classTable().add(rclsid, pUnk, dwClsContext, singleUse, lpdwRegister);
}

HRESULT CoRevokeClassObject(DWORD dwRegister) {
  return classTable().remove([&](const Registration& r) { return r.cookie == dwRegister; });
}

HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, COSERVERINFO*, REFIID riid, LPVOID* ppv) {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  if (!om::com::comInitialised()) return CO_E_NOTINITIALIZED;
  IUnknown* object = classTable().find(rclsid, dwClsContext);
  if (object == nullptr) return REGDB_E_CLASSNOTREG;
  const HRESULT hr = object->QueryInterface(riid, ppv);
  object->Release();
  return hr;
}

HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv) {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  IClassFactory* factory = nullptr;
  HRESULT hr = CoGetClassObject(rclsid, dwClsContext, nullptr, IID_IClassFactory,
                                reinterpret_cast<void**>(&factory));
  if (FAILED(hr)) return hr;
  hr = factory->CreateInstance(pUnkOuter, riid, ppv);
  factory->Release();
  if (FAILED(hr)) *ppv = nullptr;
  return hr;
}
