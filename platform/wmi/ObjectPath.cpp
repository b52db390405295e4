#include "ObjectPath.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

#include "CimClass.h"
#include "CimType.h"
#include "Text.h"

namespace om::wmi {

namespace {

bool isSlash(char16_t c) { return c == u'\\' || c == u'/'; }

bool isNameStart(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_' || c >= 0x80;
}
bool isNameChar(char16_t c) { return isNameStart(c) || (c >= u'0' && c <= u'9'); }

bool isName(std::u16string_view text) {
  return !text.empty() && isNameStart(text[0]) && std::all_of(text.begin(), text.end(), isNameChar);
}

// Reads a name at `pos`; empty when there is none.
std::u16string_view readName(std::u16string_view text, size_t* pos) {
  const size_t start = *pos;
  if (start >= text.size() || !isNameStart(text[start])) return {};
  size_t end = start + 1;
  while (end < text.size() && isNameChar(text[end])) ++end;
  *pos = end;
  return text.substr(start, end - start);
}

// Reads a key value at `pos`: a quoted string, an integer or TRUE/FALSE.
bool readValue(std::u16string_view text, size_t* pos, KeyBinding* key) {
  size_t i = *pos;
  if (i >= text.size()) return false;
  if (text[i] == u'"') {
    std::u16string value;
    for (++i; i < text.size(); ++i) {
      char16_t c = text[i];
      if (c == u'"') {
        *pos = i + 1;
        key->kind = KeyBinding::Kind::kString;
        key->value = std::move(value);
        return true;
      }
      if (c == u'\\') {
        if (i + 1 >= text.size() || (text[i + 1] != u'"' && text[i + 1] != u'\\')) return false;
        c = text[++i];
      }
      value += c;
    }
    return false;  // unterminated
  }
  size_t end = i;
  while (end < text.size() && text[end] != u',') ++end;
  const std::u16string_view bare = text.substr(i, end - i);
  if (equalsNoCase(bare, u"TRUE") || equalsNoCase(bare, u"FALSE")) {
    key->kind = KeyBinding::Kind::kBoolean;
    key->value = equalsNoCase(bare, u"TRUE") ? u"TRUE" : u"FALSE";
  } else {
    size_t digits = (bare.size() > 0 && (bare[0] == u'-' || bare[0] == u'+')) ? 1 : 0;
    if (digits >= bare.size()) return false;
    for (size_t k = digits; k < bare.size(); ++k) {
      if (bare[k] < u'0' || bare[k] > u'9') return false;
    }
    key->kind = KeyBinding::Kind::kInteger;
    key->value = std::u16string(bare);
  }
  *pos = end;
  return true;
}

std::u16string formatValue(const KeyBinding& key) {
  return key.kind == KeyBinding::Kind::kString ? quoteKeyValue(key.value) : key.value;
}

// Splits "\\server\namespace:" or "namespace:" off the front of `text`.
bool readLocation(std::u16string_view* text, ObjectPath* path) {
  std::u16string_view rest = *text;
  if (rest.size() >= 2 && isSlash(rest[0]) && isSlash(rest[1])) {
    rest.remove_prefix(2);
    size_t end = 0;
    while (end < rest.size() && !isSlash(rest[end]) && rest[end] != u':') ++end;
    if (end == 0 || end >= rest.size() || !isSlash(rest[end])) return false;
    path->server = std::u16string(rest.substr(0, end));
    rest.remove_prefix(end + 1);
    const size_t colon = rest.find(u':');
    if (colon == std::u16string_view::npos || colon == 0) return false;
    path->nameSpace = std::u16string(rest.substr(0, colon));
    rest.remove_prefix(colon + 1);
  } else {
    // A namespace prefix ends at a ':' that comes before the class's '.', '='.
    const size_t stop = rest.find_first_of(u".=:\"");
    if (stop != std::u16string_view::npos && rest[stop] == u':') {
      if (stop == 0) return false;
      path->nameSpace = std::u16string(rest.substr(0, stop));
      rest.remove_prefix(stop + 1);
    }
  }
  // Namespace parts are names separated by single slashes.
  std::u16string cleaned;
  size_t start = 0;
  const std::u16string& ns = path->nameSpace;
  for (size_t i = 0; i <= ns.size(); ++i) {
    if (i < ns.size() && !isSlash(ns[i])) continue;
    if (!isName(std::u16string_view(ns).substr(start, i - start))) {
      if (!ns.empty()) return false;
      break;
    }
    if (!cleaned.empty()) cleaned += u'\\';
    cleaned += ns.substr(start, i - start);
    start = i + 1;
  }
  path->nameSpace = cleaned;
  *text = rest;
  return true;
}

bool parseInteger(std::u16string_view text, bool* negative, uint64_t* magnitude) {
  size_t i = 0;
  *negative = false;
  if (!text.empty() && (text[0] == u'-' || text[0] == u'+')) {
    *negative = text[0] == u'-';
    i = 1;
  }
  if (i >= text.size()) return false;
  std::string ascii;
  for (; i < text.size(); ++i) {
    if (text[i] < u'0' || text[i] > u'9') return false;
    ascii += static_cast<char>(text[i]);
  }
  const auto [end, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), *magnitude);
  return ec == std::errc() && end == ascii.data() + ascii.size();
}

// Range of the integer CIM types: the lowest value's magnitude (for
// negatives) and the highest value.
bool integerRange(CIMTYPE type, uint64_t* negativeLimit, uint64_t* positiveLimit) {
  switch (type) {
    case CIM_SINT8: *negativeLimit = 128; *positiveLimit = 127; return true;
    case CIM_UINT8: *negativeLimit = 0; *positiveLimit = 255; return true;
    case CIM_SINT16: *negativeLimit = 32768; *positiveLimit = 32767; return true;
    case CIM_UINT16: *negativeLimit = 0; *positiveLimit = 65535; return true;
    case CIM_SINT32: *negativeLimit = 2147483648u; *positiveLimit = 2147483647u; return true;
    case CIM_UINT32: *negativeLimit = 0; *positiveLimit = 4294967295u; return true;
    case CIM_SINT64: *negativeLimit = 9223372036854775808u; *positiveLimit = 9223372036854775807u; return true;
    case CIM_UINT64: *negativeLimit = 0; *positiveLimit = UINT64_MAX; return true;
    default: return false;
  }
}

// Puts the value of `key` in the canonical form of the key property's type.
bool canonicalValue(const PropertyDef& property, KeyBinding* key) {
  const CIMTYPE type = property.type;
  if (isArrayType(type)) return false;
  uint64_t negativeLimit = 0;
  uint64_t positiveLimit = 0;
  if (integerRange(type, &negativeLimit, &positiveLimit)) {
    if (key->kind == KeyBinding::Kind::kBoolean) return false;
    bool negative = false;
    uint64_t magnitude = 0;
    if (!parseInteger(key->value, &negative, &magnitude)) return false;
    if (negative ? magnitude > negativeLimit : magnitude > positiveLimit) return false;
    const std::string digits = std::to_string(magnitude);
    key->kind = KeyBinding::Kind::kInteger;
    key->value = (negative && magnitude != 0 ? u"-" : u"") + std::u16string(digits.begin(), digits.end());
    return true;
  }
  if (type == CIM_BOOLEAN) {
    if (!equalsNoCase(key->value, u"TRUE") && !equalsNoCase(key->value, u"FALSE")) return false;
    key->kind = KeyBinding::Kind::kBoolean;
    key->value = equalsNoCase(key->value, u"TRUE") ? u"TRUE" : u"FALSE";
    return true;
  }
  if (type == CIM_DATETIME && !isDatetimeText(key->value)) return false;
  if (type == CIM_CHAR16 && key->value.size() != 1) return false;
  if (type == CIM_REAL32 || type == CIM_REAL64 || type == CIM_OBJECT) return false;
  key->kind = KeyBinding::Kind::kString;
  return true;
}

}  // namespace

