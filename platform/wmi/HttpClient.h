// The HTTP side of a connection to a server's CIM-XML endpoint (libcurl):
// POSTs over a Unix socket to the local daemon, or over HTTPS with Basic
// authentication to another host. The server's certificate is always
// verified against a trust file; nothing is sent to a server that fails.
//
// Thread-safe: calls may run at once from several threads; each takes an
// idle libcurl handle (with its kept-alive connection) or makes a new one.
#ifndef OM_PLATFORM_WMI_HTTPCLIENT_H_
#define OM_PLATFORM_WMI_HTTPCLIENT_H_

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <curl/curl.h>
#include <wbemcli.h>

namespace om::wmi {

struct HttpTarget {
  std::string unixSocket;  // set: the local daemon's socket, and `url` is ignored
  std::string url;         // "https://host:5989/cimom"
  std::string user;
  std::string password;
  std::string trustFile;   // PEM certificates that verify the server (HTTPS)
  long connectTimeoutMs = 10000;
};

struct HttpResult {
  long status = 0;
  std::string body;
  std::string cimError;  // the CIMError header, when the server sent one
};

class HttpClient {
 public:
  explicit HttpClient(HttpTarget target);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  const HttpTarget& target() const { return target_; }

  // POSTs `body` with the extra header lines `headers` ("Name: value") and
  // waits at most `timeoutMs` (0: no limit) for the whole reply. A reply of
  // any HTTP status is WBEM_S_NO_ERROR with `result` filled; a transport
  // failure is its HRESULT (HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) for
  // a server that cannot be reached, CERT_E_UNTRUSTEDROOT for a certificate
  // that does not verify, SEC_E_ILLEGAL_MESSAGE for a failed handshake,
  // WBEM_E_TIMED_OUT,
  // WBEM_E_TRANSPORT_FAILURE for a connection lost) with `error` saying what
  // happened.
  HRESULT post(const std::vector<std::string>& headers, const std::string& body, long timeoutMs, HttpResult* result,
               std::string* error);

 private:
  CURL* takeHandle();
  void giveBack(CURL* handle);

  const HttpTarget target_;
  std::mutex mutex_;
  std::vector<CURL*> idle_;  // owned
};

// The HRESULT for an HTTP status that is not 200 (401 and 403:
// WBEM_E_ACCESS_DENIED; 503: WBEM_E_SERVER_TOO_BUSY; 413:
// WBEM_E_QUOTA_VIOLATION; others WBEM_E_TRANSPORT_FAILURE).
HRESULT hresultOfHttpStatus(long status);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_HTTPCLIENT_H_
