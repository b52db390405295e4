// Reading .reg files: parse the whole file into operations, then apply them.
#include <om/RegFile.h>

#include <cctype>
#include <optional>

#include <om/codepage.h>

#include "RegFileText.h"

namespace om {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The number written by `digits` (1 to `maxDigits` hex digits).
bool parseHex(std::string_view digits, size_t maxDigits, DWORD* value) {
  if (digits.empty() || digits.size() > maxDigits) return false;
  DWORD v = 0;
  for (char c : digits) {
    const int d = hexValue(c);
    if (d < 0) return false;
    v = v << 4 | static_cast<DWORD>(d);
  }
  *value = v;
  return true;
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool startsNoCase(std::string_view s, std::string_view prefix) {
  if (s.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(s[i])) != prefix[i]) return false;
  }
  return true;
}

// The lines of `text`; a final line break ends the last line rather than
// starting an empty one.
std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    start = end + 1;
  }
  if (lines.empty()) lines.emplace_back();
  return lines;
}

// True when only blanks or a comment follow `pos`.
bool endsAt(std::string_view line, size_t pos) {
  while (pos < line.size() && isBlank(line[pos])) ++pos;
  return pos == line.size() || line[pos] == ';';
}

// Turns the lines of one file (code page 932 text) into operations.
class Parser {
 public:
  Parser(RegFormat format, std::string_view text) : format_(format), lines_(splitLines(text)) {}

  bool run(std::vector<RegOperation>* operations, std::string* error);

 private:
  bool fail(std::string what) { return failAt(static_cast<int>(index_) + 1, std::move(what)); }
  bool failAt(int line, std::string what) {
    error_ = "line " + std::to_string(line) + ": " + what;
    return false;
  }

  bool header();
  bool keyLine(std::string_view line);
  bool valueLine(std::string_view line);
  bool valueData(std::string_view line, size_t pos, RegOperation* op);
  bool hexData(std::string_view line, size_t pos, RegOperation* op);
  bool hexBytes(std::string_view segment, std::string* bytes);
  // Reads a quoted text starting at `*pos`, undoing \\ and \" escapes.
  bool quoted(std::string_view line, size_t* pos, std::string* text);

  enum class State { kNoKey, kKey, kDeletedKey };

  const RegFormat format_;
  const std::vector<std::string_view> lines_;
  size_t index_ = 0;
  std::vector<RegOperation> ops_;
  std::string error_;
  State state_ = State::kNoKey;
  RegHive hive_ = RegHive::kLocalMachine;
  RegKeyPath key_;
};

bool Parser::run(std::vector<RegOperation>* operations, std::string* error) {
  bool ok = header();
  for (index_ = 1; ok && index_ < lines_.size(); ++index_) {
    const std::string_view line = lines_[index_];
    size_t pos = 0;
    while (pos < line.size() && isBlank(line[pos])) ++pos;
    if (pos == line.size() || line[pos] == ';') continue;
    if (line[pos] == '[') {
      ok = keyLine(line.substr(pos));
    } else if (line[pos] == '"' || line[pos] == '@') {
      ok = valueLine(line.substr(pos));
    } else {
      ok = fail("unrecognised line");
    }
  }
  if (!ok) {
    *error = error_;
    return false;
  }
  *operations = std::move(ops_);
  return true;
}

bool Parser::header() {
  const std::string_view first = trim(lines_[0]);
  if (first == regHeader(format_)) return true;
  if (format_ == RegFormat::kVersion5) return fail("expected \"" + std::string(regHeader(format_)) + "\"");
  if (first == regHeader(RegFormat::kVersion5)) return fail("a version 5.00 file must be UTF-16LE with a byte order mark");
  return fail("not a registry file (no \"REGEDIT4\" or \"Windows Registry Editor Version 5.00\" header)");
}

