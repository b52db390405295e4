// OrvaPing without a network: the echo request as built, the checksum, the
// reading of received datagrams into results and lines, the ICMP texts and
// the loss line.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "probe/orvaping.h"

namespace {

// Opens the protected steps to the tests.
class Probe : public OrvaPing {
 public:
  using OrvaPing::calcChecksum;
  using OrvaPing::getReference;
  using OrvaPing::OrvaPing;
  using OrvaPing::sendicmp;
  using OrvaPing::setIcmpData;
  using OrvaPing::stockResult;
};

std::vector<unsigned char> build(int dataSize) {
  Probe p;
  p.setDataSize(dataSize);
  std::vector<unsigned char> packet(OrvaPing::kBufferSize, 0xAA);
  packet.resize(static_cast<size_t>(p.setIcmpData(reinterpret_cast<char*>(packet.data()))));
  return packet;
}

std::vector<unsigned char> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// An IPv4 header (20 bytes, TTL `ttl`, protocol ICMP) before `icmp`.
std::vector<unsigned char> datagram(const std::vector<unsigned char>& icmp, const unsigned char source[4],
                                    const unsigned char destination[4], unsigned char ttl = 57) {
  std::vector<unsigned char> d = {0x45, 0, 0, 0, 0, 0, 0, 0, ttl, 1, 0, 0};
  d.insert(d.end(), source, source + 4);
  d.insert(d.end(), destination, destination + 4);
  d.insert(d.end(), icmp.begin(), icmp.end());
  return d;
}

const unsigned char kRouter[4] = {10, 0, 0, 254};
const unsigned char kHost[4] = {10, 0, 0, 1};
const unsigned char kUs[4] = {10, 0, 0, 2};

TEST(OrvaPingPacket, LayoutPaddingAndSizes) {
  const unsigned short pid = static_cast<unsigned short>(GetCurrentProcessId());
  const unsigned char idLow = static_cast<unsigned char>(pid & 0xff);
  const unsigned char idHigh = static_cast<unsigned char>(pid >> 8);
  // DataSize 10: type 8, code 0, checksum 0, the identifier in the machine's
  // order (little-endian here), sequence 0, send time 0, then 6 data bytes.
  EXPECT_EQ(build(10), (std::vector<unsigned char>{0x08, 0x00, 0x00, 0x00, idLow, idHigh, 0x00, 0x00, 0x00, 0x00,
                                                   0x00, 0x00, 'V', 'e', 'l', 'm', 'o', 'r'}));
  // The default 32: 12 bytes of header and send time, 28 of text.
  const std::vector<unsigned char> standard = build(32);
  ASSERT_EQ(standard.size(), 40u);
  EXPECT_EQ(std::vector<unsigned char>(standard.begin() + 12, standard.end()), bytesOf("Velmoran Systems Co Orva Man"));
  // The text repeats end to end, the last copy cut.
  const std::vector<unsigned char> hundred = build(100);
  ASSERT_EQ(hundred.size(), 108u);
  EXPECT_EQ(std::vector<unsigned char>(hundred.begin() + 12, hundred.end()),
            bytesOf("Velmoran Systems Co Orva Manager! It's cool!!Velmoran Systems Co Orva Manager! It's cool!!Velmor"));
  // 4 or less carries no data; the data never exceeds 1024 bytes.
  EXPECT_EQ(build(4).size(), 12u);
  EXPECT_EQ(build(-7).size(), 12u);
  EXPECT_EQ(build(5).size(), 13u);
  const std::vector<unsigned char> big = build(2000);
  ASSERT_EQ(big.size(), 1036u);
  // 1024 = 22 * 45 + 34: the last copy stops after "Velmoran Systems Co Orva Manager! "
  EXPECT_EQ(std::string(big.end() - 34, big.end()), "Velmoran Systems Co Orva Manager! ");
}

TEST(OrvaPingPacket, InternetChecksum) {
  // The example of RFC 1071: words 0001 f203 f4f5 f6f7 sum to ddf2, which
  // complements to 220d, stored in network order as 22 0d.
  const unsigned char rfc[] = {0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
  const unsigned short sum = Probe::calcChecksum(rfc, sizeof rfc);
  unsigned char stored[2];
  std::memcpy(stored, &sum, 2);
  EXPECT_EQ(stored[0], 0x22);
  EXPECT_EQ(stored[1], 0x0d);
  // An odd last byte is added by itself: 0102 + 0300 = 0402, so fbfd.
  const unsigned char odd[] = {0x01, 0x02, 0x03};
  const unsigned short oddSum = Probe::calcChecksum(odd, sizeof odd);
  std::memcpy(stored, &oddSum, 2);
  EXPECT_EQ(stored[0], 0xfb);
  EXPECT_EQ(stored[1], 0xfd);
  // ffff + ffff carries twice: folded to ffff, complemented to 0.
  const unsigned char ones[] = {0xff, 0xff, 0xff, 0xff};
  EXPECT_EQ(Probe::calcChecksum(ones, sizeof ones), 0);
  EXPECT_EQ(Probe::calcChecksum(ones, 0), 0xffff);
  // A packet with its checksum in place sums to 0.
  std::vector<unsigned char> packet = build(33);
  const unsigned short packetSum = Probe::calcChecksum(packet.data(), static_cast<int>(packet.size()));
  std::memcpy(&packet[2], &packetSum, 2);
  EXPECT_EQ(Probe::calcChecksum(packet.data(), static_cast<int>(packet.size())), 0);
}

TEST(OrvaPingPacket, QuotedEchoHeaderOfAnError) {
  // Time exceeded quoting a 20-byte IP header and the echo header (id 0x1234,
  // sequence 7, machine order).
  std::vector<unsigned char> icmp = {11, 0, 0, 0, 0, 0, 0, 0, 0x45, 0, 0, 40, 0, 0, 0, 0, 1, 1, 0, 0,
                                     10, 0, 0, 2, 10, 0, 0, 1, 8, 0, 0, 0, 0x34, 0x12, 7, 0};
  unsigned short id = 0;
  unsigned short sequence = 0;
  ASSERT_TRUE(Probe::getReference(reinterpret_cast<const char*>(icmp.data()), static_cast<int>(icmp.size()), id,
                                  sequence));
  EXPECT_EQ(id, 0x1234);
  EXPECT_EQ(sequence, 7);
  // One byte short of the quoted echo header: nothing to read.
  EXPECT_FALSE(Probe::getReference(reinterpret_cast<const char*>(icmp.data()), static_cast<int>(icmp.size()) - 1,
                                   id, sequence));
  // A quoted header with options (24 bytes) moves the echo header.
  icmp[8] = 0x46;
  icmp.insert(icmp.begin() + 28, {1, 1, 1, 1});
  id = sequence = 0;
  ASSERT_TRUE(Probe::getReference(reinterpret_cast<const char*>(icmp.data()), static_cast<int>(icmp.size()), id,
                                  sequence));
  EXPECT_EQ(id, 0x1234);
  EXPECT_EQ(sequence, 7);
  // A quoted header length below 20 is not an IP header.
  icmp[8] = 0x44;
  EXPECT_FALSE(Probe::getReference(reinterpret_cast<const char*>(icmp.data()), static_cast<int>(icmp.size()), id,
                                   sequence));
}

// Collects what a run passes to its listeners.
class Collector : public OrvaPingListener {
 public:
  bool notify(int) override { return true; }
  void message(const tstring& text) override { lines.push_back(text); }
  std::vector<std::string> lines;
};

TEST(OrvaPingResults, ReceivedDatagramsBecomeResultsAndLines) {
  Probe p;
  Collector listener;
  p.addListener(&listener);
  // An echo reply with 32 bytes of data, sent 5 ms ago.
  std::vector<unsigned char> reply = build(32);
  reply[0] = 0;
  const DWORD sent = GetTickCount() - 5;
  std::memcpy(&reply[8], &sent, 4);
  const std::vector<unsigned char> echo = datagram(reply, kHost, kUs);
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(echo.data()), static_cast<int>(echo.size()), 0), 0);
  // Destination unreachable, code 7, quoting the request.
  std::vector<unsigned char> error = {3, 7, 0, 0, 0, 0, 0, 0};
  const std::vector<unsigned char> quoted = datagram(build(32), kUs, kHost);
  error.insert(error.end(), quoted.begin(), quoted.begin() + 28);
  const std::vector<unsigned char> unreachable = datagram(error, kRouter, kUs);
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(unreachable.data()), static_cast<int>(unreachable.size()), 0), 3);
  // The same as hop 3 of a trace route.
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(unreachable.data()), static_cast<int>(unreachable.size()), 3), 3);
  // A reply that cannot be timed (its send time lies ahead).
  const DWORD ahead = GetTickCount() + 1000;
  std::memcpy(&reply[8], &ahead, 4);
  const std::vector<unsigned char> untimed = datagram(reply, kHost, kUs);
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(untimed.data()), static_cast<int>(untimed.size()), 0), 0);
  // Shorter than the IP header and 8 bytes, without and with a hop.
  const std::vector<unsigned char> stub = datagram({0, 0, 0, 0, 0, 0, 0}, kHost, kUs);
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(stub.data()), static_cast<int>(stub.size()), 0), -1);
  EXPECT_EQ(p.stockResult(reinterpret_cast<const char*>(stub.data()), static_cast<int>(stub.size()), 2), -1);

  const std::vector<PingResult>& results = p.getResults();
  ASSERT_EQ(results.size(), 6u);
  const PingResult& r = results[0];
  EXPECT_EQ(r.getFlags(), PingResult::kTime | PingResult::kDestination | PingResult::kType | PingResult::kMessage |
                              PingResult::kErrorCode);
  EXPECT_EQ(r.getSource().s_addr, inet_addr("10.0.0.1"));
  EXPECT_EQ(r.getDestination().s_addr, inet_addr("10.0.0.2"));
  EXPECT_EQ(r.getSize(), 40);
  EXPECT_GE(r.getTime(), 5);
  EXPECT_LE(r.getTime(), 1000);
  EXPECT_EQ(r.getMessage(), "Echo Reply");
  EXPECT_EQ(r.getErrorCode(), 0);
  const PingResult& u = results[1];
  EXPECT_EQ(u.getFlags() & PingResult::kTime, 0);
  EXPECT_EQ(u.getType(), 3);
  EXPECT_EQ(u.getCode(), 7);
  EXPECT_EQ(u.getSize(), 36);
  EXPECT_EQ(u.getErrorCode(), 3 << 16 | 7);
  EXPECT_EQ(u.getMessage(), "Destination unreachable");
  EXPECT_EQ(results[4].getErrorCode(), -1);
  EXPECT_EQ(results[4].getFlags(), PingResult::kMessage | PingResult::kErrorCode);

  const std::vector<tstring>& lines = p.getLines();
  ASSERT_EQ(lines.size(), 6u);
  // "time=%ldms " and "TTL=%d " end in a space, "time<1ms" does not.
  EXPECT_EQ(lines[0], "reply from 10.0.0.1: bytes=32 time=" + std::to_string(r.getTime()) + "ms TTL=57 ");
  EXPECT_EQ(lines[1], "reply from 10.0.0.254: Destination unreachable");
  EXPECT_EQ(lines[2], "  3 10.0.0.254      Destination unreachable");
  EXPECT_EQ(lines[3], "reply from 10.0.0.1: bytes=32 time<1msTTL=57 ");
  EXPECT_EQ(lines[4], "Too few bytes from 10.0.0.1");
  EXPECT_EQ(lines[5], "  2 10.0.0.1        Too few bytes");
  EXPECT_EQ(listener.lines, std::vector<std::string>(lines.begin(), lines.end()));
  std::string text;
  for (const tstring& line : lines) text += line + "\r\n";
  EXPECT_EQ(p.toString(), text);
}

