// ihadll: the IP helper library "IPHlpApi.DLL", loaded at run time so that
// the probes also load where it is missing, and its ICMPv6 functions looked
// up by name. Every call into the library is made under the loader's one
// process-wide lock.
//
// The library is found by its module name through the dynamic loader
// (libloaderapi.h: "IPHlpApi.DLL" is libiphlpapi.so on the loader's path;
// programs that link the probes get the build directory of that library in
// their run path). The environment variable OMLIB_IPHLPAPI, when set, names
// the file to load instead, and then only that file.
#ifndef OMLIB_PROBE_IHADLL_H_
#define OMLIB_PROBE_IHADLL_H_

#include <icmpapi.h>
#include <libloaderapi.h>

class ihadll {
 public:
  // The process's loader; the library is loaded on the first call.
  static ihadll& getInstance();

  ihadll(const ihadll&) = delete;
  ihadll& operator=(const ihadll&) = delete;
  virtual ~ihadll();

  // True when the library and the three functions were found.
  bool loaded() const { return m_module != nullptr; }

  // The library's functions, with their contracts (icmpapi.h). Without the
  // library each fails with ERROR_MOD_NOT_FOUND; after a failure the last
  // error is the library's.
  HANDLE Icmp6CreateFile();
  DWORD Icmp6SendEcho2(HANDLE icmpHandle, HANDLE event, PIO_APC_ROUTINE apcRoutine, PVOID apcContext,
                       struct sockaddr_in6* source, struct sockaddr_in6* destination, LPVOID requestData,
                       WORD requestSize, PIP_OPTION_INFORMATION options, LPVOID replyBuffer, DWORD replySize,
                       DWORD timeout);
  BOOL IcmpCloseHandle(HANDLE icmpHandle);

 private:
  ihadll();
  // Copies the library's last error into the calling thread's.
  void takeLastError();

  HMODULE m_module;  // owned; null when the library or a function is missing
  decltype(&::Icmp6CreateFile) m_create;
  decltype(&::Icmp6SendEcho2) m_send;
  decltype(&::IcmpCloseHandle) m_close;
  decltype(&::OmIphlpapiGetLastError) m_lastError;  // may be null
  HANDLE m_mutex;  // the loader's lock; owned
};

#endif  // OMLIB_PROBE_IHADLL_H_
