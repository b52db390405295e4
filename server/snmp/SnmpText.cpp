#include "server/snmp/SnmpText.h"

#include <cstdio>
#include <iterator>
#include <cstdlib>
#include <mutex>

#include "server/snmp/NetSnmp.h"

namespace om::snmp {
namespace {

std::mutex logMutex;
std::function<void(const std::string&)>* logSink = nullptr;

int onLogMessage(int, int, void* message, void*) {
  const auto* m = static_cast<const snmp_log_message*>(message);
  std::lock_guard<std::mutex> lock(logMutex);
  if (logSink == nullptr || m == nullptr || m->msg == nullptr) return 0;
  std::string text = m->msg;
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  if (!text.empty()) (*logSink)(text);
  return 0;
}

std::vector<oid> toNetSnmp(const Oid& in) { return std::vector<oid>(in.begin(), in.end()); }

bool printable(const std::string& bytes) {
  for (unsigned char c : bytes) {
    if ((c < 0x20 || c > 0x7e) && c != '\t' && c != '\r' && c != '\n') return false;
  }
  return true;
}

std::string hexBytes(const std::string& bytes) {
  std::string text;
  char byte[4];
  for (unsigned char c : bytes) {
    std::snprintf(byte, sizeof byte, text.empty() ? "%02X" : " %02X", c);
    text += byte;
  }
  return text;
}

std::string timeTicksText(uint32_t ticks) {
  const uint32_t days = ticks / 8640000;
  char clock[32];
  std::snprintf(clock, sizeof clock, "%u:%02u:%02u.%02u", ticks / 360000 % 24, ticks / 6000 % 60, ticks / 100 % 60,
                ticks % 100);
  if (days == 0) return clock;
  return std::to_string(days) + (days == 1 ? " day " : " days ") + clock;
}

}  // namespace

std::shared_mutex& mibMutex() {
  static std::shared_mutex mutex;
  return mutex;
}

LogCapture::LogCapture(std::function<void(const std::string&)> sink) {
  std::lock_guard<std::mutex> lock(logMutex);
  logSink = new std::function<void(const std::string&)>(std::move(sink));
}

LogCapture::~LogCapture() {
  std::lock_guard<std::mutex> lock(logMutex);
  delete logSink;
  logSink = nullptr;
}

void initSnmpLibrary() {
  static std::once_flag once;
  std::call_once(once, [] {
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
    // Room for the answers to many requests in flight on one session (the
    // kernel caps it at net.core.rmem_max): a full buffer drops answers,
    // which then cost a time-out each.
    netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_CLIENTRECVBUF, 1 << 20);
    snmp_disable_log();
    netsnmp_register_loghandler(NETSNMP_LOGHANDLER_CALLBACK, LOG_DEBUG);
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, onLogMessage, nullptr);
    // No MIB module until MibTree loads some: the default list would be
    // looked for in the default folders.
    netsnmp_set_mib_directory("/nonexistent");
    std::unique_lock<std::shared_mutex> lock(mibMutex());
    init_snmp("omlib");
  });
}

Varbind fromVariable(const netsnmp_variable_list& v) {
  Varbind out;
  out.oid.assign(v.name, v.name + v.name_length);
  out.type = v.type;
  switch (v.type) {
    case ASN_INTEGER:
      out.integer = *v.val.integer;
      break;
    case ASN_COUNTER:
    case ASN_GAUGE:
    case ASN_TIMETICKS:
      out.integer = static_cast<uint32_t>(*v.val.integer);
      break;
    case ASN_COUNTER64:
      out.counter64 = (static_cast<uint64_t>(v.val.counter64->high) << 32) | (v.val.counter64->low & 0xFFFFFFFFu);
      break;
    case ASN_OBJECT_ID:
      out.objectId.assign(v.val.objid, v.val.objid + v.val_len / sizeof(oid));
      break;
    case ASN_OCTET_STR:
    case ASN_IPADDRESS:
    case ASN_OPAQUE:
    case ASN_BIT_STR:
      if (v.val.string != nullptr) out.octets.assign(reinterpret_cast<const char*>(v.val.string), v.val_len);
      break;
    default:
      break;
  }
  return out;
}

void addVarbind(netsnmp_pdu* pdu, const Varbind& varbind) {
  const std::vector<oid> name = toNetSnmp(varbind.oid);
  switch (varbind.type) {
    case ASN_INTEGER:
    case ASN_COUNTER:
    case ASN_GAUGE:
    case ASN_TIMETICKS: {
      const long value = static_cast<long>(varbind.integer);
      snmp_pdu_add_variable(pdu, name.data(), name.size(), varbind.type, &value, sizeof value);
      break;
    }
    case ASN_COUNTER64: {
      const counter64 value{static_cast<u_long>(varbind.counter64 >> 32), static_cast<u_long>(varbind.counter64 & 0xFFFFFFFFu)};
      snmp_pdu_add_variable(pdu, name.data(), name.size(), varbind.type, &value, sizeof value);
      break;
    }
    case ASN_OBJECT_ID: {
      const std::vector<oid> value = toNetSnmp(varbind.objectId);
      snmp_pdu_add_variable(pdu, name.data(), name.size(), varbind.type, value.data(), value.size() * sizeof(oid));
      break;
    }
    case ASN_OCTET_STR:
    case ASN_IPADDRESS:
    case ASN_OPAQUE:
    case ASN_BIT_STR:
      snmp_pdu_add_variable(pdu, name.data(), name.size(), varbind.type, varbind.octets.data(), varbind.octets.size());
      break;
    default:
      snmp_pdu_add_variable(pdu, name.data(), name.size(), varbind.type, nullptr, 0);
      break;
  }
}