TEST(OrvaPingResults, DebugModeDecodesTheReply) {
  Probe p(true);
  std::vector<unsigned char> reply = build(32);
  reply[0] = 0;
  const DWORD now = GetTickCount() + 1000;  // a send time in the future: a reply that cannot be timed
  std::memcpy(&reply[8], &now, 4);
  const std::vector<unsigned char> echo = datagram(reply, kHost, kUs, 64);
  p.stockResult(reinterpret_cast<const char*>(echo.data()), static_cast<int>(echo.size()), 1);
  std::vector<unsigned char> exceeded = {11, 0, 0, 0, 0, 0, 0, 0};
  const std::vector<unsigned char> quoted = datagram(build(32), kUs, kHost);
  exceeded.insert(exceeded.end(), quoted.begin(), quoted.begin() + 28);
  const std::vector<unsigned char> error = datagram(exceeded, kRouter, kUs, 255);
  p.stockResult(reinterpret_cast<const char*>(error.data()), static_cast<int>(error.size()), 1);
  ASSERT_EQ(p.getLines().size(), 2u);
  const long time = p.getResults()[0].getTime();
  EXPECT_EQ(p.getLines()[0], "reply from 10.0.0.1.\r\nreply to 10.0.0.2.\r\n40 bytes in ICMP packet.\r\nTTL: 64\r\n"
                             "time: " + std::to_string(time) + " ms\r\nerror code = 0\r\nEcho Reply");
  EXPECT_EQ(p.getLines()[1], "reply from 10.0.0.254.\r\nreply to 10.0.0.2.\r\n36 bytes in ICMP packet.\r\nTTL: 255\r\n"
                             "error code = 720896\r\nttl exceeded");
}

