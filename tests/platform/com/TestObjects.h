// Small COM classes shared by the COM tests.
#ifndef OM_TESTS_PLATFORM_COM_TESTOBJECTS_H_
#define OM_TESTS_PLATFORM_COM_TESTOBJECTS_H_

#include <objbase.h>

#include <om/ComObject.h>
#include <om/ProxyBlanket.h>

namespace comtest {

// {0B7E3C51-9A42-4F0E-8D1B-6C2A5E9F1001}
DEFINE_GUID(IID_IValue, 0x0B7E3C51, 0x9A42, 0x4F0E, 0x8D, 0x1B, 0x6C, 0x2A, 0x5E, 0x9F, 0x10, 0x01);
// {0B7E3C51-9A42-4F0E-8D1B-6C2A5E9F1002}
DEFINE_GUID(IID_INamed, 0x0B7E3C51, 0x9A42, 0x4F0E, 0x8D, 0x1B, 0x6C, 0x2A, 0x5E, 0x9F, 0x10, 0x02);
// {0B7E3C51-9A42-4F0E-8D1B-6C2A5E9F1003}
DEFINE_GUID(CLSID_Value, 0x0B7E3C51, 0x9A42, 0x4F0E, 0x8D, 0x1B, 0x6C, 0x2A, 0x5E, 0x9F, 0x10, 0x03);

struct IValue : public IUnknown {
  virtual int STDMETHODCALLTYPE value() = 0;
};
struct INamed : public IUnknown {
  virtual const char* STDMETHODCALLTYPE name() = 0;
};

}  // namespace comtest

OM_INTERFACE_ID(comtest::IValue, comtest::IID_IValue);
OM_INTERFACE_ID(comtest::INamed, comtest::IID_INamed);

namespace comtest {

class Value final : public om::ComObject<IValue, INamed> {
 public:
  Value() = default;
  explicit Value(int v) : value_(v) {}
  int STDMETHODCALLTYPE value() override { return value_; }
  const char* STDMETHODCALLTYPE name() override { return "value"; }

 private:
  int value_ = 42;
};

// An object that can carry a security blanket.
class Proxy final : public om::ComObject<IValue, om::ProxyBlanketHolder> {
 public:
  int STDMETHODCALLTYPE value() override { return 7; }
};

// The object's reference count, observed without changing it.
inline ULONG refCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

}  // namespace comtest

#endif  // OM_TESTS_PLATFORM_COM_TESTOBJECTS_H_
