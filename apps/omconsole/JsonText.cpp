#include "JsonText.h"

#include <cstdio>

#include <om/codepage.h>

namespace omconsole {

std::string jsonString(const std::string& utf8) {
  std::string out = "\"";
  for (unsigned char c : utf8) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
      out += buffer;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

std::string jsonText(const std::string& cp932) { return jsonString(om::cp932ToUtf8(cp932)); }

}  // namespace omconsole
