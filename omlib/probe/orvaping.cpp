// OrvaPing and PingResult.
#include "probe/orvaping.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <iphlpapi.h>

#include "core/sequencer.h"

namespace {

constexpr int kIcmpHeader = 8;
constexpr int kStampSize = 4;  // the send time before the data
constexpr int kIpHeaderMin = 20;
constexpr BYTE kEchoReply = 0;
constexpr BYTE kEchoRequest = 8;
constexpr BYTE kIcmpProtocol = 1;
constexpr int kSendTries = 10;
// Outcomes of a trace route hop besides the IP status of its reply.
constexpr ULONG kNoReply = 0xFFFFFFFF;
constexpr ULONG kFailed = 0xFFFFFFFE;
constexpr ULONG kCancelled = 0xFFFFFFFD;

int compareValues(long a, long b) { return a < b ? -1 : (a > b ? 1 : 0); }

// The text of a type 3 (destination unreachable) code.
const char* unreachableText(int code) {
  static const char* const kTexts[] = {
      "Net unreachable",
      "host unreachable",
      "protocol unreachable",
      "port unreachable",
      "fragmentation needed and don't fragmentation flag set",
      "source route failed",
      "Destination network unknown",
      "Destination unreachable",  // 7, like 13 and above
      "Source host isolated",
      "Communication with destination network administratively prohibited",
      "Communication with destination host Administratively prohibited",
      "Network unreachable for type of service",
      "Host unreachable for type of service",
  };
  return code >= 0 && code < 13 ? kTexts[code] : "Destination unreachable";
}

// The IP status of an ICMP reply, as a trace route reads it.
ULONG statusOf(int type, int code) {
  switch (type) {
    case kEchoReply: return IP_SUCCESS;
    case 3:
      switch (code) {
        case 0: return IP_DEST_NET_UNREACHABLE;
        case 2: return IP_DEST_PROT_UNREACHABLE;
        case 3: return IP_DEST_PORT_UNREACHABLE;
        case 4: return IP_PACKET_TOO_BIG;
        default: return IP_DEST_HOST_UNREACHABLE;
      }
    case 4: return IP_SOURCE_QUENCH;
    case 11: return code == 0 ? IP_TTL_EXPIRED_TRANSIT : IP_TTL_EXPIRED_REASSEM;
    case 12: return IP_PARAM_PROBLEM;
    default: return IP_GENERAL_FAILURE;
  }
}

USHORT readShort(const char* at) {
  USHORT value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

tstring addressText(IN_ADDR address) { return inet_ntoa(address); }

// The identifier of this process's echo requests.
USHORT identifier() { return static_cast<USHORT>(GetCurrentProcessId()); }

// "%3d %-15.15s": the hop number and the responder, cut to 15 characters.
tstring hopPrefix(int hop, const tstring& responder) {
  tstring text;
  text.format("%3d %-15.15s", hop, responder.c_str());
  return text;
}

// A zeroed packet buffer; null when memory is short.
std::unique_ptr<char[]> newBuffer() {
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[OrvaPing::kBufferSize]);
  if (buffer != nullptr) std::memset(buffer.get(), 0, OrvaPing::kBufferSize);
  return buffer;
}

}  // namespace

// ---- PingResult -------------------------------------------------------------------------------

void PingResult::copyIn(const PingResult& other) {
  m_flags = other.m_flags;
  m_source = other.m_source;
  m_destination = other.m_destination;
  m_size = other.m_size;
  m_time = other.m_time;
  m_type = other.m_type;
  m_code = other.m_code;
  m_message = other.m_message;
  m_errorCode = other.m_errorCode;
}

void PingResult::clear() {
  m_flags = 0;
  m_source.s_addr = 0;
  m_destination.s_addr = 0;
  m_size = 0;
  m_time = 0;
  m_type = 0;
  m_code = 0;
  m_message.clear();
  m_errorCode = 0;
}

