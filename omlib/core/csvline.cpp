#include "core/csvline.h"

#include <string_view>

#include <om/codepage.h>

namespace {

// Calls `visit(i)` for each byte of `text` that stands alone, skipping both
// bytes of every double-byte character.
template <class Visit>
void forEachSingleByte(std::string_view text, Visit visit) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (om::isCp932LeadByte(static_cast<unsigned char>(text[i]))) {
      ++i;
      continue;
    }
    visit(i);
  }
}

// Appends `element` to `line`, its quotes doubled, enclosed in quotes when it
// holds a comma.
void appendQuoted(tstring& line, const tstring& element) {
  // Without a comma or quote byte anywhere (the usual element) there is
  // nothing to quote, whichever bytes are double-byte characters.
  if (element.find(',') == tstring::npos && element.find('"') == tstring::npos) {
    line += element;
    return;
  }
  bool comma = false;
  bool quote = false;
  forEachSingleByte(element, [&](size_t i) {
    comma |= element[i] == ',';
    quote |= element[i] == '"';
  });
  if (comma) line += '"';
  if (!quote) {
    line += element;
  } else {
    size_t copied = 0;
    forEachSingleByte(element, [&](size_t i) {
      if (element[i] != '"') return;
      line.append(element, copied, i + 1 - copied);
      line += '"';
      copied = i + 1;
    });
    line.append(element, copied, tstring::npos);
  }
  if (comma) line += '"';
}

// Drops one pair of enclosing quotes. The closing quote must be a character
// of its own, not the second byte of a double-byte character.
tstring unquoteElement(std::string_view piece) {
  if (piece.size() >= 2 && piece.front() == '"') {
    size_t last = std::string_view::npos;
    forEachSingleByte(piece, [&](size_t i) { last = i; });
    if (last == piece.size() - 1 && piece[last] == '"') piece = piece.substr(1, piece.size() - 2);
  }
  return tstring(piece);
}

}  // namespace

CSVLine::CSVLine(const tstring& line) : line_(line) {}

CSVLine::CSVLine(const std::vector<tstring>& elements) : elements_(elements) {}

CSVLine::CSVLine(const CSVLine& other) { copyIn(other); }

CSVLine& CSVLine::operator=(const CSVLine& other) {
  copyIn(other);
  return *this;
}

void CSVLine::copyIn(const CSVLine& other) {
  line_ = other.line_;
  elements_ = other.elements_;
}

void CSVLine::addElements(const std::vector<tstring>& elements) {
  elements_.insert(elements_.end(), elements.begin(), elements.end());
}

void CSVLine::addEmptyElement(int n) {
  if (n > 0) elements_.resize(elements_.size() + static_cast<size_t>(n));
}

void CSVLine::clear() {
  line_.clear();
  elements_.clear();
}

const tstring& CSVLine::format() {
  line_.clear();
  for (size_t i = 0; i < elements_.size(); ++i) {
    if (i > 0) line_ += ',';
    appendQuoted(line_, elements_[i]);
  }
  return line_;
}

const std::vector<tstring>& CSVLine::unformat() {
  elements_.clear();
  const std::string_view text = line_;
  size_t start = 0;
  bool inQuotes = false;
  forEachSingleByte(text, [&](size_t i) {
    if (text[i] == '"') {
      inQuotes = !inQuotes;
    } else if (text[i] == ',' && !inQuotes) {
      elements_.push_back(unquoteElement(text.substr(start, i - start)));
      start = i + 1;
    }
  });
  // A final empty piece after a trailing comma is not an element.
  if (start < text.size()) elements_.push_back(unquoteElement(text.substr(start)));
  return elements_;
}

tstring CSVLine::element(unsigned int i) {
  if (elements_.empty()) unformat();
  return i < elements_.size() ? elements_[i] : tstring();
}

tstring CSVLine::tail() {
  if (elements_.empty()) unformat();
  return elements_.empty() ? tstring() : elements_.back();
}
