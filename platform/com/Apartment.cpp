// Per-thread COM initialisation: a count of CoInitialize(Ex) calls and the
// concurrency model chosen by the first one.
#include "Apartment.h"

#include <objbase.h>

namespace {

struct ThreadApartment {
  ULONG initCount = 0;
  DWORD model = COINIT_MULTITHREADED;
};
thread_local ThreadApartment t_apartment;

constexpr DWORD kKnownFlags = COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE | COINIT_SPEED_OVER_MEMORY;

}  // namespace

bool om::com::comInitialised() { return t_apartment.initCount > 0; }

HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) {
  if (pvReserved != nullptr || (dwCoInit & ~kKnownFlags) != 0) return E_INVALIDARG;
  const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
  ThreadApartment& apartment = t_apartment;
  if (apartment.initCount == 0) {
    apartment.initCount = 1;
    apartment.model = model;
    return S_OK;
  }
  if (apartment.model != model) return RPC_E_CHANGED_MODE;
  ++apartment.initCount;
  return S_FALSE;
}

HRESULT CoInitialize(LPVOID pvReserved) { return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED); }

void CoUninitialize() {
  if (t_apartment.initCount > 0) --t_apartment.initCount;
}
