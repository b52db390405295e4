#include <omtools/StringTokenizer.h>

#include <om/codepage.h>

StringTokenizer::StringTokenizer(const std::string& text, const std::string& delimiters)
    : text_(text), delimiters_(delimiters) {}

bool StringTokenizer::isDelimiter(unsigned char c) const {
  return delimiters_.find(static_cast<char>(c)) != std::string::npos;
}

size_t StringTokenizer::skipDelimiters(size_t pos) const {
  while (pos < text_.size() && isDelimiter(static_cast<unsigned char>(text_[pos]))) ++pos;
  return pos;
}

size_t StringTokenizer::tokenEnd(size_t pos) const {
  while (pos < text_.size() && !isDelimiter(static_cast<unsigned char>(text_[pos]))) {
    pos += om::cp932CharLength(text_, pos);
  }
  return pos;
}

bool StringTokenizer::hasMoreTokens() {
  pos_ = skipDelimiters(pos_);
  return pos_ < text_.size();
}

tstring StringTokenizer::nextToken() {
  if (!hasMoreTokens()) return tstring();
  const size_t end = tokenEnd(pos_);
  tstring token(text_.substr(pos_, end - pos_));
  pos_ = end;
  return token;
}

int StringTokenizer::countTokens() const {
  int count = 0;
  for (size_t pos = skipDelimiters(pos_); pos < text_.size(); pos = skipDelimiters(tokenEnd(pos))) ++count;
  return count;
}
