// The values the SNMP layer trades in: where a request goes, one variable
// binding, a request and its response. Plain data, free of net-snmp's
// headers, so that the server's providers can use them.
#ifndef OM_SERVER_SNMP_SNMPTYPES_H_
#define OM_SERVER_SNMP_SNMPTYPES_H_

#include <cstdint>
#include <string>
#include <vector>

namespace om::snmp {

// A dotted object identifier as its sub-identifiers.
using Oid = std::vector<uint32_t>;

enum class Version { kV1, kV2c };

// An agent and how to talk to it.
struct Target {
  std::string host;  // name or address
  int port = 161;
  Version version = Version::kV2c;
  std::string community = "public";
  int timeoutMs = 1000;  // per attempt
  int retries = 1;       // attempts after the first

  bool operator==(const Target&) const = default;
};

// BER tags of the values a variable binding carries.
enum Tag : uint8_t {
  kInteger = 0x02,
  kBitString = 0x03,
  kOctetString = 0x04,
  kNull = 0x05,
  kObjectId = 0x06,
  kIpAddress = 0x40,
  kCounter32 = 0x41,
  kGauge32 = 0x42,
  kTimeTicks = 0x43,
  kOpaque = 0x44,
  kCounter64 = 0x46,
  kNoSuchObject = 0x80,
  kNoSuchInstance = 0x81,
  kEndOfMibView = 0x82,
};

// One variable binding: an object identifier and a typed value.
struct Varbind {
  Oid oid;
  uint8_t type = kNull;
  int64_t integer = 0;     // INTEGER, Counter32, Gauge32, TimeTicks
  uint64_t counter64 = 0;  // Counter64
  std::string octets;      // OCTET STRING, IpAddress (4 bytes), Opaque, BIT STRING
  Oid objectId;            // OBJECT IDENTIFIER

  // noSuchObject, noSuchInstance or endOfMibView.
  bool isException() const { return type == kNoSuchObject || type == kNoSuchInstance || type == kEndOfMibView; }
  bool operator==(const Varbind&) const = default;
};

enum class PduType { kGet, kGetNext, kGetBulk, kSet };

struct Request {
  PduType type = PduType::kGet;
  std::vector<Varbind> varbinds;  // values matter only for kSet
  int nonRepeaters = 0;           // kGetBulk
  int maxRepetitions = 10;        // kGetBulk
};

// How a request ended.
enum class Status {
  kOk,          // the agent answered without error
  kAgentError,  // the agent answered with a non-zero error status
  kTimeout,     // no answer after every retry
  kSendFailed,  // the request could not be sent (bad host, no route, ...)
  kCancelled,   // the engine stopped first
};

struct Response {
  Status status = Status::kOk;
  long errorStatus = 0;  // SNMP error-status of the answer (kAgentError)
  long errorIndex = 0;   // 1-based index of the variable at fault
  std::vector<Varbind> varbinds;
  std::string message;  // what went wrong, for people
};

// Dotted text of an object identifier, without a leading dot.
std::string oidText(const Oid& oid);
// Parses dotted digits ("1.3.6.1" or ".1.3.6.1"); false for anything else.
bool parseNumericOid(const std::string& text, Oid& out);
// Whether `oid` lies in the subtree at `root` (or is `root` itself).
bool inSubtree(const Oid& root, const Oid& oid);

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_SNMPTYPES_H_
