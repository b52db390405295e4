#include "ConfigCheck.h"

#include <grp.h>
#include <unistd.h>

#include <vector>

namespace omserver {
namespace {

bool groupExists(const std::string& name) {
  struct group entry;
  struct group* found = nullptr;
  std::vector<char> buffer(65536);
  return getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// The network endpoint's credentials; `note` tells when they are yet to be
// made.
std::string prepareCredentials(const ServerOptions& options, bool create, ServerSetup* setup, std::string* note) {
  const bool missing = !exists(options.certFile) || !exists(options.keyFile);
  if (options.defaultCredentials && missing) {
    if (!create) {
      *note = ", certificate to be created at " + options.certFile;
      return "";
    }
    const std::string error = createTlsCredentials(options.certFile, options.keyFile, localHostName());
    if (!error.empty()) return "cannot create the certificate: " + error;
  }
  TlsCredentials credentials;
  const std::string error = loadTlsCredentials(options.certFile, options.keyFile, &credentials);
  if (!error.empty()) return error;
  setup->tls = std::move(credentials);
  return "";
}

std::string networkUrl(const ServerOptions& options) {
  const std::string& a = options.address;
  const std::string host = a.empty() ? "*" : a.find(':') != std::string::npos ? "[" + a + "]" : a;
  return (options.tls ? "https://" : "http://") + host + ":" + std::to_string(options.port);
}

}  // namespace

std::string prepareServer(const ServerOptions& options, bool create, ServerSetup* setup) {
  if (!groupExists(options.group)) return "no group " + options.group;
  const std::string pamFile = options.pamDir + "/omserver";
  if (options.network && !options.pamDir.empty() && access(pamFile.c_str(), R_OK) != 0) {
    return "cannot read the PAM configuration " + pamFile;
  }
  std::string note;
  if (options.network && options.tls) {
    const std::string error = prepareCredentials(options, create, setup, &note);
    if (!error.empty()) return error;
  }
  std::string served;
  if (!options.socketPath.empty()) served = "unix:" + options.socketPath;
  if (options.network) served += (served.empty() ? "" : ", ") + networkUrl(options);
  setup->summary = served + ", group " + options.group + note;
  return "";
}

}  // namespace omserver
