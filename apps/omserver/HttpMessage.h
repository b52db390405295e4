// The request the server's handler is given, who sent it, and the reply
// the handler gives back. The handler is called on the HTTP library's
// threads, for several requests at once.
#ifndef OM_APPS_OMSERVER_HTTPMESSAGE_H_
#define OM_APPS_OMSERVER_HTTPMESSAGE_H_

#include <sys/types.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace omserver {

// Orders header names without regard to the case of ASCII letters.
struct HeaderNameLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
      return std::tolower(x) < std::tolower(y);
    });
  }
};

// A field that came more than once holds the values joined by ", ".
using HttpHeaders = std::map<std::string, std::string, HeaderNameLess>;

// Who sent a request: the user who logged in over the network, or, on the
// local socket, the user the connecting process runs as.
struct Peer {
  std::string user;
  uid_t uid = static_cast<uid_t>(-1);  // the local peer's uid; -1 over the network
  bool local = false;                  // came over the Unix socket
  std::string address;                 // numeric address over the network, "unix" locally
};

struct HttpRequest {
  std::string method;
  std::string url;
  HttpHeaders headers;
  std::string body;
  Peer peer;
};

struct HttpReply {
  int status = 200;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
};

using HttpHandler = std::function<HttpReply(const HttpRequest&)>;

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_HTTPMESSAGE_H_