TEST(PingResult, TextOfEveryTypeAndCode) {
  const struct {
    int type;
    int code;
    const char* text;
  } kTable[] = {
      {0, 0, "Echo Reply"},
      {0, 9, "Echo Reply"},
      {3, 0, "Net unreachable"},
      {3, 1, "host unreachable"},
      {3, 2, "protocol unreachable"},
      {3, 3, "port unreachable"},
      {3, 4, "fragmentation needed and don't fragmentation flag set"},
      {3, 5, "source route failed"},
      {3, 6, "Destination network unknown"},
      {3, 7, "Destination unreachable"},
      {3, 8, "Source host isolated"},
      {3, 9, "Communication with destination network administratively prohibited"},
      {3, 10, "Communication with destination host Administratively prohibited"},
      {3, 11, "Network unreachable for type of service"},
      {3, 12, "Host unreachable for type of service"},
      {3, 13, "Destination unreachable"},
      {3, 15, "Destination unreachable"},
      {3, 255, "Destination unreachable"},
      {4, 0, "Source Quench"},
      {4, 3, "Source Quench"},
      {5, 0, "Redirect"},
      {5, 1, "Redirect"},
      {5, 2, "type of service and network redirect"},
      {5, 3, "type of service and host redirect"},
      {5, 4, "Redirect"},
      {8, 0, "Echo"},
      {11, 0, "ttl exceeded"},
      {11, 1, "fragmentation reassembly timeout"},
      {11, 2, "Time Exceeded"},
      {12, 0, "Pointer indicates error"},
      {12, 1, "no pointer present/required option is missing"},
      {12, 2, "Parameter Problem"},
      {13, 0, "Timestamp"},
      {14, 0, "Timestamp Reply"},
      {15, 0, "Information Request"},
      {16, 0, "Information Reply"},
      {1, 0, ""},
      {6, 0, ""},
      {17, 0, ""},
      {255, 0, ""},
  };
  for (const auto& e : kTable) {
    EXPECT_EQ(PingResult::toTypeString(e.type, e.code), e.text) << e.type << "/" << e.code;
  }
  PingResult r;
  r.setTypeAndCode(12, 1);
  EXPECT_EQ(r.toTypeString(), "no pointer present/required option is missing");
}