bool Parser::keyLine(std::string_view line) {
  size_t close = std::string_view::npos;
  for (size_t i = 1; i < line.size(); i += cp932CharLength(line, i)) {
    if (line[i] == ']' && cp932CharLength(line, i) == 1) close = i;
  }
  if (close == std::string_view::npos) return fail("missing ']'");
  if (!endsAt(line, close + 1)) return fail("unexpected text after ']'");
  std::string_view name = line.substr(1, close - 1);
  const bool remove = !name.empty() && name.front() == '-';
  if (remove) name.remove_prefix(1);
  RegOperation op;
  if (!parseRegKeyName(name, &op.hive, &op.key)) {
    return fail("unknown hive '" + std::string(name.substr(0, name.find('\\'))) + "'");
  }
  if (!op.key.valid()) return fail("control character in a key name");
  if (remove && op.key.isRoot()) return fail("a hive cannot be deleted");
  op.kind = remove ? RegOperation::kDeleteKey : RegOperation::kCreateKey;
  op.line = static_cast<int>(index_) + 1;
  state_ = remove ? State::kDeletedKey : State::kKey;
  hive_ = op.hive;
  key_ = op.key;
  ops_.push_back(std::move(op));
  return true;
}

bool Parser::quoted(std::string_view line, size_t* pos, std::string* text) {
  text->clear();
  for (size_t i = *pos + 1; i < line.size();) {
    const size_t n = cp932CharLength(line, i);
    const char c = line[i];
    if (n == 1 && c == '"') {
      *pos = i + 1;
      return true;
    }
    if (n == 1 && c == '\\') {
      if (i + 1 >= line.size() || (line[i + 1] != '\\' && line[i + 1] != '"')) {
        return fail("unknown escape in quoted text (only \\\\ and \\\" are known)");
      }
      *text += line[i + 1];
      i += 2;
      continue;
    }
    text->append(line.substr(i, n));
    i += n;
  }
  return fail("missing closing '\"'");
}

bool Parser::valueLine(std::string_view line) {
  if (state_ == State::kNoKey) return fail("value line before any key line");
  if (state_ == State::kDeletedKey) return fail("value line under a deleted key");
  RegOperation op;
  op.hive = hive_;
  op.key = key_;
  op.line = static_cast<int>(index_) + 1;
  size_t pos = 1;  // after '@'
  if (line[0] == '"') {
    pos = 0;
    if (!quoted(line, &pos, &op.name)) return false;
  }
  if (op.name.find('\0') != std::string::npos) return fail("NUL character in a value name");
  while (pos < line.size() && isBlank(line[pos])) ++pos;
  if (pos == line.size() || line[pos] != '=') return fail("expected '=' after the value name");
  ++pos;
  while (pos < line.size() && isBlank(line[pos])) ++pos;
  if (!valueData(line, pos, &op)) return false;
  ops_.push_back(std::move(op));
  return true;
}

bool Parser::valueData(std::string_view line, size_t pos, RegOperation* op) {
  const std::string_view data = line.substr(pos);
  op->kind = RegOperation::kSetValue;
  if (data.starts_with('"')) {
    std::string text;
    if (!quoted(line, &pos, &text)) return false;
    if (!endsAt(line, pos)) return fail("unexpected text after the closing '\"'");
    op->value = RegValue::text(text);
    return true;
  }
  if (data.starts_with('-')) {
    if (!endsAt(line, pos + 1)) return fail("unexpected text after '-'");
    op->kind = RegOperation::kDeleteValue;
    return true;
  }
  if (startsNoCase(data, "dword:")) {
    DWORD v = 0;
    if (!parseHex(data.substr(6, 8), 8, &v) || data.size() < 14 || !endsAt(line, pos + 14)) {
      return fail("dword: needs exactly 8 hex digits");
    }
    op->value = RegValue::dword(v);
    return true;
  }
  if (startsNoCase(data, "hex")) return hexData(line, pos + 3, op);
  return fail("unrecognised value data");
}

bool Parser::hexData(std::string_view line, size_t pos, RegOperation* op) {
  DWORD type = REG_BINARY;
  if (pos < line.size() && line[pos] == '(') {
    const size_t close = line.find(')', pos);
    if (close == std::string_view::npos || !parseHex(line.substr(pos + 1, close - pos - 1), 8, &type)) {
      return fail("malformed hex(type)");
    }
    pos = close + 1;
  }
  if (pos >= line.size() || line[pos] != ':') return fail("expected ':' after hex");
  const int first = static_cast<int>(index_) + 1;
  std::string bytes;
  for (std::string_view segment = line.substr(pos + 1);; segment = lines_[index_]) {
    segment = trim(segment.substr(0, segment.find(';')));
    const bool more = segment.ends_with('\\');
    if (more) segment.remove_suffix(1);
    if (!hexBytes(segment, &bytes)) return false;
    if (!more) break;
    if (index_ + 1 >= lines_.size()) return fail("continuation line missing at the end of the file");
    ++index_;
  }
  if (format_ == RegFormat::kVersion5 && isTextType(type)) {
    std::string text;
    if (!utf16LeToCp932(bytes, &text)) return failAt(first, "odd number of bytes in UTF-16 text");
    bytes = std::move(text);
  }
  // The file holds the terminating NUL of a string; the store does not.
  if ((type == REG_SZ || type == REG_EXPAND_SZ) && bytes.ends_with('\0')) bytes.pop_back();
  op->value = RegValue{type, std::move(bytes)};
  return true;
}

