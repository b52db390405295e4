// inet_addr and inet_ntoa, and the IPv4 text helpers they share with
// WSAStringToAddressA / WSAAddressToStringA.
#include <cstdio>

#include "Internal.h"

namespace om::winsock {
namespace {

bool isDigitIn(char c, unsigned base) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0') < base;
  return base == 16 && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'));
}

unsigned digitValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  return static_cast<unsigned>((c | 0x20) - 'a' + 10);
}

// One part of a dotted address: decimal, 0-prefixed octal or 0x hexadecimal,
// at most 32 bits.
bool parsePart(const char*& p, uint32_t& value) {
  if (!isDigitIn(*p, 10)) return false;
  unsigned base = 10;
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    base = 16;
    p += 2;
    if (!isDigitIn(*p, 16)) return false;
  } else if (p[0] == '0') {
    base = 8;
  }
  const unsigned scan = base == 16 ? 16 : 10;
  uint64_t v = 0;
  for (; isDigitIn(*p, scan); ++p) {
    if (!isDigitIn(*p, base)) return false;  // 8 or 9 in an octal part
    v = v * base + digitValue(*p);
    if (v > 0xFFFFFFFFu) return false;
  }
  value = static_cast<uint32_t>(v);
  return true;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

}  // namespace

bool parseIpv4(const char* text, const char*& end, uint32_t& address) {
  uint32_t parts[4] = {};
  int count = 0;
  const char* p = text;
  for (;;) {
    if (!parsePart(p, parts[count])) return false;
    ++count;
    if (*p != '.' || count == 4) break;
    ++p;
  }
  // The last part fills all the bytes that the earlier parts leave.
  const uint32_t lastMax = count == 1 ? 0xFFFFFFFFu : (0xFFFFFFFFu >> (8 * (count - 1)));
  if (parts[count - 1] > lastMax) return false;
  uint32_t value = parts[count - 1];
  for (int i = 0; i < count - 1; ++i) {
    if (parts[i] > 0xFF) return false;
    value |= parts[i] << (24 - 8 * i);
  }
  end = p;
  address = value;
  return true;
}

bool parseDecimal(const char* text, uint32_t max, const char*& end, uint32_t& value) {
  const char* p = text;
  uint64_t v = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    v = v * 10 + static_cast<unsigned>(*p - '0');
    if (v > max) return false;
  }
  if (p == text) return false;
  end = p;
  value = static_cast<uint32_t>(v);
  return true;
}

std::string formatIpv4(ULONG address) {
  const uint32_t host = ntohl(address);
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", host >> 24, (host >> 16) & 0xFF, (host >> 8) & 0xFF, host & 0xFF);
  return text;
}

}  // namespace om::winsock

ULONG inet_addr(const char* text) {
  if (text == nullptr) return INADDR_NONE;
  const char* end = nullptr;
  uint32_t address = 0;
  if (!om::winsock::parseIpv4(text, end, address)) return INADDR_NONE;
  if (*end != '\0' && !om::winsock::isBlank(*end)) return INADDR_NONE;
  return htonl(address);
}

char* inet_ntoa(struct in_addr address) {
  thread_local char text[16];
  const std::string s = om::winsock::formatIpv4(address.s_addr);
  std::snprintf(text, sizeof text, "%s", s.c_str());
  return text;
}
