#include <om/RegValue.h>

#include <cstdio>

namespace om {
namespace {

std::string littleEndian(ULONGLONG value, size_t bytes) {
  std::string out(bytes, '\0');
  for (size_t i = 0; i < bytes; ++i) out[i] = static_cast<char>(value >> (8 * i) & 0xFF);
  return out;
}

bool fromLittleEndian(const std::string& data, size_t bytes, ULONGLONG* value) {
  if (data.size() != bytes) return false;
  ULONGLONG v = 0;
  for (size_t i = 0; i < bytes; ++i) v |= static_cast<ULONGLONG>(static_cast<unsigned char>(data[i])) << (8 * i);
  *value = v;
  return true;
}

}  // namespace

RegValue RegValue::text(std::string_view text, DWORD type) { return RegValue{type, std::string(text)}; }

RegValue RegValue::dword(DWORD value) { return RegValue{REG_DWORD, littleEndian(value, 4)}; }

RegValue RegValue::qword(ULONGLONG value) { return RegValue{REG_QWORD, littleEndian(value, 8)}; }

RegValue RegValue::multiString(const std::vector<std::string>& items) {
  RegValue v{REG_MULTI_SZ, {}};
  for (const std::string& item : items) {
    if (item.empty()) continue;  // an empty string would end the list
    v.data += item;
    v.data += '\0';
  }
  v.data += '\0';
  return v;
}

bool RegValue::getDword(DWORD* value) const {
  ULONGLONG v = 0;
  if (type != REG_DWORD || !fromLittleEndian(data, 4, &v)) return false;
  *value = static_cast<DWORD>(v);
  return true;
}

bool RegValue::getQword(ULONGLONG* value) const {
  return type == REG_QWORD && fromLittleEndian(data, 8, value);
}

std::vector<std::string> RegValue::multiStrings() const {
  std::vector<std::string> items;
  size_t start = 0;
  while (start < data.size()) {
    size_t end = data.find('\0', start);
    if (end == std::string::npos) end = data.size();
    if (end == start) break;  // the empty string that ends the list
    items.emplace_back(data, start, end - start);
    start = end + 1;
  }
  return items;
}

bool RegValue::toText(std::string* text) const {
  switch (type) {
    case REG_DWORD:
    case REG_QWORD: {
      ULONGLONG v = 0;
      DWORD d = 0;
      if (type == REG_DWORD ? !getDword(&d) : !getQword(&v)) return false;
      *text = std::to_string(type == REG_DWORD ? d : v);
      return true;
    }
    case REG_MULTI_SZ: {
      text->clear();
      for (const std::string& item : multiStrings()) {
        if (!text->empty()) *text += '\n';
        *text += item;
      }
      return true;
    }
    default:
      *text = data;
      return true;
  }
}

std::string regTypeName(DWORD type) {
  switch (type) {
    case REG_NONE: return "REG_NONE";
    case REG_SZ: return "REG_SZ";
    case REG_EXPAND_SZ: return "REG_EXPAND_SZ";
    case REG_BINARY: return "REG_BINARY";
    case REG_DWORD: return "REG_DWORD";
    case REG_MULTI_SZ: return "REG_MULTI_SZ";
    case REG_QWORD: return "REG_QWORD";
  }
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "REG_0x%x", static_cast<unsigned>(type));
  return buffer;
}

}  // namespace om
