// ServerOptions: the daemon's command line, read into settings with every
// default filled in. Reading looks at the arguments only, never at the file
// system; what the settings name is checked later (ConfigCheck.h).
#ifndef OM_APPS_OMSERVER_SERVEROPTIONS_H_
#define OM_APPS_OMSERVER_SERVEROPTIONS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace omserver {

inline constexpr uint16_t kHttpsPort = 5989;
inline constexpr uint16_t kHttpPort = 5988;

struct ServerOptions {
  std::string socketPath;  // empty with --no-socket
  bool network = true;     // false with --no-network
  std::string address;     // empty: every address of this host
  uint16_t port = kHttpsPort;
  bool tls = true;  // false with --http
  std::string certFile;
  std::string keyFile;
  // The certificate and key are at their default place, where the first
  // start creates them.
  bool defaultCredentials = true;
  std::string group = "omadmin";
  std::string pamDir;  // empty: the system's PAM configuration
  size_t maxBody = size_t{4} << 20;
  unsigned maxCalls = 64;
  unsigned maxCallsPerClient = 16;
  unsigned timeoutSeconds = 30;
  unsigned authDelayMs = 1000;
  bool check = false;
  bool help = false;
};

// Reads `args` (without the program name); `home` is the machine home the
// default socket and certificate paths are under. False, with a one-line
// reason in `error`, for an unknown option, a missing or bad value, or
// options that contradict each other.
bool parseServerOptions(const std::vector<std::string>& args, const std::string& home, ServerOptions* options,
                        std::string* error);

// The text --help prints.
const char* serverUsage();

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_SERVEROPTIONS_H_
