// Win32 basics on Linux: the types, constants and calls that omlib uses, with
// their Windows names, sizes and values. Implemented in platform/win.
//
// Sizes follow Windows (LLP64): DWORD, LONG, ULONG and BOOL are 32 bits wide
// even where the C++ type `long` is 64 bits. Wide characters are UTF-16
// (`WCHAR` is `char16_t`); narrow text is code page 932.
#ifndef OM_PLATFORM_WINDOWS_H_
#define OM_PLATFORM_WINDOWS_H_

#include <cstddef>
#include <cstdint>

// ---- Types -----------------------------------------------------------------

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int32_t BOOL;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef uint64_t DWORDLONG;
typedef float FLOAT;
typedef double DOUBLE;
typedef uintptr_t UINT_PTR;
typedef intptr_t INT_PTR;
typedef uintptr_t ULONG_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef size_t SIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef LONG HRESULT;
typedef BYTE BOOLEAN;

typedef void VOID;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BYTE* LPBYTE;
typedef BYTE* PBYTE;
typedef WORD* LPWORD;
typedef DWORD* LPDWORD;
typedef DWORD* PDWORD;
typedef LONG* LPLONG;
typedef BOOL* LPBOOL;

typedef char16_t WCHAR;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef CHAR TCHAR;  // ANSI build: TCHAR text is code page 932
typedef TCHAR* LPTSTR;
typedef const TCHAR* LPCTSTR;

#ifndef _T
#define _T(x) x
#endif
#ifndef TEXT
#define TEXT(x) x
#endif

// Kernel object handle. Every object behind a HANDLE derives from
// om::KernelObject (platform/win/KernelObject.h); CloseHandle destroys it.
typedef void* HANDLE;
typedef HANDLE* PHANDLE;
typedef HANDLE* LPHANDLE;
struct HINSTANCE__;
typedef HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
struct HKEY__;
typedef HKEY__* HKEY;
typedef HKEY* PHKEY;
struct HWND__;
typedef HWND__* HWND;

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef CONST
#define CONST const
#endif
#define WINAPI
#define CALLBACK
#define APIENTRY

#define MAX_PATH 260

// ---- Registry hives ---------------------------------------------------------

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))
#define HKEY_USERS ((HKEY)(ULONG_PTR)((LONG)0x80000003))

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

// ---- Word and byte helpers -------------------------------------------------

#define MAKEWORD(a, b) ((WORD)(((BYTE)((DWORD_PTR)(a) & 0xff)) | ((WORD)((BYTE)((DWORD_PTR)(b) & 0xff))) << 8))
#define MAKELONG(a, b) ((LONG)(((WORD)((DWORD_PTR)(a) & 0xffff)) | ((DWORD)((WORD)((DWORD_PTR)(b) & 0xffff))) << 16))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l) & 0xffff))
#define HIWORD(l) ((WORD)((DWORD_PTR)(l) >> 16))
#define LOBYTE(w) ((BYTE)((DWORD_PTR)(w) & 0xff))
#define HIBYTE(w) ((BYTE)((DWORD_PTR)(w) >> 8))

// ---- HRESULT ---------------------------------------------------------------

#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)
#define HRESULT_CODE(hr) ((hr) & 0xFFFF)
#define HRESULT_FACILITY(hr) (((hr) >> 16) & 0x1fff)
#define FACILITY_WIN32 7
#define HRESULT_FROM_WIN32(x) \
  ((HRESULT)(x) <= 0 ? ((HRESULT)(x)) : ((HRESULT)(((x) & 0x0000FFFF) | (FACILITY_WIN32 << 16) | 0x80000000)))

#define S_OK ((HRESULT)0L)
#define S_FALSE ((HRESULT)1L)
#define E_NOTIMPL ((HRESULT)0x80004001L)
#define E_NOINTERFACE ((HRESULT)0x80004002L)
#define E_POINTER ((HRESULT)0x80004003L)
#define E_ABORT ((HRESULT)0x80004004L)
#define E_FAIL ((HRESULT)0x80004005L)
#define E_UNEXPECTED ((HRESULT)0x8000FFFFL)
#define E_ACCESSDENIED ((HRESULT)0x80070005L)
#define E_HANDLE ((HRESULT)0x80070006L)
#define E_OUTOFMEMORY ((HRESULT)0x8007000EL)
#define E_INVALIDARG ((HRESULT)0x80070057L)
// A TLS peer that broke the handshake, and a certificate that does not
// verify.
#define SEC_E_ILLEGAL_MESSAGE ((HRESULT)0x80090326L)
#define CERT_E_UNTRUSTEDROOT ((HRESULT)0x800B0109L)

// ---- Win32 error codes (GetLastError) ---------------------------------------

