#include "model/NetworkPath.h"

#include <windows.h>

#include <algorithm>
#include <set>

std::string CNetworkPath::getRootMark() { return "\\"; }

std::string CNetworkPath::getSeparator() { return "\\"; }

// "物理", "論理" and "タスク" in code page 932; the source stays plain ASCII
// so that no compiler can re-encode them.
std::string CNetworkPath::getPhysicalRootName() { return "\x95\xA8\x97\x9D"; }

std::string CNetworkPath::getLogicalRootName() { return "\x98\x5F\x97\x9D"; }

std::string CNetworkPath::getTaskRootName() { return "\x83\x5E\x83\x58\x83\x4E"; }

std::string CNetworkPath::getPath() const {
  if (names_.empty()) return std::string();
  std::string path = getRootMark();
  for (const std::string& name : names_) path += name + getSeparator();
  path.resize(path.size() - getSeparator().size());
  return path;
}

std::string CNetworkPath::rootName() const {
  return names_.empty() ? std::string() : names_.front();
}

std::string CNetworkPath::name() const {
  return names_.empty() ? std::string() : names_.back();
}

bool CNetworkPath::hasName(const std::string& name) const {
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

bool CNetworkPath::isDuplicated() const {
  std::set<std::string> seen;
  for (const std::string& name : names_) {
    if (!seen.insert(name).second) return true;
  }
  return false;
}

bool CNetworkPath::isSJIS(const std::string& text) {
  if (text.empty()) return false;
  const unsigned char c = static_cast<unsigned char>(text[0]);
  return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFE);
}

std::vector<std::string> CNetworkPath::parse(const std::string& path) {
  const std::string separator = getSeparator();
  std::vector<std::string> names;
  size_t start = 0;
  size_t pos = 0;
  while (pos < path.size()) {
    // A double-byte character is skipped whole: its trail byte may be 0x5C.
    if (IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(path[pos]))) {
      pos += 2;
      continue;
    }
    const size_t found = path.find(separator, pos);
    if (found == std::string::npos) break;
    if (found == pos) {
      if (pos > start) names.push_back(path.substr(start, pos - start));
      pos += separator.size();
      start = pos;
    } else {
      ++pos;
    }
  }
  // A lone lead byte at the end can carry the scan past the last byte.
  if (start < path.size()) names.push_back(path.substr(start));
  return names;
}

CNetworkPath CNetworkPath::parent() const {
  CNetworkPath copy(*this);
  if (!copy.names_.empty()) copy.names_.pop_back();
  return copy;
}
