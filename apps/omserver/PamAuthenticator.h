// PamAuthenticator: decides who may call the server. Passwords are checked
// by the PAM service "omserver" (authentication, then the account), from the
// system's PAM configuration or a private directory. A success is remembered
// for a short time under a SHA-256 digest of user and password, so that a
// client's calls on one connection do not each run PAM; a failure is never
// remembered. A user who logged in may call when root or a member (primary
// or supplementary) of the configured group. Safe to use from many threads.
#ifndef OM_APPS_OMSERVER_PAMAUTHENTICATOR_H_
#define OM_APPS_OMSERVER_PAMAUTHENTICATOR_H_

#include <sys/types.h>

#include <array>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace omserver {

class PamAuthenticator {
 public:
  struct Settings {
    std::string group;
    std::string confDir;  // empty: the system's PAM configuration
    std::chrono::seconds cacheTime{60};
  };

  explicit PamAuthenticator(Settings settings);
  PamAuthenticator(const PamAuthenticator&) = delete;
  PamAuthenticator& operator=(const PamAuthenticator&) = delete;

  // "" when PAM accepts `user` with `password`, else PAM's reason.
  // `remoteHost` is given to PAM as the peer's address.
  std::string authenticate(const std::string& user, const std::string& password, const std::string& remoteHost);

  // True for root and for members of the group.
  bool isAllowed(const std::string& user) const;
  // For a peer on the local socket: true for root, this process's own user,
  // or a member of the group (`user` is the uid's name).
  bool isAllowedLocal(uid_t uid, const std::string& user) const;

  const std::string& group() const { return settings_.group; }
  // The group's id; nothing when there is no such group.
  std::optional<gid_t> groupId() const;

 private:
  using Digest = std::array<unsigned char, 32>;
  using Clock = std::chrono::steady_clock;

  std::string runPam(const std::string& user, const std::string& password, const std::string& remoteHost);
  bool remembered(const Digest& digest);
  void remember(const Digest& digest);

  const Settings settings_;
  // PAM modules need not be reentrant: one conversation at a time.
  std::mutex pamMutex_;
  std::mutex cacheMutex_;
  std::map<Digest, Clock::time_point> cache_;  // digest -> when it expires
};

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_PAMAUTHENTICATOR_H_