bool parseOid(const std::string& text, Oid& out) {
  if (parseNumericOid(text, out)) return true;
  initSnmpLibrary();
  std::shared_lock<std::shared_mutex> lock(mibMutex());
  oid name[MAX_OID_LEN];
  size_t length = MAX_OID_LEN;
  if (text.empty() || get_node(text.c_str(), name, &length) == 0) return false;
  out.assign(name, name + length);
  return true;
}

std::string oidName(const Oid& oid) {
  initSnmpLibrary();
  std::shared_lock<std::shared_mutex> lock(mibMutex());
  const std::vector<::oid> name = toNetSnmp(oid);
  // get_tree gives the deepest node on the path; count how deep it is.
  tree* node = name.empty() ? nullptr : get_tree(name.data(), name.size(), get_tree_head());
  size_t depth = 0;
  for (tree* up = node; up != nullptr; up = up->parent) ++depth;
  if (node == nullptr || depth < 2 || node->label == nullptr) return oidText(oid);
  std::string text = node->label;
  for (size_t i = depth; i < oid.size(); ++i) text.append(".").append(std::to_string(oid[i]));
  return text;
}

std::string valueText(const Varbind& v) {
  switch (v.type) {
    case kInteger:
    case kCounter32:
    case kGauge32:
      return std::to_string(v.integer);
    case kTimeTicks:
      return timeTicksText(static_cast<uint32_t>(v.integer));
    case kCounter64:
      return std::to_string(v.counter64);
    case kObjectId:
      return oidText(v.objectId);
    case kIpAddress: {
      if (v.octets.size() != 4) return hexBytes(v.octets);
      const auto* b = reinterpret_cast<const unsigned char*>(v.octets.data());
      return std::to_string(b[0]) + "." + std::to_string(b[1]) + "." + std::to_string(b[2]) + "." + std::to_string(b[3]);
    }
    case kOctetString:
      return printable(v.octets) ? v.octets : hexBytes(v.octets);
    case kOpaque:
    case kBitString:
      return hexBytes(v.octets);
    default:
      return typeName(v);
  }
}

std::string typeName(const Varbind& v) {
  switch (v.type) {
    case kInteger: return "INTEGER";
    case kOctetString: return printable(v.octets) ? "STRING" : "Hex-STRING";
    case kObjectId: return "OID";
    case kIpAddress: return "IpAddress";
    case kCounter32: return "Counter32";
    case kGauge32: return "Gauge32";
    case kTimeTicks: return "Timeticks";
    case kOpaque: return "Opaque";
    case kCounter64: return "Counter64";
    case kBitString: return "BITS";
    case kNoSuchObject: return "noSuchObject";
    case kNoSuchInstance: return "noSuchInstance";
    case kEndOfMibView: return "endOfMibView";
    default: return "NULL";
  }
}

std::string netsnmpText(const Varbind& varbind) {
  initSnmpLibrary();
  std::shared_lock<std::shared_mutex> lock(mibMutex());
  const PduPointer pdu = newPdu(SNMP_MSG_GET);
  addVarbind(pdu.get(), varbind);
  const netsnmp_variable_list* variable = pdu->variables;
  u_char* buffer = nullptr;
  size_t size = 0;
  size_t length = 0;
  sprint_realloc_variable(&buffer, &size, &length, 1, variable->name, variable->name_length, variable);
  std::string text(reinterpret_cast<const char*>(buffer), length);
  std::free(buffer);
  return text;
}

bool encodeValue(const Oid& oid, char type, const std::string& text, Varbind& out, std::string& error) {
  initSnmpLibrary();
  std::shared_lock<std::shared_mutex> lock(mibMutex());
  const std::vector<::oid> name = toNetSnmp(oid);
  const PduPointer pdu = newPdu(SNMP_MSG_SET);
  const int rc = snmp_add_var(pdu.get(), name.data(), name.size(), type, text.c_str());
  if (rc != 0 || pdu->variables == nullptr) {
    error = std::string("cannot encode the value: ") + snmp_api_errstring(rc);
    return false;
  }
  out = fromVariable(*pdu->variables);
  return true;
}

std::string errorStatusName(long errorStatus) {
  // The error-status names of SNMPv2's protocol operations, in their order.
  static const char* const kNames[] = {
      "noError",     "tooBig",        "noSuchName",    "badValue",          "readOnly",
      "genErr",      "noAccess",      "wrongType",     "wrongLength",       "wrongEncoding",
      "wrongValue",  "noCreation",    "inconsistentValue", "resourceUnavailable", "commitFailed",
      "undoFailed",  "authorizationError", "notWritable", "inconsistentName"};
  if (errorStatus < 0 || errorStatus >= static_cast<long>(std::size(kNames))) {
    return "error " + std::to_string(errorStatus);
  }
  return kNames[errorStatus];
}

}  // namespace om::snmp
