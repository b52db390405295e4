// Which server a console talks to: the one named by --server (or
// OMLIB_SERVER) over HTTPS, else the local daemon when one is running, else
// a server embedded in the console's own process.
#ifndef OM_APPS_OMCONSOLE_SERVERCHOICE_H_
#define OM_APPS_OMCONSOLE_SERVERCHOICE_H_

#include <string>
#include <vector>

namespace omconsole {

struct ServerChoice {
  enum class Kind { kEmbedded, kLocalDaemon, kRemote };

  Kind kind = Kind::kEmbedded;
  std::string host;  // kRemote: HOST or HOST:PORT
  std::string user;  // kRemote

  // The choice for `host` and `user` as given on the command line (empty:
  // not given; the environment's OMLIB_SERVER and OMLIB_USER then count).
  static ServerChoice choose(const std::string& host, const std::string& user);

  // One line saying which server and how: "the local daemon on unix:PATH", ...
  std::string describe() const;
};

// Takes the options that come before the command (--server HOST, --user U)
// off the front of `words`; false, after saying why, for a bad one.
bool takeServerOptions(std::vector<std::string>* words, std::string* host, std::string* user);

// The password for a remote server: $OMLIB_PASSWORD, else asked on the
// terminal without echo; empty when there is neither.
std::string serverPassword(const ServerChoice& choice);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_SERVERCHOICE_H_