int PingResult::compare(const PingResult& other) const {
  const long pairs[][2] = {
      {m_flags, other.m_flags},
      {static_cast<long>(ntohl(m_source.s_addr)), static_cast<long>(ntohl(other.m_source.s_addr))},
      {static_cast<long>(ntohl(m_destination.s_addr)), static_cast<long>(ntohl(other.m_destination.s_addr))},
      {m_size, other.m_size},
      {m_time, other.m_time},
      {m_type, other.m_type},
      {m_code, other.m_code},
  };
  for (const auto& p : pairs) {
    if (const int c = compareValues(p[0], p[1]); c != 0) return c;
  }
  if (const int c = m_message.compare(other.m_message); c != 0) return c < 0 ? -1 : 1;
  return compareValues(m_errorCode, other.m_errorCode);
}

void PingResult::setDestination(IN_ADDR destination) {
  m_destination = destination;
  m_flags |= kDestination;
}

void PingResult::setTime(long milliseconds) {
  m_time = milliseconds;
  m_flags |= kTime;
}

void PingResult::setTypeAndCode(int type, int code) {
  m_type = type;
  m_code = code;
  m_flags |= kType;
}

void PingResult::setMessage(const tstring& message) {
  m_message = message;
  m_flags |= kMessage;
}

void PingResult::setErrorCode(int code) {
  m_errorCode = code;
  m_flags |= kErrorCode;
}

tstring PingResult::toTypeString(int type, int code) {
  switch (type) {
    case 0: return "Echo Reply";
    case 3: return unreachableText(code);
    case 4: return "Source Quench";
    case 5: return code == 2 ? "type of service and network redirect"
                             : (code == 3 ? "type of service and host redirect" : "Redirect");
    case 8: return "Echo";
    case 11: return code == 0 ? "ttl exceeded" : (code == 1 ? "fragmentation reassembly timeout" : "Time Exceeded");
    case 12:
      return code == 0 ? "Pointer indicates error"
                       : (code == 1 ? "no pointer present/required option is missing" : "Parameter Problem");
    case 13: return "Timestamp";
    case 14: return "Timestamp Reply";
    case 15: return "Information Request";
    case 16: return "Information Reply";
    default: return "";
  }
}

tstring PingResult::toString() const {
  tstring text;
  text.format("source %s, %d bytes", addressText(m_source).c_str(), m_size);
  tstring part;
  if (m_flags & kDestination) text += part.format(", destination %s", addressText(m_destination).c_str());
  if (m_flags & kTime) text += part.format(", time %ld ms", m_time);
  if (m_flags & kType) text += part.format(", type %d code %d", m_type, m_code);
  if (m_flags & kErrorCode) text += part.format(", error code %d", m_errorCode);
  if (m_flags & kMessage) text += ": " + m_message;
  return text;
}

// ---- OrvaPing: settings ---------------------------------------------------------------------------

const char OrvaPing::kPadding[] = "Velmoran Systems Co Orva Manager! It's cool!!";

OrvaPing::OrvaPing(bool debug)
    : m_mode(kPing),
      m_debug(debug),
      m_TTL(128),
      m_Timeout(1000),
      m_RetryCount(4),
      m_Interval(0),
      m_MaxHop(30),
      m_ImmediateEnd(false),
      m_Queries(3),
      m_DataSize(32),
      m_destAddr{},
      m_lastError(0),
      m_sent(0),
      m_received(0) {}

OrvaPing::OrvaPing(const tstring& destination, const tstring& mask, bool debug) : OrvaPing(debug) {
  m_Destination = destination;
  m_Mask = mask;
}

OrvaPing::OrvaPing(const OrvaPing& other) : OrvaPing(other.m_debug) { copySettings(other); }

OrvaPing& OrvaPing::operator=(const OrvaPing& other) {
  if (this != &other) copySettings(other);
  return *this;
}

