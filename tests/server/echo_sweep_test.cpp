// The pure parts of an echo sweep: the bytes of its requests, the reading of
// replies and ICMP errors (crafted here, hostile ones included), and its
// schedule of sends, time-outs and retries on made-up times.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <cstring>
#include <random>
#include <vector>

#include "server/discovery/EchoPacket.h"
#include "server/discovery/SweepSchedule.h"

namespace {

using om::server::EchoFields;
using om::server::EchoSignal;
using om::server::kEchoRequestSize;
using om::server::SweepSchedule;
using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;

// ---- Crafted messages ------------------------------------------------------------------------

// The Internet checksum, written apart from the one under test.
uint16_t checksum(const Bytes& bytes) {
  uint32_t sum = 0;
  for (size_t i = 0; i < bytes.size(); i += 2) {
    sum += static_cast<uint32_t>(bytes[i] << 8 | (i + 1 < bytes.size() ? bytes[i + 1] : 0));
  }
  while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
  return static_cast<uint16_t>(~sum);
}

void sign(Bytes& icmp) {
  icmp[2] = icmp[3] = 0;
  const uint16_t sum = checksum(icmp);
  icmp[2] = static_cast<uint8_t>(sum >> 8);
  icmp[3] = static_cast<uint8_t>(sum);
}

uint32_t address(const char* text) {
  in_addr a{};
  inet_pton(AF_INET, text, &a);
  return a.s_addr;
}

// An IPv4 header with `optionWords` words of options, then `payload`.
Bytes ipDatagram(const char* source, const char* destination, const Bytes& payload, int optionWords = 0,
                 uint8_t protocol = 1) {
  Bytes d(20 + 4 * optionWords, 0);
  d[0] = static_cast<uint8_t>(0x40 | (5 + optionWords));
  d[8] = 64;
  d[9] = protocol;
  const uint32_t from = address(source);
  const uint32_t to = address(destination);
  std::memcpy(&d[12], &from, 4);
  std::memcpy(&d[16], &to, 4);
  for (int i = 0; i < 4 * optionWords; ++i) d[20 + i] = 1;  // no-operation options
  d.insert(d.end(), payload.begin(), payload.end());
  return d;
}

Bytes request(const EchoFields& fields) {
  Bytes r(kEchoRequestSize);
  om::server::buildEchoRequest(fields, r.data());
  return r;
}

// The reply a host makes of a request: the same message, type 0.
Bytes replyTo(Bytes icmp) {
  icmp[0] = 0;
  sign(icmp);
  return icmp;
}

// A destination-unreachable error quoting `quoted` (an IPv4 datagram), cut
// to `keep` bytes of it as a router may.
Bytes unreachable(const Bytes& quoted, size_t keep, uint8_t type = 3) {
  Bytes icmp = {type, 1, 0, 0, 0, 0, 0, 0};
  icmp.insert(icmp.end(), quoted.begin(), quoted.begin() + static_cast<long>(std::min(keep, quoted.size())));
  sign(icmp);
  return icmp;
}

const EchoFields kFields{0xbeef, 0x0102, 0xa5a55a5a, 0x0123456789abcdefull};

TEST(EchoPacket, RequestBytesAreAnEchoRequestWithItsFieldsAndAValidChecksum) {
  const Bytes golden = {0x08, 0x00, 0xe4, 0xc9, 0x12, 0x34, 0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(request(EchoFields{0x1234, 0x0102, 0, 0}), golden);
  const Bytes r = request(kFields);
  EXPECT_EQ(checksum(r), 0);  // a valid message sums to all ones
  EXPECT_EQ(r[4], 0xbe);
  EXPECT_EQ(r[5], 0xef);
  EXPECT_EQ(r[6], 0x01);
  EXPECT_EQ(r[7], 0x02);
}

TEST(EchoPacket, RawRepliesGiveTheirSourceFieldsAndData) {
  for (int options : {0, 1, 10}) {
    const Bytes d = ipDatagram("192.0.2.7", "192.0.2.1", replyTo(request(kFields)), options);
    EchoSignal s;
    ASSERT_TRUE(om::server::readRawIcmp(d.data(), d.size(), s)) << options;
    EXPECT_EQ(s.kind, EchoSignal::kReply);
    EXPECT_EQ(s.address, address("192.0.2.7"));
    EXPECT_EQ(s.fields.identifier, kFields.identifier);
    EXPECT_EQ(s.fields.sequence, kFields.sequence);
    ASSERT_TRUE(s.hasData);
    EXPECT_EQ(s.fields.tag, kFields.tag);
    EXPECT_EQ(s.fields.sentNs, kFields.sentNs);
  }
  // A reply with less data than a request of ours carries is read without it.
  Bytes bare = {0, 0, 0, 0, 0xbe, 0xef, 0, 9};
  sign(bare);
  const Bytes d = ipDatagram("192.0.2.7", "192.0.2.1", bare);
  EchoSignal s;
  ASSERT_TRUE(om::server::readRawIcmp(d.data(), d.size(), s));
  EXPECT_FALSE(s.hasData);
  EXPECT_EQ(s.fields.sequence, 9);
}

TEST(EchoPacket, RawMessagesThatAreNotRepliesOrAreDamagedAreRefused) {
  const Bytes reply = replyTo(request(kFields));
  const auto refused = [](const Bytes& d) {
    EchoSignal s;
    return !om::server::readRawIcmp(d.data(), d.size(), s);
  };
  Bytes bad = reply;
  bad[10] ^= 1;  // data changed after the checksum
  EXPECT_TRUE(refused(ipDatagram("192.0.2.7", "192.0.2.1", bad)));
  EXPECT_TRUE(refused(ipDatagram("192.0.2.7", "192.0.2.1", request(kFields))));  // our own request, on loopback
  EXPECT_TRUE(refused(ipDatagram("192.0.2.7", "192.0.2.1", reply, 0, 17)));        // not ICMP
  Bytes coded = reply;
  coded[1] = 1;
  sign(coded);
  EXPECT_TRUE(refused(ipDatagram("192.0.2.7", "192.0.2.1", coded)));
  Bytes v6 = ipDatagram("192.0.2.7", "192.0.2.1", reply);
  v6[0] = 0x65;
  EXPECT_TRUE(refused(v6));
  Bytes shortHeader = ipDatagram("192.0.2.7", "192.0.2.1", reply);
  shortHeader[0] = 0x44;  // a header length below 20
  EXPECT_TRUE(refused(shortHeader));
  Bytes fragment = ipDatagram("192.0.2.7", "192.0.2.1", reply);
  fragment[7] = 1;  // a later fragment: no ICMP header in it
  EXPECT_TRUE(refused(fragment));
  const Bytes whole = ipDatagram("192.0.2.7", "192.0.2.1", reply, 2);
  for (size_t n = 0; n < 28 + 8; ++n) {
    EXPECT_TRUE(refused(Bytes(whole.begin(), whole.begin() + static_cast<long>(n)))) << n;
  }
}

TEST(EchoPacket, UnreachableErrorsNameTheQuotedRequestAndItsDestination) {
  for (int options : {0, 3}) {
    const Bytes sent = ipDatagram("192.0.2.1", "198.51.100.9", request(kFields), options);
    // Routers quote the IP header and eight bytes; Linux quotes more.
    const size_t headerAndEight = 20 + 4 * static_cast<size_t>(options) + 8;
    for (size_t keep : {headerAndEight, sent.size()}) {
      const Bytes d = ipDatagram("203.0.113.1", "192.0.2.1", unreachable(sent, keep), 1);
      EchoSignal s;
      ASSERT_TRUE(om::server::readRawIcmp(d.data(), d.size(), s)) << options << " " << keep;
      EXPECT_EQ(s.kind, EchoSignal::kUnreachable);
      EXPECT_EQ(s.address, address("198.51.100.9"));  // the request's destination, not the router
      EXPECT_EQ(s.fields.identifier, kFields.identifier);
      EXPECT_EQ(s.fields.sequence, kFields.sequence);
      EXPECT_FALSE(s.hasData);
    }
  }
}

TEST(EchoPacket, ErrorsAboutOtherMessagesOrCutShortAreRefused) {
  const auto refused = [](const Bytes& icmp) {
    const Bytes d = ipDatagram("203.0.113.1", "192.0.2.1", icmp);
    EchoSignal s;
    return !om::server::readRawIcmp(d.data(), d.size(), s);
  };
  const Bytes sent = ipDatagram("192.0.2.1", "198.51.100.9", request(kFields));
  EXPECT_TRUE(refused(unreachable(sent, sent.size(), 11)));                   // time exceeded
  EXPECT_TRUE(refused(unreachable(ipDatagram("192.0.2.1", "198.51.100.9", request(kFields), 0, 17), 28)));  // UDP
  EXPECT_TRUE(refused(unreachable(ipDatagram("192.0.2.1", "198.51.100.9", replyTo(request(kFields))), 28)));
  for (size_t keep = 0; keep < 28; ++keep) EXPECT_TRUE(refused(unreachable(sent, keep))) << keep;
  EXPECT_FALSE(refused(unreachable(sent, 28)));
  Bytes lying = sent;
  lying[0] = 0x4f;  // the quoted header claims 60 bytes: more than there are
  EXPECT_TRUE(refused(unreachable(lying, 28)));
}

TEST(EchoPacket, DatagramSocketRepliesAndQueuedErrors) {
  const Bytes reply = replyTo(request(kFields));
  EchoSignal s;
  ASSERT_TRUE(om::server::readDatagramIcmp(reply.data(), reply.size(), address("192.0.2.7"), s));
  EXPECT_EQ(s.kind, EchoSignal::kReply);
  EXPECT_EQ(s.address, address("192.0.2.7"));
  EXPECT_EQ(s.fields.tag, kFields.tag);
  const Bytes req = request(kFields);
  EXPECT_FALSE(om::server::readDatagramIcmp(req.data(), req.size(), address("192.0.2.7"), s));
  EXPECT_FALSE(om::server::readDatagramIcmp(reply.data(), 7, address("192.0.2.7"), s));

  ASSERT_TRUE(om::server::readQueuedError(3, req.data(), 8, address("198.51.100.9"), s));
  EXPECT_EQ(s.kind, EchoSignal::kUnreachable);
  EXPECT_EQ(s.address, address("198.51.100.9"));
  EXPECT_EQ(s.fields.sequence, kFields.sequence);
  EXPECT_FALSE(om::server::readQueuedError(11, req.data(), req.size(), address("198.51.100.9"), s));
  EXPECT_FALSE(om::server::readQueuedError(3, req.data(), 7, address("198.51.100.9"), s));
  EXPECT_FALSE(om::server::readQueuedError(3, reply.data(), reply.size(), address("198.51.100.9"), s));
}

TEST(EchoPacket, RandomBytesNeverReadOutOfBounds) {
  // Run under the address sanitizer, a read past a message would stop here.
  std::mt19937 random(7);
  const Bytes sent = ipDatagram("192.0.2.1", "198.51.100.9", request(kFields));
  const Bytes valid = ipDatagram("203.0.113.1", "192.0.2.1", unreachable(sent, sent.size()));
  int accepted = 0;
  for (int i = 0; i < 20000; ++i) {
    Bytes d = valid;
    d.resize(random() % (valid.size() + 1));
    for (int flips = random() % 4; flips > 0 && !d.empty(); --flips) {
      d[random() % d.size()] = static_cast<uint8_t>(random());
    }
    EchoSignal s;
    if (om::server::readRawIcmp(d.data(), d.size(), s)) ++accepted;
  }
  EXPECT_GT(accepted, 0);  // the mutations left some intact errors
}

// ---- Schedule --------------------------------------------------------------------------------

const SweepSchedule::Time kT0 = SweepSchedule::Time{} + std::chrono::hours(1);

SweepSchedule::Pacing every(SweepSchedule::Duration interval, SweepSchedule::Duration minGap = {}) {
  return SweepSchedule::Pacing{interval, minGap};
}

// Sends whatever is due at each millisecond from kT0 to kT0 + `span`; the
// times of the sends, in milliseconds from kT0.
std::vector<long> sendTimes(SweepSchedule& schedule, milliseconds span) {
  std::vector<long> times;
  for (auto now = kT0; now <= kT0 + span; now += milliseconds(1)) {
    while (auto target = schedule.due(now)) {
      schedule.sent(*target, now);
      times.push_back(std::chrono::duration_cast<milliseconds>(now - kT0).count());
    }
  }
  return times;
}

TEST(SweepSchedule, RequestsGoOutAtTheRateAndNotBefore) {
  SweepSchedule paced(5, 1, milliseconds(1000), every(milliseconds(10)));
  EXPECT_EQ(sendTimes(paced, milliseconds(100)), (std::vector<long>{0, 10, 20, 30, 40}));

  SweepSchedule gapped(3, 1, milliseconds(1000), every({}, milliseconds(7)));
  EXPECT_EQ(sendTimes(gapped, milliseconds(100)), (std::vector<long>{0, 7, 14}));

  SweepSchedule unlimited(4, 1, milliseconds(1000), every({}));
  EXPECT_EQ(sendTimes(unlimited, milliseconds(0)), (std::vector<long>{0, 0, 0, 0}));

  // The stricter of rate and gap holds.
  SweepSchedule both(3, 1, milliseconds(1000), every(milliseconds(2), milliseconds(5)));
  EXPECT_EQ(sendTimes(both, milliseconds(100)), (std::vector<long>{0, 5, 10}));
}

TEST(SweepSchedule, ALateRequestIsMadeUpForWithoutABurst) {
  SweepSchedule s(100, 1, milliseconds(1000), every(milliseconds(10)));
  s.sent(*s.due(kT0), kT0);
  // Three milliseconds late: the next slot stays where it was.
  ASSERT_TRUE(s.due(kT0 + milliseconds(13)));
  s.sent(*s.due(kT0 + milliseconds(13)), kT0 + milliseconds(13));
  EXPECT_FALSE(s.due(kT0 + milliseconds(19)));
  EXPECT_TRUE(s.due(kT0 + milliseconds(20)));
  // A second late: one request catches up, not the hundred the rate missed.
  const auto late = kT0 + milliseconds(1020);
  int sent = 0;
  while (auto target = s.due(late)) {
    s.sent(*target, late);
    ++sent;
  }
  EXPECT_EQ(sent, 2);
  EXPECT_FALSE(s.due(late + milliseconds(9)));
  EXPECT_TRUE(s.due(late + milliseconds(10)));
}

TEST(SweepSchedule, NeverMoreRequestsThanTheRateAllowsSinceTheFirst) {
  std::mt19937 random(3);
  SweepSchedule s(1000, 1, milliseconds(50), every(milliseconds(4)));
  auto now = kT0;
  int sent = 0;
  while (sent < 1000) {
    now += std::chrono::microseconds(random() % 9000);  // the loop wakes at odd times
    while (auto target = s.due(now)) {
      s.sent(*target, now);
      ++sent;
      const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(now - kT0).count();
      ASSERT_LE(sent, 1 + elapsed / 4000) << "at " << elapsed << " us";
    }
  }
}

TEST(SweepSchedule, SilentTargetsAreRetriedUntilTheirTriesRunOut) {
  SweepSchedule s(2, 3, milliseconds(100), every({}));
  std::vector<size_t> silent;
  const auto note = [&](size_t target) { silent.push_back(target); };
  s.sent(*s.due(kT0), kT0);
  s.sent(*s.due(kT0), kT0);
  EXPECT_FALSE(s.due(kT0));
  s.expire(kT0 + milliseconds(99), note);
  EXPECT_FALSE(s.due(kT0 + milliseconds(99)));
  s.expire(kT0 + milliseconds(100), note);
  EXPECT_TRUE(silent.empty());
  EXPECT_EQ(s.due(kT0 + milliseconds(100)), 0u);
  s.sent(0, kT0 + milliseconds(100));
  EXPECT_EQ(s.due(kT0 + milliseconds(100)), 1u);
  s.sent(1, kT0 + milliseconds(100));
  EXPECT_TRUE(s.answer(1));
  EXPECT_FALSE(s.answer(1));  // a duplicate, or the late reply to the first try
  s.expire(kT0 + milliseconds(200), note);
  EXPECT_EQ(s.due(kT0 + milliseconds(200)), 0u);
  s.sent(0, kT0 + milliseconds(200));
  EXPECT_FALSE(s.finished());
  s.expire(kT0 + milliseconds(300), note);
  EXPECT_EQ(silent, std::vector<size_t>{0});
  EXPECT_TRUE(s.finished());
  EXPECT_FALSE(s.nextEvent());
  EXPECT_EQ(s.tries(0), 3);
  EXPECT_EQ(s.tries(1), 2);
  EXPECT_FALSE(s.answer(0));  // too late: it has ended silent
}

TEST(SweepSchedule, RetriesGoBeforeFirstRequests) {
  SweepSchedule s(3, 2, milliseconds(15), every(milliseconds(10)));
  const auto ignore = [](size_t) {};
  s.sent(*s.due(kT0), kT0);
  s.sent(*s.due(kT0 + milliseconds(10)), kT0 + milliseconds(10));
  s.expire(kT0 + milliseconds(20), ignore);
  EXPECT_EQ(s.due(kT0 + milliseconds(20)), 0u);
}

TEST(SweepSchedule, AnswersAndErrorsEndTargetsAtOnce) {
  SweepSchedule s(4, 3, milliseconds(100), every({}));
  EXPECT_FALSE(s.answer(0));  // nothing was sent to it: not an answer of ours
  s.sent(*s.due(kT0), kT0);
  s.expire(kT0 + milliseconds(100), [](size_t) {});
  EXPECT_TRUE(s.answer(0));  // while it waited for its retry: no retry goes out
  EXPECT_TRUE(s.unreachable(2));  // one with no address ends before it is sent
  EXPECT_FALSE(s.unreachable(2));
  std::vector<size_t> sent;
  for (auto target = s.due(kT0); target; target = s.due(kT0)) {
    s.sent(*target, kT0);
    sent.push_back(*target);
  }
  EXPECT_EQ(sent, (std::vector<size_t>{1, 3}));
  EXPECT_TRUE(s.unreachable(1));
  EXPECT_FALSE(s.answer(1));
  EXPECT_TRUE(s.answer(3));
  EXPECT_TRUE(s.finished());
}

TEST(SweepSchedule, RefusedSendsBackOffAndAfterLongCountAsLost) {
  SweepSchedule s(1, 1, milliseconds(100), every({}));
  auto now = kT0;
  std::vector<long> holds;
  while (s.tries(0) == 0) {
    ASSERT_EQ(s.due(now), 0u);
    s.refused(0, now);
    if (s.tries(0) > 0) break;
    const auto until = *s.nextEvent();
    EXPECT_FALSE(s.due(until - milliseconds(1)));
    holds.push_back(std::chrono::duration_cast<milliseconds>(until - now).count());
    now = until;
  }
  // Twice as long each time up to the longest hold, for five seconds.
  ASSERT_GE(holds.size(), 9u);
  EXPECT_EQ(std::vector<long>(holds.begin(), holds.begin() + 9), (std::vector<long>{1, 2, 4, 8, 16, 32, 64, 64, 64}));
  EXPECT_GE(now - kT0, SweepSchedule::kMaxRefusal);
  EXPECT_LT(now - kT0, SweepSchedule::kMaxRefusal + SweepSchedule::kLongestHold);
  // Lost: the try waits out its time-out as if sent.
  EXPECT_FALSE(s.due(now));
  EXPECT_EQ(s.nextEvent(), now + milliseconds(100));

  // A request that goes out ends the refusals in a row.
  SweepSchedule t(2, 1, milliseconds(1000), every({}));
  t.refused(0, kT0);
  t.sent(0, kT0 + milliseconds(4900));
  t.refused(1, kT0 + milliseconds(5000));
  EXPECT_EQ(t.tries(1), 0);
  EXPECT_EQ(t.nextEvent(), kT0 + milliseconds(5001));
}

TEST(SweepSchedule, TheNextEventIsTheEarlierOfTheNextSendAndTheNextTimeOut) {
  SweepSchedule s(3, 1, milliseconds(25), every(milliseconds(10)));
  EXPECT_TRUE(s.nextEvent());
  s.sent(*s.due(kT0), kT0);
  EXPECT_EQ(s.nextEvent(), kT0 + milliseconds(10));
  s.sent(*s.due(kT0 + milliseconds(10)), kT0 + milliseconds(10));
  s.sent(*s.due(kT0 + milliseconds(20)), kT0 + milliseconds(20));
  EXPECT_EQ(s.nextEvent(), kT0 + milliseconds(25));  // nothing left to send
}

}  // namespace
