#include "ServerOptions.h"

#include <charconv>
#include <string_view>

namespace omserver {
namespace {

constexpr unsigned kMaxCount = 100000;
constexpr unsigned kMaxTimeoutSeconds = 86400;
constexpr unsigned kMaxAuthDelayMs = 60000;
constexpr size_t kMaxBodyLimit = size_t{1} << 32;

// What the options say before the defaults that depend on each other are
// settled.
struct Reading {
  ServerOptions options;
  bool socketGiven = false;
  bool noSocket = false;
  bool portGiven = false;
};

template <class T>
std::string setNumber(std::string_view name, const std::string& text, T min, T max, T* field) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (!text.empty() && failure == std::errc() && stop == end && value >= min && value <= max) {
    *field = value;
    return "";
  }
  return std::string(name) + " takes a whole number from " + std::to_string(min) + " to " + std::to_string(max) +
         ", not \"" + text + "\"";
}

std::string setText(std::string_view name, const std::string& text, std::string* field) {
  if (text.empty()) return std::string(name) + " takes a value that is not empty";
  *field = text;
  return "";
}

// One option: its name, whether a value follows, and how it applies; the
// reason the value is wrong, or "".
struct Option {
  std::string_view name;
  bool hasValue;
  std::string (*apply)(Reading& r, const std::string& value);
};

const Option kOptions[] = {
    {"--socket", true,
     [](Reading& r, const std::string& v) {
       r.socketGiven = true;
       return setText("--socket", v, &r.options.socketPath);
     }},
    {"--no-socket", false, [](Reading& r, const std::string&) { return (r.noSocket = true, std::string()); }},
    {"--address", true, [](Reading& r, const std::string& v) { return setText("--address", v, &r.options.address); }},
    {"--port", true,
     [](Reading& r, const std::string& v) {
       r.portGiven = true;
       return setNumber<uint16_t>("--port", v, 0, 65535, &r.options.port);
     }},
    {"--http", false, [](Reading& r, const std::string&) { return (r.options.tls = false, std::string()); }},
    {"--no-network", false, [](Reading& r, const std::string&) { return (r.options.network = false, std::string()); }},
    {"--cert", true, [](Reading& r, const std::string& v) { return setText("--cert", v, &r.options.certFile); }},
    {"--key", true, [](Reading& r, const std::string& v) { return setText("--key", v, &r.options.keyFile); }},
    {"--group", true, [](Reading& r, const std::string& v) { return setText("--group", v, &r.options.group); }},
    {"--pam-dir", true, [](Reading& r, const std::string& v) { return setText("--pam-dir", v, &r.options.pamDir); }},
    {"--max-body", true,
     [](Reading& r, const std::string& v) {
       return setNumber<size_t>("--max-body", v, 1, kMaxBodyLimit, &r.options.maxBody);
     }},
    {"--max-calls", true,
     [](Reading& r, const std::string& v) {
       return setNumber<unsigned>("--max-calls", v, 1, kMaxCount, &r.options.maxCalls);
     }},
    {"--max-calls-per-client", true,
     [](Reading& r, const std::string& v) {
       return setNumber<unsigned>("--max-calls-per-client", v, 1, kMaxCount, &r.options.maxCallsPerClient);
     }},
    {"--timeout", true,
     [](Reading& r, const std::string& v) {
       return setNumber<unsigned>("--timeout", v, 1, kMaxTimeoutSeconds, &r.options.timeoutSeconds);
     }},
    {"--auth-delay-ms", true,
     [](Reading& r, const std::string& v) {
       return setNumber<unsigned>("--auth-delay-ms", v, 0, kMaxAuthDelayMs, &r.options.authDelayMs);
     }},
    {"--check", false, [](Reading& r, const std::string&) { return (r.options.check = true, std::string()); }},
    {"--help", false, [](Reading& r, const std::string&) { return (r.options.help = true, std::string()); }},
};

const Option* findOption(std::string_view name) {
  for (const Option& option : kOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

// Fills in the defaults that depend on other options, and refuses
// combinations that make no sense.
std::string settle(Reading& r, const std::string& home) {
  ServerOptions& o = r.options;
  if (r.noSocket && r.socketGiven) return "--socket and --no-socket contradict each other";
  if (r.noSocket) o.socketPath.clear();
  if (!r.noSocket && !r.socketGiven) o.socketPath = home + "/run/omserver.sock";
  if (o.socketPath.empty() && !o.network) return "nothing to serve: --no-socket and --no-network together";
  if (o.certFile.empty() != o.keyFile.empty()) return "--cert and --key go together";
  o.defaultCredentials = o.certFile.empty();
  if (!o.defaultCredentials && !o.tls) return "--cert and --key are for HTTPS, not with --http";
  if (o.defaultCredentials) {
    o.certFile = home + "/tls/omserver.crt";
    o.keyFile = home + "/tls/omserver.key";
  }
  if (!r.portGiven) o.port = o.tls ? kHttpsPort : kHttpPort;
  return "";
}

}  // namespace

bool parseServerOptions(const std::vector<std::string>& args, const std::string& home, ServerOptions* options,
                        std::string* error) {
  Reading reading;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const size_t equals = arg.find('=');
    const std::string_view name = std::string_view(arg).substr(0, equals);
    const Option* option = arg.starts_with("--") ? findOption(name) : nullptr;
    if (option == nullptr) {
      *error = arg.starts_with("--") ? "unknown option " + std::string(name) : "unexpected argument \"" + arg + "\"";
      return false;
    }
    std::string value;
    if (equals != std::string::npos) {
      if (!option->hasValue) return (*error = std::string(name) + " takes no value", false);
      value = arg.substr(equals + 1);
    } else if (option->hasValue) {
      if (i + 1 == args.size()) return (*error = std::string(name) + " needs a value", false);
      value = args[++i];
    }
    *error = option->apply(reading, value);
    if (!error->empty()) return false;
  }
  *error = settle(reading, home);
  if (!error->empty()) return false;
  *options = reading.options;
  return true;
}

const char* serverUsage() {
  return "usage: omserver [OPTION]...\n"
         "Serves the object manager over a Unix socket and over HTTPS (CIM-XML).\n"
         "  --socket PATH                the local endpoint (default HOME/run/omserver.sock)\n"
         "  --no-socket                  no local endpoint\n"
         "  --address ADDR               the network endpoint's address (default: every address)\n"
         "  --port N                     its port (default 5989, 5988 with --http; 0: any free port)\n"
         "  --http                       plain HTTP instead of HTTPS\n"
         "  --no-network                 no network endpoint\n"
         "  --cert FILE --key FILE       the TLS certificate and key (default HOME/tls/omserver.crt|.key,\n"
         "                               created on first start)\n"
         "  --group NAME                 who may call besides root (default omadmin)\n"
         "  --pam-dir DIR                a private PAM configuration directory\n"
         "  --max-body BYTES             the largest request body (default 4194304)\n"
         "  --max-calls N                calls in progress at once (default 64)\n"
         "  --max-calls-per-client N     calls in progress at once for one user (default 16)\n"
         "  --timeout SECONDS            how long a connection may stay silent (default 30)\n"
         "  --auth-delay-ms N            the wait before refusing a login (default 1000)\n"
         "  --check                      check the configuration and exit\n"
         "  --help                       this text\n";
}

}  // namespace omserver
