#include "server/actions/CommandLine.h"

#include <algorithm>
#include <iterator>

namespace om::server {
namespace {

bool isSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// A placeholder's name (between the two %) and how to read its field.
struct Placeholder {
  std::string_view name;
  std::string (*value)(const CLogObject& record);
};

std::string fieldText(const CString& field) { return field.GetString(); }

const Placeholder kPlaceholders[] = {
    {"identifier", [](const CLogObject& r) { return std::to_string(r.getIdentifier()); }},
    {"time", [](const CLogObject& r) { return fieldText(r.getTime().Format("%Y-%m-%d %H:%M:%S")); }},
    {"level", [](const CLogObject& r) { return std::to_string(r.getLevel()); }},
    {"type", [](const CLogObject& r) { return std::to_string(r.getType()); }},
    {"subtype", [](const CLogObject& r) { return std::to_string(r.getSubType()); }},
    {"target", [](const CLogObject& r) { return std::to_string(r.getTargetType()); }},
    {"name", [](const CLogObject& r) { return fieldText(r.getInternalName()); }},
    {"display", [](const CLogObject& r) { return fieldText(r.getDisplayName()); }},
    {"address", [](const CLogObject& r) { return fieldText(r.getAddress()); }},
    {"oid", [](const CLogObject& r) { return fieldText(r.getSysObjectId()); }},
    {"message", [](const CLogObject& r) { return fieldText(r.getMessage()); }},
};

const Placeholder* findPlaceholder(std::string_view name) {
  const auto found = std::find_if(std::begin(kPlaceholders), std::end(kPlaceholders),
                                  [&](const Placeholder& p) { return p.name == name; });
  return found == std::end(kPlaceholders) ? nullptr : found;
}

}  // namespace

bool splitWords(std::string_view text, std::vector<std::string>& words) {
  std::vector<std::string> found;
  std::string word;
  bool inWord = false;
  char quote = 0;  // the quote that is open, if any
  for (const char c : text) {
    if (quote != 0) {
      if (c == quote) {
        quote = 0;
      } else {
        word += c;
      }
    } else if (isSeparator(c)) {
      if (inWord) found.push_back(std::exchange(word, std::string()));
      inWord = false;
    } else {
      inWord = true;
      if (c == '"' || c == '\'') {
        quote = c;
      } else {
        word += c;
      }
    }
  }
  if (quote != 0) return false;
  if (inWord) found.push_back(std::move(word));
  words.insert(words.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
  return true;
}

std::string expandPlaceholders(std::string_view word, const CLogObject& record) {
  std::string out;
  size_t next = 0;
  while (next < word.size()) {
    const size_t open = word.find('%', next);
    const size_t close = open == std::string_view::npos ? open : word.find('%', open + 1);
    if (close == std::string_view::npos) break;
    out.append(word.substr(next, open - next));
    const std::string_view name = word.substr(open + 1, close - open - 1);
    const Placeholder* placeholder = name.empty() ? nullptr : findPlaceholder(name);
    if (name.empty()) {
      out += '%';
      next = close + 1;
    } else if (placeholder != nullptr) {
      out += placeholder->value(record);
      next = close + 1;
    } else {
      out += '%';  // not ours: the closing % may open the next placeholder
      next = open + 1;
    }
  }
  if (next < word.size()) out.append(word.substr(next));
  return out;
}

}  // namespace om::server
