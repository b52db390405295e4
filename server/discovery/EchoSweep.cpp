#include "server/discovery/EchoSweep.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <linux/icmp.h>  // after the C library's headers, which it defers to

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <random>
#include <unordered_map>

#include <om/UniqueFd.h>

#include "platform/winsock/IcmpKernel.h"
#include "server/discovery/EchoPacket.h"
#include "server/discovery/SweepSchedule.h"

namespace om::server {
namespace {

using Clock = SweepSchedule::Clock;

// Enough for any message of ours: an IPv4 header with options, and an error
// quoting a request behind another such header.
constexpr size_t kReadSize = 192;
// Messages read, and requests sent, before the loop turns to the other.
constexpr int kBurst = 64;
// The longest sleep, which bounds how late an outside stop is noticed.
constexpr auto kLongestWait = std::chrono::milliseconds(50);
// Room for the replies that come in while the thread is busy elsewhere, and
// for the requests the kernel holds while it resolves on-link addresses
// (seconds for each silent one).
constexpr int kSocketBuffer = 4 << 20;

uint64_t nanosecondsOf(Clock::time_point t) {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(t.time_since_epoch()).count());
}

// Sets a buffer size beyond the system's limit where the process may, else
// as large as the limit allows.
void growBuffer(int fd, int forced, int limited) {
  if (setsockopt(fd, SOL_SOCKET, forced, &kSocketBuffer, sizeof kSocketBuffer) != 0) {
    setsockopt(fd, SOL_SOCKET, limited, &kSocketBuffer, sizeof kSocketBuffer);
  }
}

// Best effort: larger buffers and, on a raw socket (which sees all the
// host's ICMP), only echo replies and destination-unreachable errors.
void tuneSocket(int fd, bool datagram) {
  growBuffer(fd, SO_RCVBUFFORCE, SO_RCVBUF);
  growBuffer(fd, SO_SNDBUFFORCE, SO_SNDBUF);
  if (datagram) return;
  const icmp_filter filter{~((1u << ICMP_ECHOREPLY) | (1u << ICMP_DEST_UNREACH))};
  setsockopt(fd, SOL_RAW, ICMP_FILTER, &filter, sizeof filter);
}

SweepSchedule::Pacing pacingOf(const EchoSweep::Settings& settings) {
  SweepSchedule::Pacing pacing;
  if (settings.rate > 0) pacing.interval = std::chrono::nanoseconds(1'000'000'000 / settings.rate);
  pacing.minGap = std::chrono::microseconds(std::max(settings.minGapUs, 0));
  return pacing;
}

}  // namespace

// One run: its socket, its targets and their schedule.
class EchoSweep::Run {
 public:
  Run(EchoSweep& sweep, const std::vector<std::string>& addresses, const Report& report);
  EchoResult go(const std::atomic<bool>* stop);

 private:
  // A request sent; refused for now (the socket or the kernel is out of
  // room); refused for good (no route, or a route that forbids it); or
  // failed otherwise, which spends the try as if it were lost on the way.
  enum class Send { kSent, kBlocked, kRefused, kFailed };

  // Ends at once the entries that are no address or repeat an earlier one.
  void endUnaskable();
  bool stopping(const std::atomic<bool>* stop) const { return sweep_.cancelled_ || (stop != nullptr && *stop); }
  void readAll();
  bool decode(const om::kernel::IcmpMessage& message, EchoSignal& signal) const;
  void take(const EchoSignal& signal);
  void sendDue();
  Send send(size_t target, Clock::time_point now);
  void waitForEvent() const;
  void tell(size_t target, bool answered, std::chrono::microseconds roundTrip = {});

