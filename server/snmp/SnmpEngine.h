// SnmpEngine: SNMP requests to many agents at once from one thread of its
// own. It keeps one net-snmp session per target (community, version, port,
// time-out and retries), sends every request asynchronously and waits on
// all their sockets, and the descriptors watched for others (the trap
// receiver), in one poll loop.
//
// Callbacks run on the engine's thread, one at a time: they must not block,
// and must not call the blocking forms (call, walkAll). Destroying the
// engine ends every request still waiting with Status::kCancelled.
#ifndef OM_SERVER_SNMP_SNMPENGINE_H_
#define OM_SERVER_SNMP_SNMPENGINE_H_

#include <functional>
#include <memory>
#include <vector>

#include "server/snmp/SnmpTypes.h"

namespace om::snmp {

class SnmpEngine {
 public:
  using Callback = std::function<void(Response)>;
  // One variable of a walk; false stops the walk.
  using WalkStep = std::function<bool(const Varbind&)>;

  SnmpEngine();
  ~SnmpEngine();
  SnmpEngine(const SnmpEngine&) = delete;
  SnmpEngine& operator=(const SnmpEngine&) = delete;

  // Sends `request`; `done` hears the response.
  void send(const Target& target, Request request, Callback done);
  // The same, waiting for the response.
  Response call(const Target& target, Request request);

  // Every variable under `root` in order, by GETBULK (SNMPv2c, `bulkSize`
  // repetitions a request) or GETNEXT (SNMPv1). Ends at the subtree's end,
  // at the agent's endOfMibView or noSuchName, when `step` returns false,
  // or at an error (`done` hears it; a walk that merely ended is kOk with no
  // variables).
  void walk(const Target& target, const Oid& root, int bulkSize, WalkStep step, Callback done);
  // The same, collecting the variables.
  Response walkAll(const Target& target, const Oid& root, std::vector<Varbind>& out, int bulkSize = 25);

  // Calls `ready` on the engine's thread whenever `fd` is readable, until
  // unwatch(fd) returns.
  void watch(int fd, std::function<void()> ready);
  void unwatch(int fd);

  // Requests sent and not yet answered or timed out.
  size_t inFlight() const;

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_SNMPENGINE_H_
