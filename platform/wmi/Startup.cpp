// Registers the class factories of the WMI stand-in (CLSID_WbemLocator,
// CLSID_WbemContext) when the program starts, so that CoCreateInstance finds
// them in any program linked with om_wmi. The linker keeps this file through
// the symbol om_wmi_startup, which om_wmi's link options ask for.
#include <atlcomcli.h>

#include <om/ComObject.h>
#include <om/ComRuntime.h>

#include "Locator.h"
#include "WbemContext.h"

namespace {

template <class T>
HRESULT registerFactory(REFCLSID clsid) {
  CComPtr<IClassFactory> factory;
  factory.Attach(new om::ComClassFactory<T>);
  return om::registerClassObject(clsid, factory);
}

bool registerFactories() {
  const bool locator = SUCCEEDED(registerFactory<om::wmi::Locator>(CLSID_WbemLocator));
  const bool context = SUCCEEDED(registerFactory<om::wmi::WbemContext>(CLSID_WbemContext));
  return locator && context;
}

}  // namespace

extern "C" {
// Whether both factories were registered.
extern const bool om_wmi_startup;
const bool om_wmi_startup = registerFactories();
}