#define ERROR_SUCCESS 0L
#define NO_ERROR 0L
#define ERROR_INVALID_FUNCTION 1L
#define ERROR_FILE_NOT_FOUND 2L
#define ERROR_PATH_NOT_FOUND 3L
#define ERROR_ACCESS_DENIED 5L
#define ERROR_INVALID_HANDLE 6L
#define ERROR_NOT_ENOUGH_MEMORY 8L
#define ERROR_INVALID_DATA 13L
#define ERROR_OUTOFMEMORY 14L
#define ERROR_HANDLE_EOF 38L
#define ERROR_NOT_SUPPORTED 50L
#define ERROR_INVALID_PARAMETER 87L
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_MOD_NOT_FOUND 126L
#define ERROR_PROC_NOT_FOUND 127L
#define ERROR_ALREADY_EXISTS 183L
#define ERROR_MORE_DATA 234L
#define ERROR_NO_MORE_ITEMS 259L
#define ERROR_NOT_OWNER 288L
#define ERROR_IO_PENDING 997L
#define ERROR_NO_UNICODE_TRANSLATION 1113L
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#define ERROR_TIMEOUT 1460L
#define RPC_S_SERVER_UNAVAILABLE 1722L
#define ERROR_BADDB 1009L
#define ERROR_BADKEY 1010L
#define ERROR_CANTREAD 1012L
#define ERROR_CANTWRITE 1013L
#define ERROR_KEY_DELETED 1018L

DWORD GetLastError();
void SetLastError(DWORD error);

// ---- Synchronisation --------------------------------------------------------

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 0x00000000L
#define WAIT_ABANDONED 0x00000080L
#define WAIT_IO_COMPLETION 0x000000C0L
#define WAIT_TIMEOUT 0x00000102L
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)

typedef struct _SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

// A mutex owned recursively by one thread at a time. A named mutex is shared
// by every CreateMutex of that name in this process; when it already exists,
// the call returns a new handle to it and sets ERROR_ALREADY_EXISTS. A mutex
// whose owning thread ends without releasing it is abandoned: the next wait
// acquires it and returns WAIT_ABANDONED.
HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCSTR name);
#define CreateMutex CreateMutexA
BOOL ReleaseMutex(HANDLE mutex);

// Manual- or auto-reset event. Event names are not shared: each call makes a
// new event.
HANDLE CreateEventA(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCSTR name);
#define CreateEvent CreateEventA
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
BOOL CloseHandle(HANDLE handle);

// ---- Time and process --------------------------------------------------------

// Milliseconds since the system started; wraps after about 49.7 days.
DWORD GetTickCount();
ULONGLONG GetTickCount64();
void Sleep(DWORD milliseconds);
DWORD GetCurrentProcessId();
DWORD GetCurrentThreadId();

#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2

typedef struct _OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  CHAR szCSDVersion[128];
} OSVERSIONINFOA, *POSVERSIONINFOA, *LPOSVERSIONINFOA;
typedef OSVERSIONINFOA OSVERSIONINFO;
typedef LPOSVERSIONINFOA LPOSVERSIONINFO;

// Reports an NT platform (id 2), version 10.0. Fails with
// ERROR_INSUFFICIENT_BUFFER when dwOSVersionInfoSize is too small.
BOOL GetVersionExA(LPOSVERSIONINFOA info);
#define GetVersionEx GetVersionExA

// ---- Code pages --------------------------------------------------------------

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400
#define WC_ERR_INVALID_CHARS 0x00000080

// The ANSI code page here is 932: lead bytes are 0x81-0x9F and 0xE0-0xFC.
BOOL IsDBCSLeadByte(BYTE testChar);
BOOL IsDBCSLeadByteEx(UINT codePage, BYTE testChar);

// Code pages CP_ACP (= 932), CP_OEMCP (= 932), 932 and CP_UTF8. A length of -1
// means a NUL-terminated input whose terminator is converted too; an output
// size of 0 asks for the size needed. Characters that cannot be converted
// become U+30FB (from 932), U+FFFD (from UTF-8) or '?' (to multi-byte), unless
// MB_ERR_INVALID_CHARS asks for failure with ERROR_NO_UNICODE_TRANSLATION.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR multiByte, int multiByteCount,
                        LPWSTR wideChar, int wideCharCount);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wideChar, int wideCharCount,
                        LPSTR multiByte, int multiByteCount, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar);

// ---- String table --------------------------------------------------------------

// Copies the text of string resource `id` (code page 932) into `buffer`,
// cut to `bufferMax - 1` bytes at a character boundary and NUL-terminated.
// Returns the number of bytes copied, or 0 with ERROR_RESOURCE_NAME_NOT_FOUND
// when the table has no such id. The module handle is ignored: the library
// has one string table.
int LoadStringA(HINSTANCE instance, UINT id, LPSTR buffer, int bufferMax);
#define LoadString LoadStringA

#endif  // OM_PLATFORM_WINDOWS_H_