TEST(PingResult, CopyCompareAndClear) {
  PingResult a;
  EXPECT_TRUE(a.empty());
  a.setSource(IN_ADDR{});
  EXPECT_TRUE(a.empty());  // the source carries no flag
  IN_ADDR host;
  host.s_addr = inet_addr("10.0.0.1");
  a.setDestination(host);
  a.setTypeAndCode(3, 1);
  a.setMessage("host unreachable");
  a.setErrorCode(3 << 16 | 1);
  EXPECT_FALSE(a.empty());
  const PingResult copy(a);
  EXPECT_EQ(copy.compare(a), 0);
  EXPECT_TRUE(copy == a);
  PingResult later = a;
  later.setTime(7);
  EXPECT_NE(later.compare(a), 0);
  EXPECT_EQ(later.compare(a), -a.compare(later));
  PingResult other = a;
  other.setTypeAndCode(3, 2);
  EXPECT_EQ(a.compare(other), -1);
  EXPECT_EQ(other.compare(a), 1);
  EXPECT_EQ(a.toString(), "source 0.0.0.0, 0 bytes, destination 10.0.0.1, type 3 code 1, error code 196609: host unreachable");
  other.clear();
  EXPECT_TRUE(other.empty());
  EXPECT_EQ(other.compare(PingResult()), 0);
}