void OrvaPing::copySettings(const OrvaPing& other) {
  m_mode = other.m_mode;
  m_debug = other.m_debug;
  m_Mask = other.m_Mask;
  m_Destination = other.m_Destination;
  m_TTL = other.m_TTL;
  m_Timeout = other.m_Timeout;
  m_RetryCount = other.m_RetryCount;
  m_Interval = other.m_Interval;
  m_MaxHop = other.m_MaxHop;
  m_ImmediateEnd = other.m_ImmediateEnd;
  m_Queries = other.m_Queries;
  m_DataSize = other.m_DataSize;
}

void OrvaPing::addListener(OrvaPingListener* listener) {
  if (listener != nullptr && std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end()) {
    m_listeners.push_back(listener);
  }
}

void OrvaPing::removeListener(OrvaPingListener* listener) {
  m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener), m_listeners.end());
}

// ---- OrvaPing: text ---------------------------------------------------------------------------------

tstring OrvaPing::toString() const {
  tstring text;
  for (const tstring& line : m_lines) text += line + "\r\n";
  return text;
}

void OrvaPing::callListener(const tstring& text) {
  for (OrvaPingListener* listener : m_listeners) listener->message(text);
}

bool OrvaPing::askListeners() {
  for (OrvaPingListener* listener : m_listeners) {
    if (!listener->notify(0)) return false;
  }
  return true;
}

void OrvaPing::addLine(const tstring& text) {
  m_lines.push_back(text);
  callListener(text);
}

void OrvaPing::addFailure(const tstring& text, int error) {
  PingResult result;
  result.setMessage(text);
  result.setErrorCode(error);
  m_results.push_back(result);
  addLine(text);
}

tstring OrvaPing::lossLine(const tstring& destination, int sent, int received) {
  const int lost = sent - received;
  tstring text;
  text.format("reply from %s: Lost=%d / Sent=%d := %d%%", destination.c_str(), lost, sent,
              sent > 0 ? lost * 100 / sent : 0);
  return text;
}

tstring OrvaPing::getPrintableDest() const { return addressText(m_destAddr); }

// ---- OrvaPing: sockets ----------------------------------------------------------------------------

bool OrvaPing::startup() {
  WSADATA data;
  const int rc = WSAStartup(MAKEWORD(2, 2), &data);
  if (rc != 0) {
    m_lastError = rc;
    addFailure(tstring().format("Orva Manager PING %s: WSAStartup failed: %08x", m_Destination.c_str(), rc), rc);
    return false;
  }
  return true;
}

void OrvaPing::cleanup() { WSACleanup(); }

SOCKET OrvaPing::open(BYTE ttl) {
  SOCKET s = WSASocketA(AF_INET, SOCK_RAW, IPPROTO_ICMP, nullptr, 0, WSA_FLAG_OVERLAPPED);
  const char* failed = nullptr;
  if (s == INVALID_SOCKET) {
    failed = "Orva Manager PING %s: WSASocket failed: %08x";
  } else {
    const DWORD timeout = static_cast<DWORD>(m_Timeout);
    const int hops = ttl;
    if (setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout) != 0) {
      failed = "Orva Manager PING %s: setsockopt (SOL_SOCKET, SO_RCVTIMEO) failed: %08x";
    } else if (setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout) != 0) {
      failed = "Orva Manager PING %s: setsockopt (SOL_SOCKET, SO_SNDTIMEO) failed: %08x";
    } else if (setsockopt(s, IPPROTO_IP, IP_TTL, reinterpret_cast<const char*>(&hops), sizeof hops) != 0) {
      failed = "Orva Manager PING %s: setsockopt (IPPROTO_IP, IP_TTL) failed: %08x";
    }
  }
  if (failed == nullptr) return s;
  m_lastError = WSAGetLastError();
  if (s != INVALID_SOCKET) closesocket(s);
  addFailure(tstring().format(failed, getPrintableDest().c_str(), m_lastError), m_lastError);
  return INVALID_SOCKET;
}

