// The self-signed certificate made on first start, read back with GnuTLS:
// its names, its limits, its files; and the checks made when loading a
// certificate and key. Clients trusting it over TLS: http_network_test.cpp.
#include <arpa/inet.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include "ServerTestSupport.h"
#include "TlsCredentials.h"

namespace omserver {
namespace {

using servertest::TempDir;

mode_t modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

// A certificate parsed from PEM text.
class ParsedCertificate {
 public:
  explicit ParsedCertificate(const std::string& pem) {
    gnutls_x509_crt_init(&crt_);
    const gnutls_datum_t data{reinterpret_cast<unsigned char*>(const_cast<char*>(pem.data())),
                              static_cast<unsigned>(pem.size())};
    imported_ = gnutls_x509_crt_import(crt_, &data, GNUTLS_X509_FMT_PEM) == 0;
  }
  ~ParsedCertificate() { gnutls_x509_crt_deinit(crt_); }
  bool imported() const { return imported_; }
  gnutls_x509_crt_t get() const { return crt_; }

  std::string commonName() const {
    char name[256];
    size_t size = sizeof name;
    if (gnutls_x509_crt_get_dn_by_oid(crt_, GNUTLS_OID_X520_COMMON_NAME, 0, 0, name, &size) < 0) return "";
    return std::string(name, size);
  }
  // Each subject alternative name as "DNS:name" or "IP:address".
  std::set<std::string> altNames() const {
    std::set<std::string> names;
    for (unsigned i = 0;; ++i) {
      char value[256];
      size_t size = sizeof value;
      const int type = gnutls_x509_crt_get_subject_alt_name(crt_, i, value, &size, nullptr);
      if (type < 0) break;
      if (type == GNUTLS_SAN_DNSNAME) names.insert("DNS:" + std::string(value, size));
      if (type == GNUTLS_SAN_IPADDRESS) {
        char text[INET6_ADDRSTRLEN];
        inet_ntop(size == 4 ? AF_INET : AF_INET6, value, text, sizeof text);
        names.insert(std::string("IP:") + text);
      }
    }
    return names;
  }

 private:
  gnutls_x509_crt_t crt_ = nullptr;
  bool imported_ = false;
};

class TlsCredentialsTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return dir_.path() + "/" + name; }
  TlsCredentials made(const std::string& host = "omhost.example") {
    EXPECT_EQ(createTlsCredentials(path("tls/omserver.crt"), path("tls/omserver.key"), host), "");
    TlsCredentials loaded;
    EXPECT_EQ(loadTlsCredentials(path("tls/omserver.crt"), path("tls/omserver.key"), &loaded), "");
    return loaded;
  }

  TempDir dir_;
};

TEST_F(TlsCredentialsTest, FilesArePrivateAndNothingElseIsLeft) {
  made();
  EXPECT_EQ(modeOf(path("tls")), 0700u);
  EXPECT_EQ(modeOf(path("tls/omserver.crt")), 0600u);
  EXPECT_EQ(modeOf(path("tls/omserver.key")), 0600u);
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(path("tls"))) {
    files.insert(entry.path().filename().string());
  }
  EXPECT_EQ(files, (std::set<std::string>{"omserver.crt", "omserver.key"}));
}

TEST_F(TlsCredentialsTest, TheCertificateNamesTheHostAndBothLoopbacks) {
  const ParsedCertificate crt(made().certPem);
  ASSERT_TRUE(crt.imported());
  EXPECT_EQ(gnutls_x509_crt_get_version(crt.get()), 3);
  EXPECT_EQ(crt.commonName(), "omhost.example");
  EXPECT_EQ(crt.altNames(), (std::set<std::string>{"DNS:omhost.example", "DNS:localhost", "IP:127.0.0.1", "IP:::1"}));
  EXPECT_NE(gnutls_x509_crt_check_hostname(crt.get(), "localhost"), 0u);
  EXPECT_NE(gnutls_x509_crt_check_hostname(crt.get(), "omhost.example"), 0u);
  EXPECT_EQ(gnutls_x509_crt_check_hostname(crt.get(), "other.example"), 0u);
  const unsigned char v4[4] = {127, 0, 0, 1};
  const unsigned char v4Other[4] = {127, 0, 0, 2};
  EXPECT_NE(gnutls_x509_crt_check_ip(crt.get(), v4, sizeof v4, 0), 0u);
  EXPECT_EQ(gnutls_x509_crt_check_ip(crt.get(), v4Other, sizeof v4Other, 0), 0u);
}