TEST(OrvaPingText, LossLineTruncatesThePercentage) {
  EXPECT_EQ(OrvaPing::lossLine("10.0.0.1", 4, 1), "reply from 10.0.0.1: Lost=3 / Sent=4 := 75%");
  EXPECT_EQ(OrvaPing::lossLine("10.0.0.1", 7, 4), "reply from 10.0.0.1: Lost=3 / Sent=7 := 42%");
  EXPECT_EQ(OrvaPing::lossLine("h", 0, 0), "reply from h: Lost=0 / Sent=0 := 0%");
}

TEST(OrvaPingSettings, CopiesTakeSettingsOnly) {
  OrvaPing a("host.example", "255.255.255.0", true);
  EXPECT_EQ(a.getCmdMode(), OrvaPing::kPing);
  a.setPathPingMode();
  a.setTTL(9);
  a.setTimeout(250);
  a.setRetryCount(6);
  a.setInterval(15);
  a.setMaxHop(12);
  a.setImmediateEnd(true);
  a.setQueries(5);
  a.setDataSize(64);
  Collector listener;
  a.addListener(&listener);
  a.addListener(&listener);  // once only
  a.callListener("one");
  EXPECT_EQ(listener.lines.size(), 1u);
  const OrvaPing b(a);
  OrvaPing c;
  c = a;
  for (const OrvaPing* p : {&b, static_cast<const OrvaPing*>(&c)}) {
    EXPECT_EQ(p->getCmdMode(), OrvaPing::kPathPing);
    EXPECT_TRUE(p->isDebugMode());
    EXPECT_EQ(p->getDestination(), "host.example");
    EXPECT_EQ(p->getMask(), "255.255.255.0");
    EXPECT_EQ(p->getTTL(), 9);
    EXPECT_EQ(p->getTimeout(), 250);
    EXPECT_EQ(p->getRetryCount(), 6);
    EXPECT_EQ(p->getInterval(), 15);
    EXPECT_EQ(p->getMaxHop(), 12);
    EXPECT_TRUE(p->getImmediateEnd());
    EXPECT_EQ(p->getQueries(), 5);
    EXPECT_EQ(p->getDataSize(), 64);
  }
  c.callListener("not heard");  // listeners are not copied
  a.removeListener(&listener);
  a.callListener("not heard either");
  EXPECT_EQ(listener.lines, std::vector<std::string>{"one"});
}

TEST(OrvaPingRun, AFailedSendAddsItsLineWithReportingOff) {
  Probe p;
  p.setDestination("10.0.0.1");
  const std::vector<unsigned char> packet = build(32);
  IN_ADDR target;
  target.s_addr = inet_addr("10.0.0.1");
  // No socket: the send fails before anything leaves.
  EXPECT_FALSE(p.sendicmp(INVALID_SOCKET, target, reinterpret_cast<const char*>(packet.data()),
                          static_cast<int>(packet.size()), false));
  ASSERT_NE(p.getLastError(), 0);
  char expected[96];
  std::snprintf(expected, sizeof expected, "Orva Manager PING 10.0.0.1(10.0.0.1): sendto failed: %08x",
                p.getLastError());
  EXPECT_EQ(p.getLines(), std::vector<tstring>{expected});
  ASSERT_EQ(p.getResults().size(), 1u);
  EXPECT_EQ(p.getResults()[0].getErrorCode(), p.getLastError());
}

TEST(OrvaPingRun, NamesThatDoNotResolveFailWithALine) {
  OrvaPing p("", "");
  EXPECT_FALSE(p.GoAhead());
  ASSERT_EQ(p.getLines().size(), 1u);
  EXPECT_EQ(p.getLines()[0], "Orva Manager PING : invalid address");
  // An empty label: the resolver refuses the name without asking any server.
  OrvaPing q("no-such-host..invalid", "");
  EXPECT_FALSE(q.GoAhead());
  ASSERT_EQ(q.getLines().size(), 1u);
  char expected[160];
  std::snprintf(expected, sizeof expected,
                "Orva Manager PING no-such-host..invalid: host not found( no-such-host..invalid ): "
                "gethostbyname() failed: %08x",
                q.getLastError());
  EXPECT_EQ(q.getLines()[0], expected);
  EXPECT_TRUE(q.getLastError() == WSAHOST_NOT_FOUND || q.getLastError() == WSATRY_AGAIN) << q.getLastError();
  ASSERT_EQ(q.getResults().size(), 1u);
  EXPECT_EQ(q.getResults()[0].getErrorCode(), q.getLastError());
  EXPECT_EQ(q.getResults()[0].getMessage(), q.getLines()[0]);
}

}  // namespace