void OrvaPing::close(SOCKET s) {
  if (s != INVALID_SOCKET) closesocket(s);
}

bool OrvaPing::setDest() {
  if (m_Destination.empty()) {
    m_lastError = WSAEINVAL;
    addFailure(tstring().format("Orva Manager PING %s: invalid address", m_Destination.c_str()), m_lastError);
    return false;
  }
  const ULONG address = inet_addr(m_Destination.c_str());
  if (address != INADDR_NONE) {
    m_destAddr.s_addr = address;
    return true;
  }
  const hostent* host = gethostbyname(m_Destination.c_str());
  if (host == nullptr) {
    m_lastError = WSAGetLastError();
    addFailure(tstring().format("Orva Manager PING %s: host not found( %s ): gethostbyname() failed: %08x",
                                m_Destination.c_str(), m_Destination.c_str(), m_lastError),
               m_lastError);
    return false;
  }
  std::memcpy(&m_destAddr.s_addr, host->h_addr_list[0], sizeof m_destAddr.s_addr);
  return true;
}

bool OrvaPing::blocking(SOCKET s, bool on) {
  ULONG nonBlocking = on ? 0 : 1;
  if (ioctlsocket(s, FIONBIO, &nonBlocking) == 0) return true;
  m_lastError = WSAGetLastError();
  addFailure(tstring().format("Orva Manager PING %s: ioctlsocket (FIONBIO) failed: %08x",
                              getPrintableDest().c_str(), m_lastError),
             m_lastError);
  return false;
}

bool OrvaPing::IsRemainData(SOCKET s) {
  ULONG pending = 0;
  return ioctlsocket(s, FIONREAD, &pending) == 0 && pending > 0;
}

bool OrvaPing::CheckTimeout(SOCKET s, DWORD deadline) {
  for (;;) {
    if (IsRemainData(s)) return true;
    if (m_Timeout > 0 && static_cast<LONG>(GetTickCount() - deadline) >= 0) return false;
    Sleep(1);
  }
}

bool OrvaPing::sendicmp(SOCKET s, IN_ADDR target, const char* packet, int size, bool report) {
  SOCKADDR_IN to{};
  to.sin_family = AF_INET;
  to.sin_addr = target;
  const tstring printable = addressText(target);
  const tstring& named = target.s_addr == m_destAddr.s_addr ? m_Destination : printable;
  for (int tries = 1;; ++tries) {
    if (sendto(s, packet, size, 0, reinterpret_cast<const SOCKADDR*>(&to), sizeof to) != SOCKET_ERROR) break;
    m_lastError = WSAGetLastError();
    if (m_lastError != WSAEWOULDBLOCK) {
      addFailure(tstring().format("Orva Manager PING %s(%s): sendto failed: %08x", printable.c_str(), named.c_str(),
                                  m_lastError),
                 m_lastError);
      return false;
    }
    if (tries == kSendTries) return false;
    Sleep(1);
  }
  if (report) addLine(tstring().format("Orva Manager PING %s(%s): sendto success", printable.c_str(), named.c_str()));
  return true;
}

