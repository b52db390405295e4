// What a HANDLE points to: every kernel object of the platform layer derives
// from KernelObject, so that WaitForSingleObject and CloseHandle work on any
// of them. Internal to the platform layer.
#ifndef OM_PLATFORM_WIN_KERNELOBJECT_H_
#define OM_PLATFORM_WIN_KERNELOBJECT_H_

#include <windows.h>

namespace om {

class KernelObject {
 public:
  virtual ~KernelObject() = default;
  // Waits until the object is signalled or `milliseconds` pass (INFINITE for
  // no limit); returns WAIT_OBJECT_0, WAIT_ABANDONED, WAIT_TIMEOUT or WAIT_FAILED.
  virtual DWORD wait(DWORD milliseconds) = 0;
};

// The object behind a handle, or null (with ERROR_INVALID_HANDLE set) when the
// handle is null or INVALID_HANDLE_VALUE.
KernelObject* kernelObject(HANDLE handle);

}  // namespace om

#endif  // OM_PLATFORM_WIN_KERNELOBJECT_H_
