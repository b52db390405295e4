#include "ListenSocket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace omserver {
namespace {

std::string systemError(const std::string& what, int error = errno) { return what + ": " + std::strerror(error); }

bool unixAddress(const std::string& path, sockaddr_un* address) {
  *address = {};
  address->sun_family = AF_UNIX;
  if (path.size() >= sizeof address->sun_path) return false;
  std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
  return true;
}

// Whether a server accepts connections on the socket file at `path`.
bool answers(const std::string& path) {
  sockaddr_un address;
  if (!unixAddress(path, &address)) return false;
  const om::UniqueFd probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return probe.valid() && connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::string makeParent(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  if (parent.empty()) return "";
  std::error_code error;
  if (std::filesystem::create_directories(parent, error)) {
    std::filesystem::permissions(parent, std::filesystem::perms(0755), error);
  }
  return error ? "cannot create " + parent.string() + ": " + error.message() : "";
}

// Binds a new socket at `temporary`, sets its mode and group and listens.
std::string bindUnix(const std::string& temporary, std::optional<gid_t> group, om::UniqueFd* fd, std::string* warning) {
  sockaddr_un address;
  if (!unixAddress(temporary, &address)) return "socket path too long: " + temporary;
  om::UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!listener.valid()) return systemError("socket");
  unlink(temporary.c_str());  // left by a server that died while starting
  if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return systemError("cannot bind " + temporary);
  }
  if (chmod(temporary.c_str(), 0660) != 0) return systemError("chmod " + temporary);
  if (group && chown(temporary.c_str(), static_cast<uid_t>(-1), *group) != 0) {
    *warning = systemError("the socket keeps the server's group");
  }
  if (listen(listener.get(), SOMAXCONN) != 0) return systemError("listen");
  *fd = std::move(listener);
  return "";
}

// Binds and listens on the address `info` describes.
std::string bindTcp(const addrinfo& info, bool dualStack, om::UniqueFd* fd) {
  om::UniqueFd listener(socket(info.ai_family, info.ai_socktype | SOCK_CLOEXEC, info.ai_protocol));
  if (!listener.valid()) return systemError("socket");
  const int on = 1;
  const int off = 0;
  setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (info.ai_family == AF_INET6) {
    setsockopt(listener.get(), IPPROTO_IPV6, IPV6_V6ONLY, dualStack ? &off : &on, sizeof on);
  }
  if (bind(listener.get(), info.ai_addr, info.ai_addrlen) != 0) return systemError("bind");
  if (listen(listener.get(), SOMAXCONN) != 0) return systemError("listen");
  *fd = std::move(listener);
  return "";
}

std::string listenTcpOn(const std::string& address, uint16_t port, bool dualStack, om::UniqueFd* fd) {
  addrinfo hints{};
  hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int failure = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (failure != 0) return "bad address " + address + ": " + gai_strerror(failure);
  const std::string error = bindTcp(*found, dualStack, fd);
  freeaddrinfo(found);
  return error.empty() ? "" : "cannot listen on " + address + " port " + std::to_string(port) + ": " + error;
}

// Where `fd` listens, as a URL writes the host.
void describe(TcpListener* listener) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  char host[NI_MAXHOST] = "";
  char port[NI_MAXSERV] = "0";
  if (getsockname(listener->fd.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    getnameinfo(reinterpret_cast<const sockaddr*>(&address), length, host, sizeof host, port, sizeof port,
                NI_NUMERICHOST | NI_NUMERICSERV);
  }
  listener->host = address.ss_family == AF_INET6 ? "[" + std::string(host) + "]" : host;
  listener->port = static_cast<uint16_t>(std::stoi(port));
}

}  // namespace

std::string checkPlace(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT ? "" : systemError(path);
  if (!S_ISSOCK(status.st_mode)) return path + " exists and is not a socket";
  if (answers(path)) return "another omserver is running on " + path;
  return "";
}

std::string listenUnix(const std::string& path, std::optional<gid_t> group, om::UniqueFd* fd, std::string* warning) {
  std::string error = makeParent(path);
  if (error.empty()) error = checkPlace(path);
  if (!error.empty()) return error;
  // Made under another name and renamed into place: the socket appears with
  // its final mode, and replaces a stale one in one step.
  const std::string temporary = path + "." + std::to_string(getpid());
  om::UniqueFd listener;
  error = bindUnix(temporary, group, &listener, warning);
  if (error.empty() && rename(temporary.c_str(), path.c_str()) != 0) error = systemError("rename to " + path);
  if (!error.empty()) {
    unlink(temporary.c_str());
    return error;
  }
  *fd = std::move(listener);
  return "";
}

std::string listenTcp(const std::string& address, uint16_t port, TcpListener* listener) {
  std::string error;
  if (address.empty()) {
    error = listenTcpOn("::", port, true, &listener->fd);
    if (!error.empty()) error = listenTcpOn("0.0.0.0", port, false, &listener->fd);
  } else {
    error = listenTcpOn(address, port, false, &listener->fd);
  }
  if (error.empty()) describe(listener);
  return error;
}

}  // namespace omserver