int OrvaPing::recvicmp(SOCKET s, USHORT id, USHORT sequence, char* buffer, SOCKADDR_IN& from) {
  const DWORD deadline = GetTickCount() + static_cast<DWORD>(m_Timeout);
  for (;;) {
    if (m_Timeout > 0 && static_cast<LONG>(GetTickCount() - deadline) >= 0) {
      m_lastError = WSAETIMEDOUT;
      WSASetLastError(m_lastError);
      return -1;
    }
    if (!CheckTimeout(s, deadline)) continue;
    int fromLength = sizeof from;
    const int bytes = recvfrom(s, buffer, getMaxSize(), 0, reinterpret_cast<SOCKADDR*>(&from), &fromLength);
    if (bytes == SOCKET_ERROR) {
      m_lastError = WSAGetLastError();
      if (m_lastError == WSAEMSGSIZE) continue;  // longer than any answer of ours
      return -1;
    }
    if (bytes < kIpHeaderMin || static_cast<BYTE>(buffer[9]) != kIcmpProtocol) continue;
    const int headerLength = (buffer[0] & 0x0f) * 4;
    if (bytes < headerLength + kIcmpHeader) return bytes;  // too short to tell: reported as such
    const char* icmp = buffer + headerLength;
    USHORT repliedId = 0;
    USHORT repliedSequence = 0;
    if (static_cast<BYTE>(icmp[0]) == kEchoReply) {
      repliedId = readShort(icmp + 4);
      repliedSequence = readShort(icmp + 6);
    } else if (!getReference(icmp, bytes - headerLength, repliedId, repliedSequence)) {
      continue;
    }
    if (repliedId == id && repliedSequence == sequence) return bytes;
  }
}

// ---- OrvaPing: packets -------------------------------------------------------------------------------

USHORT OrvaPing::calcChecksum(const void* data, int size) {
  const auto* bytes = static_cast<const BYTE*>(data);
  ULONG sum = 0;
  for (; size > 1; bytes += 2, size -= 2) sum += readShort(reinterpret_cast<const char*>(bytes));
  if (size == 1) sum += *bytes;
  sum = (sum >> 16) + (sum & 0xffff);
  sum += sum >> 16;
  return static_cast<USHORT>(~sum);
}

int OrvaPing::setIcmpData(char* packet) const {
  const int data = std::min(std::max(m_DataSize - kStampSize, 0), kMaxData);
  const int size = kIcmpHeader + kStampSize + data;
  std::memset(packet, 0, static_cast<size_t>(size));
  packet[0] = static_cast<char>(kEchoRequest);
  const USHORT id = identifier();
  std::memcpy(packet + 4, &id, sizeof id);
  const int padding = static_cast<int>(sizeof kPadding) - 1;
  for (int at = 0; at < data; at += padding) {
    std::memcpy(packet + kIcmpHeader + kStampSize + at, kPadding, static_cast<size_t>(std::min(padding, data - at)));
  }
  return size;
}

void OrvaPing::stamp(char* packet, int size, USHORT sequence) {
  const DWORD now = GetTickCount();
  std::memcpy(packet + 6, &sequence, sizeof sequence);
  std::memcpy(packet + kIcmpHeader, &now, sizeof now);
  packet[2] = packet[3] = 0;
  const USHORT sum = calcChecksum(packet, size);
  std::memcpy(packet + 2, &sum, sizeof sum);
}

bool OrvaPing::getReference(const char* icmp, int length, USHORT& id, USHORT& sequence) {
  if (length < kIcmpHeader + kIpHeaderMin) return false;
  const int quotedHeader = (icmp[kIcmpHeader] & 0x0f) * 4;
  if (quotedHeader < kIpHeaderMin || length < kIcmpHeader + quotedHeader + kIcmpHeader) return false;
  const char* quoted = icmp + kIcmpHeader + quotedHeader;
  id = readShort(quoted + 4);
  sequence = readShort(quoted + 6);
  return true;
}

