#include "PamAuthenticator.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <grp.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace omserver {
namespace {

constexpr char kService[] = "omserver";
// Past this many remembered logins, the expired ones are dropped, and when
// none has expired, all of them.
constexpr size_t kMaxRemembered = 4096;

struct Login {
  const std::string* user;
  const std::string* password;
};

// Answers PAM's prompts: the password where it is not echoed, the user name
// where it is; messages need no answer.
extern "C" int converse(int count, const pam_message** messages, pam_response** responses, void* data) {
  const Login& login = *static_cast<const Login*>(data);
  auto* answers = static_cast<pam_response*>(std::calloc(static_cast<size_t>(count), sizeof(pam_response)));
  if (answers == nullptr) return PAM_BUF_ERR;
  for (int i = 0; i < count; ++i) {
    const int style = messages[i]->msg_style;
    const std::string* text = style == PAM_PROMPT_ECHO_OFF  ? login.password
                              : style == PAM_PROMPT_ECHO_ON ? login.user
                                                            : nullptr;
    if (text != nullptr) answers[i].resp = strdup(text->c_str());
  }
  *responses = answers;
  return PAM_SUCCESS;
}

// Replaces the modules' own delay after a failure: the server makes the
// configured wait itself.
extern "C" void noFailDelay(int, unsigned, void*) {}

// The account's uid and primary group; false for an unknown user.
bool lookUpUser(const std::string& user, uid_t* uid, gid_t* gid) {
  passwd entry;
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return false;
  *uid = found->pw_uid;
  *gid = found->pw_gid;
  return true;
}

bool isMember(const std::string& user, gid_t primary, gid_t group) {
  if (primary == group) return true;
  std::vector<gid_t> groups(64);
  int count = static_cast<int>(groups.size());
  while (getgrouplist(user.c_str(), primary, groups.data(), &count) < 0) {
    groups.resize(static_cast<size_t>(count) + 64);
    count = static_cast<int>(groups.size());
  }
  return std::find(groups.begin(), groups.begin() + count, group) != groups.begin() + count;
}

}  // namespace

PamAuthenticator::PamAuthenticator(Settings settings) : settings_(std::move(settings)) {}

std::string PamAuthenticator::authenticate(const std::string& user, const std::string& password,
                                           const std::string& remoteHost) {
  std::string secret = user;
  secret.push_back('\0');
  secret += password;
  Digest digest;
  const int hashed = gnutls_hash_fast(GNUTLS_DIG_SHA256, secret.data(), secret.size(), digest.data());
  explicit_bzero(secret.data(), secret.size());
  if (hashed >= 0 && remembered(digest)) return "";
  std::string failure = runPam(user, password, remoteHost);
  if (hashed >= 0 && failure.empty()) remember(digest);
  return failure;
}

std::string PamAuthenticator::runPam(const std::string& user, const std::string& password,
                                     const std::string& remoteHost) {
  const std::string privateFile = settings_.confDir + "/" + kService;
  if (!settings_.confDir.empty() && access(privateFile.c_str(), R_OK) != 0) return "cannot read " + privateFile;
  std::lock_guard<std::mutex> lock(pamMutex_);
  Login login{&user, &password};
  const pam_conv conversation{converse, &login};
  pam_handle_t* handle = nullptr;
  int rc = settings_.confDir.empty()
               ? pam_start(kService, user.c_str(), &conversation, &handle)
               : pam_start_confdir(kService, user.c_str(), &conversation, settings_.confDir.c_str(), &handle);
  if (rc != PAM_SUCCESS) return std::string("PAM cannot start: ") + pam_strerror(handle, rc);
  pam_set_item(handle, PAM_RHOST, remoteHost.c_str());
  pam_set_item(handle, PAM_FAIL_DELAY, reinterpret_cast<const void*>(&noFailDelay));
  rc = pam_authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  if (rc == PAM_SUCCESS) rc = pam_acct_mgmt(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  std::string failure = rc == PAM_SUCCESS ? "" : pam_strerror(handle, rc);
  pam_end(handle, rc);
  return failure;
}

bool PamAuthenticator::remembered(const Digest& digest) {
  std::lock_guard<std::mutex> lock(cacheMutex_);
  const auto found = cache_.find(digest);
  if (found == cache_.end()) return false;
  if (found->second > Clock::now()) return true;
  cache_.erase(found);
  return false;
}

void PamAuthenticator::remember(const Digest& digest) {
  if (settings_.cacheTime.count() <= 0) return;
  std::lock_guard<std::mutex> lock(cacheMutex_);
  const Clock::time_point now = Clock::now();
  if (cache_.size() >= kMaxRemembered) std::erase_if(cache_, [now](const auto& entry) { return entry.second <= now; });
  if (cache_.size() >= kMaxRemembered) cache_.clear();
  cache_[digest] = now + settings_.cacheTime;
}

std::optional<gid_t> PamAuthenticator::groupId() const {
  struct group entry;
  struct group* found = nullptr;
  std::vector<char> buffer(65536);
  if (getgrnam_r(settings_.group.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  return found->gr_gid;
}

bool PamAuthenticator::isAllowed(const std::string& user) const {
  uid_t uid;
  gid_t primary;
  if (!lookUpUser(user, &uid, &primary)) return false;
  if (uid == 0) return true;
  const std::optional<gid_t> gid = groupId();
  return gid && isMember(user, primary, *gid);
}

bool PamAuthenticator::isAllowedLocal(uid_t uid, const std::string& user) const {
  return uid == 0 || uid == geteuid() || isAllowed(user);
}

}  // namespace omserver
