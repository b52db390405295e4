// TlsCredentials: the network endpoint's certificate and private key as PEM
// text. They are read from their files; at the default place the first
// start makes a self-signed pair, which clients then trust as it is (the
// certificate file is its own authority).
#ifndef OM_APPS_OMSERVER_TLSCREDENTIALS_H_
#define OM_APPS_OMSERVER_TLSCREDENTIALS_H_

#include <string>

namespace omserver {

struct TlsCredentials {
  std::string certPem;
  std::string keyPem;
};

// Reads both files and checks that the key belongs to the certificate.
// "" on success, else why not.
std::string loadTlsCredentials(const std::string& certFile, const std::string& keyFile, TlsCredentials* out);

// Makes a self-signed certificate for `hostName` with a new ECDSA P-256
// key: valid ten years, names `hostName`, localhost, 127.0.0.1 and ::1, not
// an authority, for TLS servers only. Writes the key and the certificate,
// each replaced atomically with mode 0600, and creates their directory with
// mode 0700 when it is missing. "" on success, else why not.
std::string createTlsCredentials(const std::string& certFile, const std::string& keyFile, const std::string& hostName);

// This host's name, for the certificate.
std::string localHostName();

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_TLSCREDENTIALS_H_
