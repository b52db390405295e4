#include "TlsCredentials.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

#include <om/UniqueFd.h>

namespace omserver {
namespace {

constexpr auto kValidity = std::chrono::hours(24 * 3652);
// Allows for a client whose clock is a little behind.
constexpr auto kBackdating = std::chrono::hours(1);

template <class Handle>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, void (*)(Handle)>;
using Certificate = Owned<gnutls_x509_crt_t>;
using PrivateKey = Owned<gnutls_x509_privkey_t>;

// New, empty handles; null when out of memory.
Certificate newCertificate() {
  gnutls_x509_crt_t raw = nullptr;
  gnutls_x509_crt_init(&raw);
  return Certificate(raw, gnutls_x509_crt_deinit);
}

PrivateKey newPrivateKey() {
  gnutls_x509_privkey_t raw = nullptr;
  gnutls_x509_privkey_init(&raw);
  return PrivateKey(raw, gnutls_x509_privkey_deinit);
}

std::string tlsError(const std::string& what, int code) { return what + ": " + gnutls_strerror(code); }

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

gnutls_datum_t datum(const std::string& text) {
  return {reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())), static_cast<unsigned>(text.size())};
}

// Takes the text GnuTLS allocated in `data` and frees it.
std::string takeText(gnutls_datum_t data) {
  std::string text(reinterpret_cast<const char*>(data.data), data.size);
  gnutls_free(data.data);
  return text;
}

std::string readFile(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return systemError("cannot read " + path);
  text->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return in.bad() ? systemError("cannot read " + path) : "";
}

std::string writeAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return systemError("write");
    done += static_cast<size_t>(n);
  }
  return "";
}

// Replaces `path` with `text` (mode 0600): a temporary file in the same
// directory, flushed to disk, then renamed over it.
std::string replaceFile(const std::string& path, const std::string& text) {
  const std::string temporary = path + ".tmp" + std::to_string(getpid());
  unlink(temporary.c_str());
  om::UniqueFd file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file.valid()) return systemError("cannot create " + temporary);
  std::string error = writeAll(file.get(), text);
  if (error.empty() && fsync(file.get()) != 0) error = systemError("fsync " + temporary);
  file.reset();
  if (error.empty() && rename(temporary.c_str(), path.c_str()) != 0) error = systemError("rename to " + path);
  if (!error.empty()) {
    unlink(temporary.c_str());
    return error;
  }
  const std::string directory = std::filesystem::path(path).parent_path().string();
  const om::UniqueFd parent(open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (parent.valid()) fsync(parent.get());
  return "";
}

std::string makePrivateDirectory(const std::string& file) {
  const std::filesystem::path directory = std::filesystem::path(file).parent_path();
  if (directory.empty()) return "";
  std::error_code error;
  if (std::filesystem::create_directories(directory, error)) {
    std::filesystem::permissions(directory, std::filesystem::perms::owner_all, error);
  }
  return error ? "cannot create " + directory.string() + ": " + error.message() : "";
}

// The subject's names: the host name, localhost, and both loopback addresses.
int setNames(gnutls_x509_crt_t crt, const std::string& hostName) {
  int rc = gnutls_x509_crt_set_dn_by_oid(crt, GNUTLS_OID_X520_COMMON_NAME, 0, hostName.data(),
                                         static_cast<unsigned>(hostName.size()));
  std::vector<std::string> dnsNames{hostName};
  if (hostName != "localhost") dnsNames.push_back("localhost");
  for (const std::string& name : dnsNames) {
    if (rc >= 0) {
      rc = gnutls_x509_crt_set_subject_alt_name(crt, GNUTLS_SAN_DNSNAME, name.data(),
                                                static_cast<unsigned>(name.size()), GNUTLS_FSAN_APPEND);
    }
  }
  in_addr v4{htonl(INADDR_LOOPBACK)};
  in6_addr v6 = IN6ADDR_LOOPBACK_INIT;
  if (rc >= 0) rc = gnutls_x509_crt_set_subject_alt_name(crt, GNUTLS_SAN_IPADDRESS, &v4, sizeof v4, GNUTLS_FSAN_APPEND);
  if (rc >= 0) rc = gnutls_x509_crt_set_subject_alt_name(crt, GNUTLS_SAN_IPADDRESS, &v6, sizeof v6, GNUTLS_FSAN_APPEND);
  return rc;
}

int setValidity(gnutls_x509_crt_t crt) {
  const auto now = std::chrono::system_clock::now();
  unsigned char serial[16];
  int rc = gnutls_rnd(GNUTLS_RND_NONCE, serial, sizeof serial);
  serial[0] &= 0x7f;  // a positive number
  if (rc >= 0) rc = gnutls_x509_crt_set_serial(crt, serial, sizeof serial);
  if (rc >= 0) rc = gnutls_x509_crt_set_activation_time(crt, std::chrono::system_clock::to_time_t(now - kBackdating));
  if (rc >= 0) rc = gnutls_x509_crt_set_expiration_time(crt, std::chrono::system_clock::to_time_t(now + kValidity));
  return rc;
}

