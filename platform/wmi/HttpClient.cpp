#include "HttpClient.h"

#include <mutex>

namespace om::wmi {
namespace {

// Replies larger than this are cut off as a transport failure.
constexpr size_t kMaxReply = size_t{512} << 20;

void initCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

size_t appendBody(char* data, size_t size, size_t count, void* user) {
  auto* body = static_cast<std::string*>(user);
  const size_t n = size * count;
  if (body->size() + n > kMaxReply) return 0;  // aborts the transfer
  body->append(data, n);
  return n;
}

HRESULT hresultOfCurl(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
      return HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);
    case CURLE_OPERATION_TIMEDOUT:
      return WBEM_E_TIMED_OUT;
    case CURLE_PEER_FAILED_VERIFICATION:
      return CERT_E_UNTRUSTEDROOT;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
      return SEC_E_ILLEGAL_MESSAGE;
    default:
      return WBEM_E_TRANSPORT_FAILURE;
  }
}

// The server's address for messages: the socket path or the URL.
std::string serverName(const HttpTarget& target) {
  return target.unixSocket.empty() ? target.url : "unix:" + target.unixSocket;
}

}  // namespace

HttpClient::HttpClient(HttpTarget target) : target_(std::move(target)) { initCurl(); }

HttpClient::~HttpClient() {
  for (CURL* handle : idle_) curl_easy_cleanup(handle);
}

CURL* HttpClient::takeHandle() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!idle_.empty()) {
      CURL* handle = idle_.back();
      idle_.pop_back();
      return handle;
    }
  }
  CURL* handle = curl_easy_init();
  if (handle == nullptr) return nullptr;
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, target_.connectTimeoutMs);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, appendBody);
  if (!target_.unixSocket.empty()) {
    curl_easy_setopt(handle, CURLOPT_UNIX_SOCKET_PATH, target_.unixSocket.c_str());
    curl_easy_setopt(handle, CURLOPT_URL, "http://localhost/cimom");
    return handle;
  }
  curl_easy_setopt(handle, CURLOPT_URL, target_.url.c_str());
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle, CURLOPT_CAINFO, target_.trustFile.c_str());
  // Basic credentials go with the first request: there is no challenge round.
  curl_easy_setopt(handle, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
  curl_easy_setopt(handle, CURLOPT_USERNAME, target_.user.c_str());
  curl_easy_setopt(handle, CURLOPT_PASSWORD, target_.password.c_str());
  return handle;
}

void HttpClient::giveBack(CURL* handle) {
  std::lock_guard<std::mutex> lock(mutex_);
  idle_.push_back(handle);
}

HRESULT HttpClient::post(const std::vector<std::string>& headers, const std::string& body, long timeoutMs,
                         HttpResult* result, std::string* error) {
  *result = HttpResult();
  CURL* handle = takeHandle();
  if (handle == nullptr) return WBEM_E_OUT_OF_MEMORY;
  // No "Expect: 100-continue" round trip before a larger body: the server
  // reads every body it is sent (or refuses it whole).
  curl_slist* list = curl_slist_append(nullptr, "Expect:");
  for (const std::string& header : headers) list = curl_slist_append(list, header.c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, list);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, timeoutMs);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &result->body);
  char message[CURL_ERROR_SIZE] = {};
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, message);
  const CURLcode code = curl_easy_perform(handle);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, nullptr);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
  curl_slist_free_all(list);
  HRESULT hr = WBEM_S_NO_ERROR;
  if (code != CURLE_OK) {
    hr = hresultOfCurl(code);
    *error = serverName(target_) + ": " + (message[0] != '\0' ? message : curl_easy_strerror(code));
    // A handle whose transfer failed may hold a broken connection.
    curl_easy_cleanup(handle);
    return hr;
  }
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &result->status);
  curl_header* cimError = nullptr;
  if (curl_easy_header(handle, "CIMError", 0, CURLH_HEADER, -1, &cimError) == CURLHE_OK) {
    result->cimError = cimError->value;
  }
  giveBack(handle);
  return hr;
}

HRESULT hresultOfHttpStatus(long status) {
  switch (status) {
    case 401:
    case 403:
      return WBEM_E_ACCESS_DENIED;
    case 413:
      return WBEM_E_QUOTA_VIOLATION;
    case 503:
      return WBEM_E_SERVER_TOO_BUSY;
    default:
      return WBEM_E_TRANSPORT_FAILURE;
  }
}

}  // namespace om::wmi
