// The server's providers, one per class of the product's namespace, over one
// NetworkServer: the one list that every host of the server registers.
#ifndef OM_SERVER_SERVERPROVIDERS_H_
#define OM_SERVER_SERVERPROVIDERS_H_

#include <memory>

#include <wbemcli.h>

#include "server/NetworkServer.h"

// The product's namespace.
extern const char16_t kOrvaManagerNamespace[];

// Registers every provider with the process's object manager; `services` is
// the server's own connection to the namespace (each provider holds a
// reference). On failure nothing stays registered and the HRESULT of the
// failing registration is returned.
HRESULT registerServerProviders(IWbemServices* services, const std::shared_ptr<NetworkServer>& server);
// Unregisters them (those that are registered).
void unregisterServerProviders();

#endif  // OM_SERVER_SERVERPROVIDERS_H_
