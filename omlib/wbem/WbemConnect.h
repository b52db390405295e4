// WbemConnect: the connection a console uses. Adds to WbemRoot the
// process-wide COM set-up, the connection step that status and error texts
// name, the login settings kept in the user's registry, the check that the
// server side runs, and the subscription to the server's log events. Owns the
// sink of the current subscription (one reference).
#ifndef OMLIB_WBEM_WBEMCONNECT_H_
#define OMLIB_WBEM_WBEMCONNECT_H_

#include <afx.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

#include "wbem/wbemroot.h"

class WbemConnect : public WbemRoot {
 public:
  // String-table ids of the connection steps and of the texts used here.
  enum : UINT {
    IDS_CONNECT_ERROR = 7066,
    IDS_STEP_COM_INITIALIZED = 7067,
    IDS_STEP_COM_SECURITY = 7068,
    IDS_STEP_CHECKING_SERVER = 7069,
    IDS_STEP_DISCONNECTED = 7070,
    IDS_STEP_SERVER_RUNNING = 7073,
    IDS_STEP_LOG_EVENTS = 7074,
    IDS_LOCAL_CREDENTIALS = 7075,
    IDS_STEP_NAMESPACE = 7076,
    IDS_LOGIN_KEY = 7077,
    IDS_LOGIN_USER = 7078,
    IDS_LOGIN_DOMAIN = 7079,
    IDS_LOGIN_HOST = 7080,
    IDS_AUTHN_LEVEL = 7081,
    IDS_IMP_LEVEL = 7082,
    IDS_QUERY_LANGUAGE = 7085,
    IDS_WBEM_KEY = 7086,
  };

  WbemConnect();
  WbemConnect(const WbemConnect&) = delete;
  WbemConnect& operator=(const WbemConnect&) = delete;
  ~WbemConnect() override;

  // Initialises COM (apartment-threaded) on the calling thread and sets the
  // process's COM security, once per process unless `force`. A level of 0
  // picks the platform's default. Any result of CoInitialize but S_OK,
  // S_FALSE included, is a failure kept as the error code.
  bool initializeCom(DWORD authLevel, DWORD impLevel, bool force = false);
  // Disconnects, uninitialises COM and sets it up again with default levels.
  bool reinitializeCom();
  // True when WMI is installed and its locator can be created.
  bool isWbemInstalled();

  // Connects to the system's namespace on `server` and checks that the
  // server side runs there.
  bool connectServer(const tstring& server, const tstring& user, const tstring& password, const tstring& domain);
  // Reads the managed network through this connection. On failure, an
  // exception inside included, the error code is the thread's last error.
  bool checkServerRunning();
  void disconnect() override;

  // The string-table id of the step last reached.
  UINT getStep() const { return m_dwStep; }
  // The error text of the last failure, with the format of string-table id
  // `formatId` (normally IDS_CONNECT_ERROR).
  void formatErrorMessage(tstring& message, UINT formatId) const;

  // The login settings of the user's registry; the password is only kept in
  // memory, for the life of the process. True only when user, domain and
  // host were all found; each one found is returned anyway.
  bool readLoginInfo(tstring& host, tstring& user, tstring& password, tstring& domain);
  bool readLoginInfo(CString& host, CString& user, CString& password, CString& domain);
  bool writeLoginInfo(const tstring& host, const tstring& user, const tstring& password, const tstring& domain);
  bool writeLoginInfo(const char* host, const char* user, const char* password, const char* domain);
  // The levels kept as decimal text; true only when both were found.
  bool readAuthImpLevel(DWORD& authLevel, DWORD& impLevel);
  bool writeAuthImpLevel(int authLevel, int impLevel);

  // Subscribes `sink` to the server's log events; an empty `query` is set to
  // "select * from LogObjectEvent".
  bool subscribeLogEvents(IWbemObjectSink* sink, tstring& query);
  void cancelLogEvents();

 private:
  void setStep(UINT step) { m_dwStep = step; }
  bool failWith(HRESULT hr);
  bool setUpCom(DWORD authLevel, DWORD impLevel);

  IWbemObjectSink* m_pEventSink = nullptr;
  UINT m_dwStep = 0;
};

#endif  // OMLIB_WBEM_WBEMCONNECT_H_
