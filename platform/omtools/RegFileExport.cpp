// Writing .reg files in the layout of the Windows registry editor.
#include <cstdio>

#include <om/RegFile.h>
#include <om/codepage.h>

#include "RegFileText.h"

namespace om {
namespace {

// Hex data wraps once a line reaches this column, before its backslash.
constexpr size_t kHexWrapColumn = 77;

// Appends `text` in quotes, its backslashes and quotes escaped; the trail
// bytes of double-byte characters are left alone.
void appendQuoted(std::string* out, std::string_view text) {
  *out += '"';
  for (size_t i = 0; i < text.size();) {
    const size_t n = cp932CharLength(text, i);
    if (n == 1 && (text[i] == '\\' || text[i] == '"')) *out += '\\';
    out->append(text.substr(i, n));
    i += n;
  }
  *out += '"';
}

// Texts that a quoted string cannot carry go out as hex(1): line breaks,
// NULs, and a lead byte at the end, which would take the closing quote.
bool quotable(std::string_view text) {
  if (text.find_first_of(std::string_view("\0\r\n", 3)) != std::string_view::npos) return false;
  size_t i = 0;
  while (i < text.size() && i + cp932CharLength(text, i) < text.size()) i += cp932CharLength(text, i);
  return i >= text.size() || cp932CharLength(text, i) == 2 || !isCp932LeadByte(static_cast<unsigned char>(text[i]));
}

class Writer {
 public:
  Writer(const RegTransaction& txn, RegHive hive, RegFormat format) : txn_(txn), hive_(hive), format_(format) {
    text_.append(regHeader(format)).append("\r\n\r\n");
  }

  // Writes the block of `key`, then those of its subkeys.
  DWORD key(const RegKeyPath& key) {
    text_ += '[';
    text_ += regHiveName(hive_);
    if (!key.isRoot()) text_.append("\\").append(key.str());
    text_ += "]\r\n";
    std::vector<RegNamedValue> values;
    std::vector<std::string> subkeys;
    DWORD err = txn_.enumValues(key, &values);
    if (err == ERROR_SUCCESS) err = txn_.enumSubkeys(key, &subkeys);
    if (err != ERROR_SUCCESS) return err;
    for (const RegNamedValue& v : values) value(v);
    text_ += "\r\n";
    for (const std::string& name : subkeys) {
      if ((err = this->key(key.child(name))) != ERROR_SUCCESS) return err;
    }
    return ERROR_SUCCESS;
  }

  // The file's bytes.
  std::string bytes() const {
    return format_ == RegFormat::kVersion5 ? std::string(kRegBom) + cp932ToUtf16Le(text_) : text_;
  }

 private:
  void value(const RegNamedValue& v) {
    std::string line;
    if (v.name.empty()) {
      line = "@";
    } else {
      appendQuoted(&line, v.name);
    }
    line += '=';
    DWORD number = 0;
    if (v.value.type == REG_SZ && quotable(v.value.data)) {
      appendQuoted(&line, v.value.data);
    } else if (v.value.getDword(&number)) {
      char digits[16];
      std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(number));
      line.append("dword:").append(digits);
    } else {
      char prefix[24];
      std::snprintf(prefix, sizeof prefix, v.value.type == REG_BINARY ? "hex:" : "hex(%x):",
                    static_cast<unsigned>(v.value.type));
      line += prefix;
      appendHex(&line, fileBytes(v.value));
    }
    text_.append(line).append("\r\n");
  }

  // The bytes the file holds for a value written as hex: text types in
  // UTF-16 for version 5, strings with their terminating NUL.
  std::string fileBytes(const RegValue& v) const {
    if (!isTextType(v.type)) return v.data;
    std::string bytes = v.data;
    if (v.type != REG_MULTI_SZ) bytes += '\0';
    return format_ == RegFormat::kVersion5 ? cp932ToUtf16Le(bytes) : bytes;
  }

  // Appends "xx,xx,..." to `line`, wrapping with a backslash and a two-space
  // indent as the registry editor does.
  void appendHex(std::string* line, std::string_view bytes) const {
    // Columns count characters (UTF-16 units) in either form, not bytes.
    size_t column = cp932ToUtf16(*line).size();
    static const char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < bytes.size(); ++i) {
      const unsigned char b = static_cast<unsigned char>(bytes[i]);
      *line += kDigits[b >> 4];
      *line += kDigits[b & 0xF];
      if (i + 1 == bytes.size()) break;
      *line += ',';
      column += 3;
      if (column >= kHexWrapColumn) {
        *line += "\\\r\n  ";
        column = 2;
      }
    }
  }

  const RegTransaction& txn_;
  const RegHive hive_;
  const RegFormat format_;
  std::string text_;
};

}  // namespace

DWORD RegFile::exportKey(RegHive hive, const RegKeyPath& key, RegFormat format, std::string* bytes) {
  const RegTransaction txn(hive, RegTransaction::kRead);
  RegKeyPath cased;
  if (DWORD err = txn.casedPath(key, &cased)) return err;
  Writer writer(txn, hive, format);
  if (DWORD err = writer.key(cased)) return err;
  *bytes = writer.bytes();
  return ERROR_SUCCESS;
}

}  // namespace om
