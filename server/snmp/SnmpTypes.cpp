#include "server/snmp/SnmpTypes.h"

#include <algorithm>
#include <charconv>

namespace om::snmp {

std::string oidText(const Oid& oid) {
  std::string text;
  for (size_t i = 0; i < oid.size(); ++i) {
    if (i > 0) text += '.';
    text += std::to_string(oid[i]);
  }
  return text;
}

bool parseNumericOid(const std::string& text, Oid& out) {
  const char* p = text.data();
  const char* const end = p + text.size();
  if (p != end && *p == '.') ++p;
  Oid oid;
  while (p != end) {
    uint32_t value = 0;
    const auto [next, error] = std::from_chars(p, end, value);
    if (error != std::errc() || next == p) return false;
    oid.push_back(value);
    p = next;
    if (p != end && (*p != '.' || ++p == end)) return false;
  }
  if (oid.empty()) return false;
  out = std::move(oid);
  return true;
}

bool inSubtree(const Oid& root, const Oid& oid) {
  return oid.size() >= root.size() && std::equal(root.begin(), root.end(), oid.begin());
}

}  // namespace om::snmp
