#include "monitor/OidValPair.h"

#include <atomic>

#include <om/codepage.h>

namespace {

std::atomic<char> g_separator{':'};

// Index of the first separator in code page 932 text, stepping over
// double-byte characters so that a trail byte never counts as the separator.
size_t findSeparator(const std::string& text) {
  const char separator = OidValPair::getSeparator();
  for (size_t i = 0; i < text.size(); i += om::cp932CharLength(text, i)) {
    if (text[i] == separator) return i;
  }
  return std::string::npos;
}

}  // namespace

std::string OidValPair::getMibName() const { return second_.substr(0, second_.find('.')); }

void OidValPair::clear() {
  first_.clear();
  second_.clear();
}

char OidValPair::getSeparator() { return g_separator.load(std::memory_order_relaxed); }

void OidValPair::setSeparator(char separator) { g_separator.store(separator, std::memory_order_relaxed); }

bool OidValPair::hasSeparator(const std::string& text) {
  return findSeparator(text) != std::string::npos;
}

OidValPair::StringPair OidValPair::separate(const std::string& text) {
  const size_t at = findSeparator(text);
  if (at == std::string::npos) return {std::string(), text};
  return {text.substr(0, at), text.substr(at + 1)};
}

std::string OidValPair::concat(const std::string& first, const std::string& second) {
  if (first.empty()) return second;
  return first + getSeparator() + second;
}