// A server certificate that is not an authority, with its key identifier.
int setUsage(gnutls_x509_crt_t crt) {
  int rc = gnutls_x509_crt_set_basic_constraints(crt, 0, -1);
  if (rc >= 0) rc = gnutls_x509_crt_set_key_usage(crt, GNUTLS_KEY_DIGITAL_SIGNATURE);
  if (rc >= 0) rc = gnutls_x509_crt_set_key_purpose_oid(crt, GNUTLS_KP_TLS_WWW_SERVER, 0);
  unsigned char keyId[64];
  size_t keyIdSize = sizeof keyId;
  if (rc >= 0) rc = gnutls_x509_crt_get_key_id(crt, 0, keyId, &keyIdSize);
  if (rc >= 0) rc = gnutls_x509_crt_set_subject_key_id(crt, keyId, keyIdSize);
  return rc;
}

std::string makePair(const std::string& hostName, TlsCredentials* out) {
  const PrivateKey key = newPrivateKey();
  const Certificate crt = newCertificate();
  if (!key || !crt) return "out of memory";
  int rc =
      gnutls_x509_privkey_generate(key.get(), GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0);
  if (rc < 0) return tlsError("cannot make a key", rc);
  rc = gnutls_x509_crt_set_version(crt.get(), 3);
  if (rc >= 0) rc = gnutls_x509_crt_set_key(crt.get(), key.get());
  if (rc >= 0) rc = setNames(crt.get(), hostName);
  if (rc >= 0) rc = setValidity(crt.get());
  if (rc >= 0) rc = setUsage(crt.get());
  if (rc >= 0) rc = gnutls_x509_crt_sign2(crt.get(), crt.get(), key.get(), GNUTLS_DIG_SHA256, 0);
  if (rc < 0) return tlsError("cannot make the certificate", rc);
  gnutls_datum_t certPem{};
  gnutls_datum_t keyPem{};
  rc = gnutls_x509_crt_export2(crt.get(), GNUTLS_X509_FMT_PEM, &certPem);
  if (rc < 0) return tlsError("cannot write the certificate", rc);
  out->certPem = takeText(certPem);
  rc = gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, &keyPem);
  if (rc < 0) return tlsError("cannot write the key", rc);
  out->keyPem = takeText(keyPem);
  return "";
}

}  // namespace

std::string loadTlsCredentials(const std::string& certFile, const std::string& keyFile, TlsCredentials* out) {
  TlsCredentials read;
  std::string error = readFile(certFile, &read.certPem);
  if (error.empty()) error = readFile(keyFile, &read.keyPem);
  if (!error.empty()) return error;
  const Certificate crt = newCertificate();
  const PrivateKey key = newPrivateKey();
  if (!crt || !key) return "out of memory";
  const gnutls_datum_t certData = datum(read.certPem);
  const gnutls_datum_t keyData = datum(read.keyPem);
  int rc = gnutls_x509_crt_import(crt.get(), &certData, GNUTLS_X509_FMT_PEM);
  if (rc < 0) return tlsError("cannot use " + certFile, rc);
  rc = gnutls_x509_privkey_import2(key.get(), &keyData, GNUTLS_X509_FMT_PEM, nullptr, 0);
  if (rc < 0) return tlsError("cannot use " + keyFile, rc);
  // The pair belongs together when both name the same public key.
  unsigned char certKeyId[64];
  unsigned char keyId[64];
  size_t certKeyIdSize = sizeof certKeyId;
  size_t keyIdSize = sizeof keyId;
  rc = gnutls_x509_crt_get_key_id(crt.get(), 0, certKeyId, &certKeyIdSize);
  if (rc >= 0) rc = gnutls_x509_privkey_get_key_id(key.get(), 0, keyId, &keyIdSize);
  if (rc < 0) return tlsError("cannot use " + certFile + " with " + keyFile, rc);
  if (certKeyIdSize != keyIdSize || std::memcmp(certKeyId, keyId, keyIdSize) != 0) {
    return "the key " + keyFile + " does not belong to " + certFile;
  }
  *out = std::move(read);
  return "";
}

std::string createTlsCredentials(const std::string& certFile, const std::string& keyFile, const std::string& hostName) {
  TlsCredentials made;
  std::string error = makePair(hostName, &made);
  if (error.empty()) error = makePrivateDirectory(keyFile);
  if (error.empty()) error = makePrivateDirectory(certFile);
  // The key first: a certificate on disk always has its key beside it.
  if (error.empty()) error = replaceFile(keyFile, made.keyPem);
  if (error.empty()) error = replaceFile(certFile, made.certPem);
  return error;
}

std::string localHostName() {
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "localhost";
  return name;
}

}  // namespace omserver
