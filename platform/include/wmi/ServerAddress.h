// Where consoles find servers: the local daemon's Unix socket and the
// certificates that verify a server reached over HTTPS.
#ifndef OM_PLATFORM_WMI_SERVERADDRESS_H_
#define OM_PLATFORM_WMI_SERVERADDRESS_H_

#include <string>

namespace om::wmi {

// The local daemon's socket: $OMLIB_SOCKET, else <machine home>/run/omserver.sock.
std::string localServerSocket();
// The certificates that verify servers: $OMLIB_TRUST_FILE, else the local
// daemon's own certificate, <machine home>/tls/omserver.crt.
std::string serverTrustFile();
// True when a daemon accepts connections on the local socket.
bool localServerRunning();

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_SERVERADDRESS_H_
