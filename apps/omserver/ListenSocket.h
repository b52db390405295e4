// The listening sockets of the daemon's two endpoints. The daemon makes them
// itself and hands them to the HTTP library, so that it decides the socket
// file's mode, group and life, and learns the port the system picked.
#ifndef OM_APPS_OMSERVER_LISTENSOCKET_H_
#define OM_APPS_OMSERVER_LISTENSOCKET_H_

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include <om/UniqueFd.h>

namespace omserver {

// "" when a socket may be put at `path`: nothing is there, or a socket
// nobody answers on; else why not ("another omserver is running on PATH").
std::string checkPlace(const std::string& path);

// Listens on a Unix stream socket at `path`. Creates the missing parent
// directory (0755), refuses a path where a server answers ("another omserver
// is running on PATH") or that is not a socket, and replaces a stale socket
// file. The socket gets mode 0660 and, when `group` is set, that group before
// it appears at `path`, so nobody else can connect in between; when the
// group cannot be set, `warning` says why and the socket keeps the daemon's
// group. "" on success, else why not.
std::string listenUnix(const std::string& path, std::optional<gid_t> group, om::UniqueFd* fd, std::string* warning);

// A listening TCP socket and where it listens.
struct TcpListener {
  om::UniqueFd fd;
  std::string host;  // numeric, as a URL writes it: "127.0.0.1", "[::]"
  uint16_t port = 0;
};

// Listens on TCP `port` (0: one the system picks) of `address`, a numeric
// IPv4 or IPv6 address; when `address` is empty, on every address (IPv6 and
// IPv4 both, or IPv4 alone on a host without IPv6). "" on success, else why
// not.
std::string listenTcp(const std::string& address, uint16_t port, TcpListener* listener);

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_LISTENSOCKET_H_