bool Parser::hexBytes(std::string_view segment, std::string* bytes) {
  for (size_t start = 0;;) {
    const size_t comma = segment.find(',', start);
    const std::string_view token = trim(segment.substr(start, comma - start));
    DWORD byte = 0;
    if (!token.empty() && !parseHex(token, 2, &byte)) return fail("bad hex byte '" + std::string(token) + "'");
    if (comma == std::string_view::npos) {
      if (!token.empty()) *bytes += static_cast<char>(byte);
      return true;
    }
    if (token.empty()) return fail("missing hex byte before ','");
    *bytes += static_cast<char>(byte);
    start = comma + 1;
  }
}

}  // namespace

std::string cp932ToUtf16Le(std::string_view text) {
  const std::u16string wide = cp932ToUtf16(text);
  std::string out;
  out.reserve(wide.size() * 2);
  for (char16_t c : wide) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

bool utf16LeToCp932(std::string_view bytes, std::string* text) {
  if (bytes.size() % 2 != 0) return false;
  std::u16string wide(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < wide.size(); ++i) {
    wide[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                    static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
  }
  *text = utf16ToCp932(wide);
  return true;
}

bool RegFile::parse(std::string_view bytes) {
  operations_.clear();
  error_.clear();
  std::string text;
  if (bytes.starts_with(kRegBom)) {
    format_ = RegFormat::kVersion5;
    if (!utf16LeToCp932(bytes.substr(kRegBom.size()), &text)) {
      error_ = "line 1: odd number of bytes in a UTF-16 file";
      return false;
    }
  } else {
    format_ = RegFormat::kRegedit4;
    text.assign(bytes);
  }
  return Parser(format_, text).run(&operations_, &error_);
}

namespace {

DWORD applyOne(RegTransaction& txn, const RegOperation& op) {
  switch (op.kind) {
    case RegOperation::kCreateKey: return txn.createKey(op.key);
    case RegOperation::kDeleteKey: {
      const DWORD err = txn.deleteKey(op.key);
      return err == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : err;
    }
    case RegOperation::kSetValue: return txn.setValue(op.key, op.name, op.value);
    case RegOperation::kDeleteValue: {
      const DWORD err = txn.deleteValue(op.key, op.name);
      return err == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : err;
    }
  }
  return ERROR_INVALID_PARAMETER;
}

std::string fullName(RegHive hive, const RegKeyPath& key) {
  return key.isRoot() ? regHiveName(hive) : std::string(regHiveName(hive)) + "\\" + key.str();
}

}  // namespace

bool RegFile::apply() {
  error_.clear();
  constexpr RegHive kHives[] = {RegHive::kLocalMachine, RegHive::kCurrentUser};
  // Transactions begin in one fixed hive order, so that two importers never
  // wait for each other.
  std::optional<RegTransaction> txns[2];
  for (size_t h = 0; h < 2; ++h) {
    for (const RegOperation& op : operations_) {
      if (op.hive != kHives[h]) continue;
      txns[h].emplace(kHives[h], RegTransaction::kWrite);
      if (DWORD err = txns[h]->status()) {
        error_ = std::string(regHiveName(kHives[h])) + ": " + regErrorText(err);
        return false;
      }
      break;
    }
  }
  for (const RegOperation& op : operations_) {
    const size_t h = op.hive == RegHive::kLocalMachine ? 0 : 1;
    if (DWORD err = applyOne(*txns[h], op)) {
      error_ = "line " + std::to_string(op.line) + ": " + fullName(op.hive, op.key) + ": " + regErrorText(err);
      return false;
    }
  }
  for (size_t h = 0; h < 2; ++h) {
    if (!txns[h]) continue;
    if (DWORD err = txns[h]->commit()) {
      error_ = std::string(regHiveName(kHives[h])) + ": " + regErrorText(err);
      return false;
    }
  }
  return true;
}

}  // namespace om