TEST_F(TlsCredentialsTest, LocalhostIsNamedOnceWhenItIsTheHostName) {
  const ParsedCertificate crt(made("localhost").certPem);
  EXPECT_EQ(crt.altNames(), (std::set<std::string>{"DNS:localhost", "IP:127.0.0.1", "IP:::1"}));
}

TEST_F(TlsCredentialsTest, TheCertificateServesTlsOnlyAndIsNoAuthority) {
  const ParsedCertificate crt(made().certPem);
  unsigned critical = 0;
  unsigned ca = 1;
  int pathLength = 0;
  EXPECT_GE(gnutls_x509_crt_get_basic_constraints(crt.get(), &critical, &ca, &pathLength), 0);
  EXPECT_EQ(ca, 0u);
  unsigned usage = 0;
  EXPECT_GE(gnutls_x509_crt_get_key_usage(crt.get(), &usage, &critical), 0);
  EXPECT_EQ(usage, static_cast<unsigned>(GNUTLS_KEY_DIGITAL_SIGNATURE));
  char purpose[64];
  size_t size = sizeof purpose;
  ASSERT_GE(gnutls_x509_crt_get_key_purpose_oid(crt.get(), 0, purpose, &size, &critical), 0);
  EXPECT_STREQ(purpose, GNUTLS_KP_TLS_WWW_SERVER);
  size = sizeof purpose;
  EXPECT_LT(gnutls_x509_crt_get_key_purpose_oid(crt.get(), 1, purpose, &size, &critical), 0);
  EXPECT_EQ(gnutls_x509_crt_get_pk_algorithm(crt.get(), nullptr), GNUTLS_PK_ECDSA);
}

TEST_F(TlsCredentialsTest, TheCertificateIsSelfSignedForTenYearsFromNow) {
  const ParsedCertificate crt(made().certPem);
  const time_t now = time(nullptr);
  const time_t from = gnutls_x509_crt_get_activation_time(crt.get());
  const time_t until = gnutls_x509_crt_get_expiration_time(crt.get());
  EXPECT_LE(from, now);
  EXPECT_GE(until - now, 10 * 365 * 86400);
  EXPECT_LT(until - now, 11 * 365 * 86400);
  EXPECT_EQ(gnutls_x509_crt_check_issuer(crt.get(), crt.get()), 1u);
  gnutls_x509_crt_t self = crt.get();
  unsigned status = ~0u;
  ASSERT_EQ(gnutls_x509_crt_verify(crt.get(), &self, 1, 0, &status), 0);
  EXPECT_EQ(status, 0u);
}

TEST_F(TlsCredentialsTest, EachMakingIsANewPair) {
  const TlsCredentials first = made();
  const TlsCredentials second = made();
  EXPECT_NE(first.keyPem, second.keyPem);
  EXPECT_NE(first.certPem, second.certPem);
}

TEST_F(TlsCredentialsTest, AKeyOfAnotherPairIsRefused) {
  ASSERT_EQ(createTlsCredentials(path("a.crt"), path("a.key"), "a"), "");
  ASSERT_EQ(createTlsCredentials(path("b.crt"), path("b.key"), "b"), "");
  TlsCredentials out;
  out.certPem = "untouched";
  const std::string error = loadTlsCredentials(path("a.crt"), path("b.key"), &out);
  EXPECT_NE(error.find("does not belong"), std::string::npos) << error;
  EXPECT_EQ(out.certPem, "untouched");
}

TEST_F(TlsCredentialsTest, MissingOrDamagedFilesAreRefused) {
  ASSERT_EQ(createTlsCredentials(path("a.crt"), path("a.key"), "a"), "");
  TlsCredentials out;
  EXPECT_NE(loadTlsCredentials(path("none.crt"), path("a.key"), &out).find("none.crt"), std::string::npos);
  EXPECT_NE(loadTlsCredentials(path("a.crt"), path("none.key"), &out).find("none.key"), std::string::npos);
  std::ofstream(path("junk.crt")) << "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n";
  EXPECT_NE(loadTlsCredentials(path("junk.crt"), path("a.key"), &out), "");
  std::ofstream(path("empty.key")).flush();
  EXPECT_NE(loadTlsCredentials(path("a.crt"), path("empty.key"), &out), "");
}

TEST_F(TlsCredentialsTest, AnUnwritablePlaceIsReported) {
  std::ofstream(path("file")) << "x";
  EXPECT_NE(createTlsCredentials(path("file/tls/omserver.crt"), path("file/tls/omserver.key"), "h"), "");
}

}  // namespace
}  // namespace omserver