  EchoSweep& sweep_;
  const Report& report_;
  std::vector<uint32_t> targets_;  // network order; 0 for an entry that is no address
  std::vector<bool> valid_;
  std::unordered_map<uint32_t, size_t> indexOf_;  // the first entry of each address
  SweepSchedule schedule_;
  int fd_ = -1;
  bool datagram_ = false;
  uint16_t identifier_ = 0;  // a datagram socket's kernel sets its own
  uint32_t tag_ = 0;
  bool answered_ = false;
};

EchoSweep::Run::Run(EchoSweep& sweep, const std::vector<std::string>& addresses, const Report& report)
    : sweep_(sweep),
      report_(report),
      targets_(addresses.size(), 0),
      valid_(addresses.size(), false),
      schedule_(addresses.size(), sweep.settings_.tries, std::chrono::milliseconds(sweep.settings_.timeoutMs),
                pacingOf(sweep.settings_)) {
  for (size_t i = 0; i < addresses.size(); ++i) {
    in_addr parsed{};
    if (inet_pton(AF_INET, addresses[i].c_str(), &parsed) != 1) continue;
    targets_[i] = parsed.s_addr;
    valid_[i] = true;
    indexOf_.emplace(parsed.s_addr, i);
  }
  std::random_device random;
  identifier_ = static_cast<uint16_t>(random());
  tag_ = static_cast<uint32_t>(random());
}

EchoResult EchoSweep::Run::go(const std::atomic<bool>* stop) {
  int error = 0;
  const om::UniqueFd socket(om::kernel::openIcmpSocket(false, datagram_, error));
  if (!socket.valid()) return EchoResult::kNotSent;
  fd_ = socket.get();
  sweep_.datagram_ = datagram_;
  tuneSocket(fd_, datagram_);
  endUnaskable();
  while (!schedule_.finished() && !stopping(stop)) {
    readAll();
    schedule_.expire(Clock::now(), [this](size_t target) { tell(target, false); });
    sendDue();
    waitForEvent();
  }
  return answered_ ? EchoResult::kAnswered : EchoResult::kSilent;
}

void EchoSweep::Run::endUnaskable() {
  for (size_t i = 0; i < targets_.size(); ++i) {
    if (!valid_[i]) {
      schedule_.unreachable(i);
      tell(i, false);
    } else if (indexOf_.at(targets_[i]) != i) {
      schedule_.unreachable(i);
    }
  }
}

void EchoSweep::Run::readAll() {
  for (int i = 0; i < kBurst; ++i) {
    om::kernel::IcmpMessage message;
    int error = 0;
    const int rc = om::kernel::readIcmpMessage(fd_, kReadSize, message, error);
    if (rc == 0) return;
    // A failed read has given up an error reported once (an ICMP error for
    // an earlier request on a datagram socket, or an interruption): read on.
    if (rc < 0) continue;
    EchoSignal signal;
    if (decode(message, signal)) take(signal);
  }
}

bool EchoSweep::Run::decode(const om::kernel::IcmpMessage& message, EchoSignal& signal) const {
  const uint8_t* data = message.data.data();
  const size_t size = message.data.size();
  uint32_t peer;
  std::memcpy(&peer, message.peer.bytes, sizeof peer);
  if (!datagram_) return readRawIcmp(data, size, signal);
  if (message.queuedError) return readQueuedError(message.errorType, data, size, peer, signal);
  return readDatagramIcmp(data, size, peer, signal);
}

void EchoSweep::Run::take(const EchoSignal& signal) {
  const auto found = indexOf_.find(signal.address);
  if (found == indexOf_.end()) return;  // not an address of ours: another program's traffic
  const size_t target = found->second;
  const EchoFields& fields = signal.fields;
  if (fields.sequence != static_cast<uint16_t>(target) || schedule_.tries(target) == 0) return;
  if (!datagram_ && fields.identifier != identifier_) return;
  if (signal.kind == EchoSignal::kUnreachable) {
    if (schedule_.unreachable(target)) tell(target, false);
    return;
  }
  if (!signal.hasData || fields.tag != tag_ || !schedule_.answer(target)) return;
  const uint64_t now = nanosecondsOf(Clock::now());
  const uint64_t elapsed = now > fields.sentNs ? now - fields.sentNs : 0;
  tell(target, true, std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::nanoseconds(elapsed)));
}

void EchoSweep::Run::sendDue() {
  for (int i = 0; i < kBurst; ++i) {
    const Clock::time_point now = Clock::now();
    const std::optional<size_t> target = schedule_.due(now);
    if (!target) return;
    switch (send(*target, now)) {
      case Send::kSent:
        schedule_.sent(*target, now);
        ++sweep_.sent_;
        break;
      case Send::kBlocked:
        schedule_.refused(*target, now);
        break;
      case Send::kRefused:
        schedule_.unreachable(*target);
        tell(*target, false);
        break;
      case Send::kFailed:
        schedule_.sent(*target, now);
        break;
    }
  }
}

EchoSweep::Run::Send EchoSweep::Run::send(size_t target, Clock::time_point now) {
  uint8_t packet[kEchoRequestSize];
  buildEchoRequest(EchoFields{identifier_, static_cast<uint16_t>(target), tag_, nanosecondsOf(now)}, packet);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = targets_[target];
  for (int failures = 0;;) {
    if (sendto(fd_, packet, sizeof packet, MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&to), sizeof to) >= 0) {
      return Send::kSent;
    }
    const int error = errno;
    if (error == EINTR) continue;
    if (error == EAGAIN || error == EWOULDBLOCK || error == ENOBUFS) return Send::kBlocked;
    // A datagram socket fails one call with the error of an ICMP message
    // that came for an earlier request; a second failure is this address's.
    if (++failures < 2) continue;
    const bool refused = error == EACCES || error == EPERM || error == ENETUNREACH || error == EHOSTUNREACH;
    return refused ? Send::kRefused : Send::kFailed;
  }
}

void EchoSweep::Run::waitForEvent() const {
  const std::optional<Clock::time_point> next = schedule_.nextEvent();
  const Clock::time_point now = Clock::now();
  if (!next || *next <= now) return;
  const auto wait = std::min<Clock::duration>(*next - now, kLongestWait);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(wait - seconds);
  const timespec timeout{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
  pollfd p{fd_, POLLIN, 0};
  ppoll(&p, 1, &timeout, nullptr);  // readiness, time-out or interruption: the loop looks again
}

void EchoSweep::Run::tell(size_t target, bool answered, std::chrono::microseconds roundTrip) {
  answered_ = answered_ || answered;
  report_(Outcome{target, answered, roundTrip, schedule_.tries(target)});
}

EchoResult EchoSweep::run(const std::vector<std::string>& addresses, const Report& report,
                          const std::atomic<bool>* stop) {
  sent_ = 0;
  return Run(*this, addresses, report).go(stop);
}

}  // namespace om::server
