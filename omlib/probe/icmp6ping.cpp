// icmp6ping: ICMPv6 echo through the IP helper library.
#include "probe/icmp6ping.h"

#include <algorithm>
#include <cstring>

#include "core/sain6.h"
#include "probe/ihadll.h"

namespace {

constexpr DWORD kDefaultTimeout = 3000;
constexpr DWORD kDefaultRetryCount = 1;
constexpr WORD kDefaultRequestSize = 32;
constexpr int kDumpWidth = 16;

// Windows Sockets for the lifetime of a resolution.
class WinsockSession {
 public:
  WinsockSession() : m_rc(WSAStartup(MAKEWORD(2, 2), &m_data)) {}
  ~WinsockSession() {
    if (m_rc == 0) WSACleanup();
  }
  int error() const { return m_rc; }

 private:
  WSADATA m_data;
  int m_rc;
};

// The first IPv6 address of a resolution; false when there is none.
bool firstIpv6(const addrinfo_t& info, sockaddr_in6& address) {
  for (const addrinfo* entry = info; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family == AF_INET6 && entry->ai_addrlen >= sizeof address) {
      std::memcpy(&address, entry->ai_addr, sizeof address);
      return true;
    }
  }
  return false;
}

}  // namespace

const char icmp6ping::m_cszPadding[] =
    "Velmoran Systems Co ICMP6 Echo Request/Reply \"PING6\" for Orva Manager...";

icmp6ping::icmp6ping()
    : m_option{},
      m_reply(kBufferSize, 0),
      m_request(kBufferSize, 0),
      m_timeout(kDefaultTimeout),
      m_retryCount(kDefaultRetryCount),
      m_requestSize(kDefaultRequestSize),
      m_handle(INVALID_HANDLE_VALUE),
      m_lastError(0) {
  makeRequestData();
  create();
}

icmp6ping::icmp6ping(const icmp6ping& other) : icmp6ping() { copySettings(other); }

icmp6ping& icmp6ping::operator=(const icmp6ping& other) {
  if (this != &other) {
    copySettings(other);
    create();
  }
  return *this;
}

icmp6ping::~icmp6ping() { close(); }

void icmp6ping::copySettings(const icmp6ping& other) {
  m_option = other.m_option;
  m_reply = other.m_reply;
  m_request = other.m_request;
  m_timeout = other.m_timeout;
  m_retryCount = other.m_retryCount;
  m_requestSize = other.m_requestSize;
  m_lastError = other.m_lastError;
}

bool icmp6ping::create() {
  if (ok()) return true;
  m_handle = ihadll::getInstance().Icmp6CreateFile();
  if (!ok()) m_lastError = GetLastError();
  return ok();
}

void icmp6ping::close() {
  if (!ok()) return;
  ihadll::getInstance().IcmpCloseHandle(m_handle);
  m_handle = INVALID_HANDLE_VALUE;
}

void icmp6ping::clear() {
  m_option = IP_OPTION_INFORMATION{};
  std::fill(m_reply.begin(), m_reply.end(), 0);
  m_timeout = kDefaultTimeout;
  m_retryCount = kDefaultRetryCount;
  m_requestSize = kDefaultRequestSize;
  m_lastError = 0;
  makeRequestData();
}

void icmp6ping::makeRequestData() {
  const size_t padding = sizeof m_cszPadding - 1;
  for (size_t at = 0; at < m_request.size(); at += padding) {
    std::memcpy(&m_request[at], m_cszPadding, std::min(padding, m_request.size() - at));
  }
}

bool icmp6ping::ping6(const tstring& destination) {
  WinsockSession session;
  if (session.error() != 0) {
    m_lastError = static_cast<DWORD>(session.error());
    return false;
  }
  addrinfo_t info;
  sockaddr_in6 address;
  if (!info.resolve(destination.c_str(), AF_INET6, "0", 0, 0) || !firstIpv6(info, address)) {
    m_lastError = static_cast<DWORD>(info.empty() ? WSAGetLastError() : WSANO_DATA);
    return false;
  }
  return ping6(address);
}

bool icmp6ping::ping6(const sockaddr_in6& destination) {
  if (m_requestSize > kBufferSize) {
    m_lastError = ERROR_INVALID_PARAMETER;
    return false;
  }
  sockaddr_in6 source;
  {
    WinsockSession session;
    addrinfo_t local;
    if (session.error() != 0 || !local.resolve(nullptr, AF_INET6, "0", 0, 0) || !firstIpv6(local, source)) {
      m_lastError = static_cast<DWORD>(session.error() != 0 ? session.error() : WSAGetLastError());
      return false;
    }
  }
  sockaddr_in6 target = destination;
  for (DWORD attempt = 0; attempt <= m_retryCount; ++attempt) {
    const DWORD replies = ihadll::getInstance().Icmp6SendEcho2(
        m_handle, nullptr, nullptr, nullptr, &source, &target, m_request.data(), m_requestSize, &m_option,
        m_reply.data(), static_cast<DWORD>(m_reply.size()), m_timeout);
    if (replies != 0) return true;
    m_lastError = GetLastError();
  }
  return false;
}

tstring IcmpEchoReplyString(const icmp_echo_reply& reply, int index) {
  const auto* octets = reinterpret_cast<const BYTE*>(&reply.Address);
  tstring text;
  tstring part;
  text.format("*** ICMP_ECHO_REPLY(%d) ***\n", index);
  text += part.format("Addrress: %x:%x:%x:%x\n", octets[0], octets[1], octets[2], octets[3]);
  text += part.format("Status: %d(0x%08x)\n", static_cast<int>(reply.Status), static_cast<unsigned>(reply.Status));
  text += part.format("RoundTripTime: %d\n", static_cast<int>(reply.RoundTripTime));
  text += part.format("DataSize: %d\n", reply.DataSize);
  text += "IP OPTIONS...";
  text += part.format("  Ttl: %d,", reply.Options.Ttl);
  text += part.format(" Tos: %d,", reply.Options.Tos);
  text += part.format(" OptionsSize: %d\n", reply.Options.OptionsSize);
  text += "dumping...\n";
  const auto* data = static_cast<const BYTE*>(reply.Data);
  for (int at = 0; data != nullptr && at < reply.DataSize; at += kDumpWidth) {
    for (int i = at; i < std::min<int>(at + kDumpWidth, reply.DataSize); ++i) {
      text += part.format(i == at ? "%02x" : " %02x", data[i]);
    }
    text += "\n";
  }
  return text;
}