int OrvaPing::stockResult(const char* datagram, int bytes, int hop) {
  const int headerLength = (datagram[0] & 0x0f) * 4;
  IN_ADDR source;
  IN_ADDR destination;
  std::memcpy(&source.s_addr, datagram + 12, 4);
  std::memcpy(&destination.s_addr, datagram + 16, 4);
  const tstring from = addressText(source);
  PingResult result;
  result.setSource(source);
  if (bytes < headerLength + kIcmpHeader) {
    const tstring text = hop > 0 ? hopPrefix(hop, from) + " Too few bytes" : "Too few bytes from " + from;
    result.setMessage(text);
    result.setErrorCode(-1);
    m_results.push_back(result);
    addLine(text);
    return -1;
  }
  const char* icmp = datagram + headerLength;
  const int size = bytes - headerLength;
  const int type = static_cast<BYTE>(icmp[0]);
  const int code = static_cast<BYTE>(icmp[1]);
  const int ttl = static_cast<BYTE>(datagram[8]);
  result.setDestination(destination);
  result.setSize(size);
  result.setTypeAndCode(type, code);
  result.setMessage(PingResult::toTypeString(type, code));
  result.setErrorCode(type << 16 | code);
  if (type == kEchoReply && size >= kIcmpHeader + kStampSize) {
    DWORD sent;
    std::memcpy(&sent, icmp + kIcmpHeader, sizeof sent);
    result.setTime(static_cast<LONG>(GetTickCount() - sent));
  }
  m_results.push_back(result);

  tstring text;
  tstring part;
  if (m_debug) {
    text.format("reply from %s.\r\n", from.c_str());
    text += part.format("reply to %s.\r\n", addressText(destination).c_str());
    text += part.format("%d bytes in ICMP packet.\r\n", size);
    text += part.format("TTL: %d\r\n", ttl);
    if (result.getFlags() & PingResult::kTime) text += part.format("time: %ld ms\r\n", result.getTime());
    text += part.format("error code = %d\r\n", result.getErrorCode());
    text += result.getMessage();
  } else if (hop > 0) {
    text = hopPrefix(hop, from) + " " + result.getMessage();
  } else if (type == kEchoReply) {
    text.format("reply from %s: ", from.c_str());
    text += part.format("bytes=%d ", size - kIcmpHeader);
    if (result.getTime() > 0) {
      text += part.format("time=%ldms ", result.getTime());
    } else {
      text += "time<1ms";
    }
    text += part.format("TTL=%d ", ttl);
  } else {
    text.format("reply from %s: %s", from.c_str(), result.getMessage().c_str());
  }
  addLine(text);
  return type;
}

// ---- OrvaPing: runs -------------------------------------------------------------------------------------

bool OrvaPing::GoAhead() {
  m_results.clear();
  m_lines.clear();
  m_sent = m_received = 0;
  if (!startup()) return false;
  bool ok = setDest();
  if (ok) {
    switch (m_mode) {
      case kPing: ok = GoAheadPing(); break;
      case kTraceRoute: {
        std::vector<IN_ADDR> path;
        ok = GoAheadTraceRoute(path);
        break;
      }
      case kPathPing: ok = GoAheadPathPing(); break;
    }
  }
  cleanup();
  return ok;
}

bool OrvaPing::GoAheadPing() { return ping(m_destAddr, true); }

bool OrvaPing::allocate(std::unique_ptr<char[]>& packet, std::unique_ptr<char[]>& reply) {
  packet = newBuffer();
  reply = newBuffer();
  if (packet != nullptr && reply != nullptr) return true;
  m_lastError = ERROR_OUTOFMEMORY;
  addFailure(tstring().format("Orva Manager PING %s: no memory for the packet buffers: %08x",
                              getPrintableDest().c_str(), m_lastError),
             m_lastError);
  return false;
}

