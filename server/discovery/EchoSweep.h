// EchoSweep: ICMP echo to many IPv4 addresses at once, from one thread and
// one socket (raw where the process may open one, else an ICMP datagram
// socket). Requests go out at a set rate; each waits a time-out, and the
// addresses not yet answered are asked again until their tries run out.
// Each address is reported as soon as its outcome is known: answered (with
// the round trip of the answered request), or silent (out of tries, or
// refused by a destination-unreachable error or by the kernel at send).
#ifndef OM_SERVER_DISCOVERY_ECHOSWEEP_H_
#define OM_SERVER_DISCOVERY_ECHOSWEEP_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "server/discovery/NodeProbe.h"

namespace om::server {

class EchoSweep {
 public:
  struct Settings {
    int timeoutMs = 1000;  // each request waits this long for its answer
    int tries = 1;         // the first request and the retries to addresses not yet answered
    unsigned rate = 1000;  // requests a second on average; 0: no limit
    int minGapUs = 0;      // the least time between two requests, in microseconds
  };

  // The outcome of one address.
  struct Outcome {
    size_t index = 0;  // of the address in the list swept
    bool answered = false;
    std::chrono::microseconds roundTrip{0};  // of the request answered
    int tries = 0;                           // requests sent to the address
  };
  using Report = std::function<void(const Outcome&)>;

  explicit EchoSweep(const Settings& settings) : settings_(settings) {}
  EchoSweep(const EchoSweep&) = delete;
  EchoSweep& operator=(const EchoSweep&) = delete;

  // Sweeps the dotted IPv4 addresses, calling `report` on this thread once
  // for each as soon as its outcome is known (one that is not an address:
  // silent at once, with no request). A repeated address is asked and
  // reported once, under its first index. Returns kNotSent when no ICMP
  // socket can be opened (nothing is reported then), else kAnswered when an
  // address answered and kSilent when none did. Stops early, without
  // reporting the addresses still open, on cancel() or when `stop` (not
  // owned; may be null) becomes true.
  EchoResult run(const std::vector<std::string>& addresses, const Report& report,
                 const std::atomic<bool>* stop = nullptr);
  // Stops the run under way (or the next one: this sweep stays cancelled)
  // soon; callable from any thread.
  void cancel() { cancelled_ = true; }

  // Requests the socket has taken so far in the run; readable from any
  // thread.
  size_t sent() const { return sent_; }
  // Whether the run's socket was an ICMP datagram socket (raw refused).
  bool datagramSocket() const { return datagram_; }

 private:
  class Run;

  const Settings settings_;
  std::atomic<bool> cancelled_{false};
  std::atomic<size_t> sent_{0};
  std::atomic<bool> datagram_{false};
};

}  // namespace om::server

#endif  // OM_SERVER_DISCOVERY_ECHOSWEEP_H_