std::u16string quoteKeyValue(std::u16string_view text) {
  std::u16string out = u"\"";
  for (char16_t c : text) {
    if (c == u'"' || c == u'\\') out += u'\\';
    out += c;
  }
  out += u'"';
  return out;
}

std::u16string ObjectPath::relPath() const {
  std::u16string out = className;
  if (singleton) return out + u"=@";
  if (keys.size() == 1 && keys[0].name.empty()) return out + u"=" + formatValue(keys[0]);
  for (size_t i = 0; i < keys.size(); ++i) {
    out += i == 0 ? u'.' : u',';
    out += keys[i].name;
    out += u'=';
    out += formatValue(keys[i]);
  }
  return out;
}

std::u16string ObjectPath::toString() const {
  if (nameSpace.empty()) return relPath();
  std::u16string out;
  if (!server.empty()) out = u"\\\\" + server + u"\\";
  return out + nameSpace + u":" + relPath();
}

HRESULT parseObjectPath(std::u16string_view text, ObjectPath* path) {
  ObjectPath parsed;
  if (!readLocation(&text, &parsed)) return WBEM_E_INVALID_OBJECT_PATH;
  size_t pos = 0;
  parsed.className = std::u16string(readName(text, &pos));
  if (parsed.className.empty()) return WBEM_E_INVALID_OBJECT_PATH;
  if (pos < text.size() && text[pos] == u'=') {
    ++pos;
    if (text.substr(pos) == u"@") {
      parsed.singleton = true;
      pos = text.size();
    } else {
      KeyBinding key;
      if (!readValue(text, &pos, &key)) return WBEM_E_INVALID_OBJECT_PATH;
      parsed.keys.push_back(std::move(key));
    }
  } else if (pos < text.size() && text[pos] == u'.') {
    do {
      ++pos;
      KeyBinding key;
      key.name = std::u16string(readName(text, &pos));
      if (key.name.empty() || pos >= text.size() || text[pos] != u'=') return WBEM_E_INVALID_OBJECT_PATH;
      ++pos;
      if (!readValue(text, &pos, &key)) return WBEM_E_INVALID_OBJECT_PATH;
      for (const KeyBinding& other : parsed.keys) {
        if (equalsNoCase(other.name, key.name)) return WBEM_E_INVALID_OBJECT_PATH;
      }
      parsed.keys.push_back(std::move(key));
    } while (pos < text.size() && text[pos] == u',');
  }
  if (pos != text.size()) return WBEM_E_INVALID_OBJECT_PATH;
  *path = std::move(parsed);
  return S_OK;
}

