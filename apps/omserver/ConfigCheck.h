// The checks the daemon makes before it starts anything, and that --check
// makes alone: the group exists, a private PAM directory holds the
// service's file, and the HTTPS certificate and key are readable and belong
// together. At their default place a missing pair is made on a real start,
// and only announced by a check.
#ifndef OM_APPS_OMSERVER_CONFIGCHECK_H_
#define OM_APPS_OMSERVER_CONFIGCHECK_H_

#include <optional>
#include <string>

#include "ServerOptions.h"
#include "TlsCredentials.h"

namespace omserver {

struct ServerSetup {
  std::optional<TlsCredentials> tls;  // set when the network endpoint speaks HTTPS
  std::string summary;                // one line: what would be served, and how
};

// "" with `setup` filled in, else the one-line reason the configuration
// cannot work. `create`: make the default certificate and key when missing.
std::string prepareServer(const ServerOptions& options, bool create, ServerSetup* setup);

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_CONFIGCHECK_H_
