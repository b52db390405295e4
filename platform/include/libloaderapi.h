// Loading modules at run time, with the Windows names: LoadLibraryA,
// GetProcAddress and FreeLibrary over the dynamic loader (dlopen, dlsym,
// dlclose). Implemented in platform/winsock, whose IP helper library is the
// module the library loads this way.
//
// A module name is mapped to a shared object the Windows way round: a name
// with a '/' is a file path and is used as it is; any other name is taken
// without a ".dll" ending and in lower case, and becomes "lib<name>.so", which
// is looked for along the dynamic loader's path. So "IPHlpApi.DLL" loads
// libiphlpapi.so. The loader's path is the program's: LD_LIBRARY_PATH, the
// program's run path and the system directories, then the loader's cache.
#ifndef OM_PLATFORM_LIBLOADERAPI_H_
#define OM_PLATFORM_LIBLOADERAPI_H_

#include <windows.h>

typedef INT_PTR(WINAPI* FARPROC)();

// The module, or null with ERROR_MOD_NOT_FOUND. Each successful call adds a
// reference that FreeLibrary takes away.
HMODULE LoadLibraryA(LPCSTR name);
#define LoadLibrary LoadLibraryA
// The function or variable `name` of the module, or null with
// ERROR_PROC_NOT_FOUND (ERROR_INVALID_HANDLE for a null module).
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);

#endif  // OM_PLATFORM_LIBLOADERAPI_H_