bool OrvaPing::ping(IN_ADDR target, bool report) {
  m_sent = m_received = 0;
  std::unique_ptr<char[]> packet;
  std::unique_ptr<char[]> reply;
  if (!allocate(packet, reply)) return false;
  const int size = setIcmpData(packet.get());
  const SOCKET s = open(m_TTL);
  if (s == INVALID_SOCKET) return false;
  const USHORT id = identifier();
  for (int i = 0; i < m_RetryCount; ++i) {
    const USHORT sequence = sequencer::getInstance()->number();
    stamp(packet.get(), size, sequence);
    if (!sendicmp(s, target, packet.get(), size, report)) {
      close(s);
      return false;
    }
    ++m_sent;
    // Each request waits out its whole time-out, so that late duplicates of
    // its reply are absorbed here and never taken for another's.
    bool answered = false;
    bool replied = false;
    for (;;) {
      if (!askListeners()) {
        close(s);
        return false;
      }
      SOCKADDR_IN from;
      const int bytes = recvicmp(s, id, sequence, reply.get(), from);
      if (bytes < 0) {
        if (m_lastError == WSAETIMEDOUT) break;
        addFailure(tstring().format("Orva Manager PING %s: recvfrom failed: %08x", addressText(target).c_str(),
                                    m_lastError),
                   m_lastError);
        close(s);
        return false;
      }
      const int type = stockResult(reply.get(), bytes, 0);
      if (type < 0) continue;
      replied = true;
      if (type != kEchoReply) break;  // an ICMP error ends the wait
      answered = true;
    }
    if (answered) ++m_received;
    if (!replied && report) addLine(tstring().format("Orva Manager PING %s: timed out", addressText(target).c_str()));
    if (m_Interval > 0) Sleep(static_cast<DWORD>(m_Interval));
  }
  close(s);
  addLine(lossLine(addressText(target), m_RetryCount, m_received));
  return true;
}

ULONG OrvaPing::traceHop(int hop, char* packet, int size, char* reply, std::vector<IN_ADDR>& path) {
  const USHORT id = identifier();
  for (int q = 0; q < std::max(m_Queries, 1); ++q) {
    const SOCKET s = open(static_cast<BYTE>(hop));
    if (s == INVALID_SOCKET) return kFailed;
    stamp(packet, size, static_cast<USHORT>(hop));
    if (!blocking(s, false) || !sendicmp(s, m_destAddr, packet, size, false)) {
      close(s);
      return kFailed;
    }
    if (!askListeners()) {
      close(s);
      return kCancelled;
    }
    SOCKADDR_IN from;
    const int bytes = recvicmp(s, id, static_cast<USHORT>(hop), reply, from);
    close(s);
    if (bytes < 0) continue;
    const int type = stockResult(reply, bytes, hop);
    if (type < 0) continue;
    IN_ADDR responder;
    std::memcpy(&responder.s_addr, reply + 12, 4);
    path.push_back(responder);
    return statusOf(type, static_cast<BYTE>(reply[(reply[0] & 0x0f) * 4 + 1]));
  }
  return kNoReply;
}

bool OrvaPing::GoAheadTraceRoute(std::vector<IN_ADDR>& path) {
  std::unique_ptr<char[]> packet;
  std::unique_ptr<char[]> reply;
  if (!allocate(packet, reply)) return false;
  const int size = setIcmpData(packet.get());
  for (int hop = 1; hop <= std::min(m_MaxHop, 255); ++hop) {
    ULONG status = traceHop(hop, packet.get(), size, reply.get(), path);
    if (status == kFailed || status == kCancelled) return false;
    if (status == kNoReply) {
      if (m_debug) {
        addLine(tstring().format("Orva Manager TraceRoute %s: recvfrom failed: %08lx", getPrintableDest().c_str(),
                                 static_cast<unsigned long>(m_lastError)));
      } else {
        addLine(hopPrefix(hop, "*") + " destination host unreachable");
      }
      if (m_ImmediateEnd) break;
      status = IP_TTL_EXPIRED_TRANSIT;
    }
    if (status != IP_TTL_EXPIRED_TRANSIT) break;
  }
  return true;
}

bool OrvaPing::GoAheadPathPing() {
  addLine(tstring().format("Tracing route to %s", m_Destination.c_str()));
  std::vector<IN_ADDR> path;
  const bool traced = GoAheadTraceRoute(path);
  addLine("Trace complete.");
  if (!traced) return false;
  for (IN_ADDR hop : path) {
    if (!askListeners()) return false;
    if (!ping(hop, false)) return false;
  }
  return true;
}