HRESULT canonicalizeInstancePath(const CimClass& cls, ObjectPath* path) {
  path->className = cls.name();
  const std::vector<int> keyIndexes = cls.keyIndexes();
  if (path->singleton) return cls.isSingleton() && keyIndexes.empty() ? S_OK : WBEM_E_INVALID_OBJECT_PATH;
  if (keyIndexes.empty() || path->keys.size() != keyIndexes.size()) return WBEM_E_INVALID_OBJECT_PATH;
  if (path->keys.size() == 1 && path->keys[0].name.empty()) {
    path->keys[0].name = cls.properties()[static_cast<size_t>(keyIndexes[0])].name;
  }
  for (KeyBinding& key : path->keys) {
    const PropertyDef* property = cls.property(key.name);
    if (property == nullptr || !property->isKey() || !canonicalValue(*property, &key)) {
      return WBEM_E_INVALID_OBJECT_PATH;
    }
    key.name = property->name;
  }
  std::sort(path->keys.begin(), path->keys.end(),
            [](const KeyBinding& a, const KeyBinding& b) { return compareNoCase(a.name, b.name) < 0; });
  return S_OK;
}

std::u16string instanceIdentity(const ObjectPath& path) {
  ObjectPath folded;
  folded.className = foldCase(path.className);
  folded.singleton = path.singleton;
  for (const KeyBinding& key : path.keys) {
    KeyBinding k = key;
    k.name = foldCase(key.name);
    if (k.kind == KeyBinding::Kind::kString) k.value = foldCase(key.value);
    folded.keys.push_back(std::move(k));
  }
  return folded.relPath();
}

}  // namespace om::wmi
