#include "MofLexer.h"

namespace om::wmi {

namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isHexDigit(char16_t c) { return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F'); }
bool isNameStart(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_' || c >= 0x80; }
bool isNameChar(char16_t c) { return isNameStart(c) || isDigit(c); }

class Lexer {
 public:
  explicit Lexer(std::u16string_view text) : text_(text) {}

  bool run(std::vector<MofToken>* tokens, std::string* error, int* errorLine) {
    while (skipSpaceAndComments()) {
      if (pos_ >= text_.size()) break;
      MofToken token;
      token.line = line_;
      if (!next(&token)) {
        *error = error_;
        *errorLine = line_;
        return false;
      }
      tokens->push_back(std::move(token));
    }
    if (!error_.empty()) {
      *error = error_;
      *errorLine = line_;
      return false;
    }
    tokens->push_back(MofToken{MofToken::Kind::kEnd, u"", line_});
    return true;
  }

 private:
  char16_t peek(size_t ahead = 0) const { return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : u'\0'; }

  // False for an unterminated comment.
  bool skipSpaceAndComments() {
    while (pos_ < text_.size()) {
      const char16_t c = text_[pos_];
      if (c == u'\n') {
        ++line_;
        ++pos_;
      } else if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\f' || c == u'\v' || c == 0xFEFF) {
        ++pos_;
      } else if (c == u'/' && peek(1) == u'/') {
        while (pos_ < text_.size() && text_[pos_] != u'\n') ++pos_;
      } else if (c == u'/' && peek(1) == u'*') {
        const int start = line_;
        pos_ += 2;
        while (pos_ < text_.size() && !(text_[pos_] == u'*' && peek(1) == u'/')) {
          if (text_[pos_] == u'\n') ++line_;
          ++pos_;
        }
        if (pos_ >= text_.size()) {
          line_ = start;
          error_ = "unterminated comment";
          return false;
        }
        pos_ += 2;
      } else {
        return true;
      }
    }
    return true;
  }

  bool next(MofToken* token) {
    const char16_t c = text_[pos_];
    if (isNameStart(c)) {
      const size_t start = pos_;
      while (pos_ < text_.size() && isNameChar(text_[pos_])) ++pos_;
      token->kind = MofToken::Kind::kName;
      token->text = std::u16string(text_.substr(start, pos_ - start));
      return true;
    }
    if (isDigit(c) || ((c == u'-' || c == u'+' || c == u'.') && isDigit(peek(1))) ||
        ((c == u'-' || c == u'+') && peek(1) == u'.' && isDigit(peek(2)))) {
      return number(token);
    }
    if (c == u'"') return quoted(u'"', MofToken::Kind::kString, token);
    if (c == u'\'') {
      if (!quoted(u'\'', MofToken::Kind::kChar, token)) return false;
      if (token->text.size() != 1) {
        error_ = "a character literal holds one character";
        return false;
      }
      return true;
    }
    if (std::u16string_view(u"{}[]();:,=#$@").find(c) != std::u16string_view::npos) {
      token->kind = MofToken::Kind::kPunct;
      token->text = std::u16string(1, c);
      ++pos_;
      return true;
    }
    error_ = "unexpected character";
    if (c < 0x80 && c >= 0x20) error_ += std::string(" '") + static_cast<char>(c) + "'";
    return false;
  }

  bool number(MofToken* token) {
    const size_t start = pos_;
    if (peek() == u'-' || peek() == u'+') ++pos_;
    bool real = false;
    if (peek() == u'0' && (peek(1) == u'x' || peek(1) == u'X')) {
      pos_ += 2;
      const size_t digits = pos_;
      while (isHexDigit(peek())) ++pos_;
      if (pos_ == digits) {
        error_ = "hexadecimal number without digits";
        return false;
      }
    } else {
      while (isDigit(peek())) ++pos_;
      if (peek() == u'.') {
        real = true;
        ++pos_;
        while (isDigit(peek())) ++pos_;
      }
      if (peek() == u'e' || peek() == u'E') {
        real = true;
        ++pos_;
        if (peek() == u'-' || peek() == u'+') ++pos_;
        const size_t digits = pos_;
        while (isDigit(peek())) ++pos_;
        if (pos_ == digits) {
          error_ = "exponent without digits";
          return false;
        }
      }
    }
    if (isNameChar(peek())) {
      error_ = "malformed number";
      return false;
    }
    token->kind = real ? MofToken::Kind::kReal : MofToken::Kind::kInteger;
    token->text = std::u16string(text_.substr(start, pos_ - start));
    return true;
  }

  bool quoted(char16_t close, MofToken::Kind kind, MofToken* token) {
    ++pos_;
    std::u16string value;
    while (true) {
      if (pos_ >= text_.size() || text_[pos_] == u'\n') {
        error_ = kind == MofToken::Kind::kString ? "unterminated string" : "unterminated character";
        return false;
      }
      char16_t c = text_[pos_++];
      if (c == close) break;
      if (c == u'\\') {
        if (!escape(&c)) return false;
      }
      value += c;
    }
    token->kind = kind;
    token->text = std::move(value);
    return true;
  }

  bool escape(char16_t* out) {
    const char16_t c = peek();
    ++pos_;
    switch (c) {
      case u'b': *out = u'\b'; return true;
      case u't': *out = u'\t'; return true;
      case u'n': *out = u'\n'; return true;
      case u'f': *out = u'\f'; return true;
      case u'r': *out = u'\r'; return true;
      case u'"': *out = u'"'; return true;
      case u'\'': *out = u'\''; return true;
      case u'\\': *out = u'\\'; return true;
      case u'x':
      case u'X': {
        unsigned value = 0;
        int digits = 0;
        while (digits < 4 && isHexDigit(peek())) {
          const char16_t h = peek();
          value = value * 16 + static_cast<unsigned>(isDigit(h) ? h - u'0' : (h | 0x20) - u'a' + 10);
          ++pos_;
          ++digits;
        }
        if (digits == 0) break;
        *out = static_cast<char16_t>(value);
        return true;
      }
      default: break;
    }
    error_ = "bad escape sequence";
    return false;
  }

  std::u16string_view text_;
  size_t pos_ = 0;
  int line_ = 1;
  std::string error_;
};

}  // namespace

bool tokenizeMof(std::u16string_view text, std::vector<MofToken>* tokens, std::string* error, int* errorLine) {
  tokens->clear();
  return Lexer(text).run(tokens, error, errorLine);
}

}  // namespace om::wmi
