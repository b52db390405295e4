#include "Locator.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include <om/RegistryStore.h>
#include <wmi/ObjectManager.h>
#include <wmi/ServerAddress.h>

#include "ExtendedStatus.h"
#include "ObjectManagerCore.h"
#include "RemoteConnection.h"
#include "Services.h"
#include "Text.h"

namespace om::wmi {
namespace {

constexpr char kDefaultPort[] = "5989";

std::string envOr(const char* name, const std::string& fallback) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : fallback;
}

bool isSocket(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

bool acceptsConnections(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) return false;
  path.copy(address.sun_path, path.size());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const bool accepted = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(fd);
  return accepted;
}

// The port of a server name "HOST:PORT" ("[v6]:PORT" for an IPv6 address),
// where one is given: the position of its ':'; npos when there is none.
size_t portColon(std::u16string_view server) {
  const size_t colon = server.rfind(u':');
  if (colon == std::u16string_view::npos || server.back() == u']') return std::u16string_view::npos;
  const bool bracketed = server.front() == u'[';
  return !bracketed || (colon > 0 && server[colon - 1] == u']') ? colon : std::u16string_view::npos;
}

// "https://HOST:PORT/cimom", with the default port when the name gives none.
std::string serverUrl(std::u16string_view server) {
  const std::string host = toUtf8(server);
  return "https://" + host + (portColon(server) == std::u16string_view::npos ? std::string(":") + kDefaultPort : "") +
         "/cimom";
}

// Ends a failed connection with the thread's error object saying why.
HRESULT connectFailure(HRESULT hr, std::u16string_view nameSpace, std::u16string_view server,
                       std::u16string_view description) {
  const ManagerCore& core = ManagerCore::instance();
  const CallInfo info{u"ConnectServer", std::u16string(server) + u"\\" + std::u16string(nameSpace),
                      std::u16string(kManagerName)};
  setErrorObject(makeExtendedStatus(core.repository(), u"root", info, hr, description));
  return hr;
}

HRESULT connectRemote(HttpTarget target, std::u16string_view server, const std::u16string& nameSpace,
                      IWbemServices** out) {
  // Paths name the host without the port, as WMI paths do.
  const std::u16string host =
      server == u"." ? ClassRepository::serverName() : std::u16string(server.substr(0, portColon(server)));
  auto connection = std::make_shared<RemoteConnection>(std::move(target), host);
  std::u16string stored;
  std::u16string error;
  const HRESULT hr = connection->open(nameSpace, &stored, &error);
  if (FAILED(hr)) return connectFailure(hr, nameSpace, server, error);
  *out = new (std::nothrow) Services(ManagerCore::instance(), std::move(connection), stored);
  return *out == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

}  // namespace

std::string localServerSocket() { return envOr("OMLIB_SOCKET", machineHome() + "/run/omserver.sock"); }

std::string serverTrustFile() { return envOr("OMLIB_TRUST_FILE", machineHome() + "/tls/omserver.crt"); }

bool localServerRunning() {
  const std::string path = localServerSocket();
  return isSocket(path) && acceptsConnections(path);
}

HRESULT Locator::ConnectServer(const BSTR strNetworkResource, const BSTR strUser, const BSTR strPassword,
                               const BSTR, long lSecurityFlags, const BSTR, IWbemContext*,
                               IWbemServices** ppNamespace) {
  if (ppNamespace == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppNamespace = nullptr;
  if (SysStringLen(strNetworkResource) == 0 || (lSecurityFlags & ~WBEM_FLAG_CONNECT_USE_MAX_WAIT) != 0) {
    return WBEM_E_INVALID_PARAMETER;
  }
  std::u16string server;
  std::u16string path;
  splitNamespacePath(bstrView(strNetworkResource), &server, &path);
  if (!server.empty() && !isLocalServer(server)) {
    HttpTarget target;
    target.url = serverUrl(server);
    target.user = toUtf8(bstrView(strUser));
    target.password = toUtf8(bstrView(strPassword));
    target.trustFile = serverTrustFile();
    return connectRemote(std::move(target), server, path, ppNamespace);
  }
  if (SysStringLen(strUser) != 0 || SysStringLen(strPassword) != 0) return WBEM_E_LOCAL_CREDENTIALS;
  if (!ObjectManager::isHosted() || envOr("OMLIB_LOCAL_SERVER", "") == "daemon") {
    // No manager in this process (or the daemon asked for): the local
    // daemon, when one is listening.
    HttpTarget target;
    target.unixSocket = localServerSocket();
    if (!isSocket(target.unixSocket)) return WBEM_E_TRANSPORT_FAILURE;
    return connectRemote(std::move(target), u".", path, ppNamespace);
  }
  ManagerCore& core = ManagerCore::instance();
  const std::u16string ns = core.existingNamespace(path);
  if (ns.empty()) return WBEM_E_INVALID_NAMESPACE;
  *ppNamespace = new (std::nothrow) Services(core, ns);
  return *ppNamespace == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
