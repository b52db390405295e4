// The WQL parser: a tokenizer and a recursive-descent parser over UTF-16
// query text.
//
//   query      := SELECT (* | name {, name}) FROM name [WITHIN number] [WHERE or]
//   or         := and {OR and}
//   and        := unary {AND unary}
//   unary      := NOT unary | ( or ) | comparison
//   comparison := path op constant | constant op path | path LIKE string
//               | path ISA string | path IS [NOT] NULL
#include "Wql.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace om::wmi {
namespace {

// Deeper nesting of parentheses and NOTs than this is refused, so that
// neither parsing nor evaluation can exhaust the stack.
constexpr int kMaxNesting = 200;

// |integer| may reach 2^64 - 1 (uint64) or 2^63 (sint64's minimum).
constexpr __int128 kMaxMagnitude = static_cast<__int128>(UINT64_MAX);

enum class Token { End, Name, String, Number, Star, Comma, Dot, Open, Close, Compare, Error };

bool isNameStart(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_' || c >= 0x80; }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isNamePart(char16_t c) { return isNameStart(c) || isDigit(c); }
bool isSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n' || c == u'\f' || c == u'\v'; }

char16_t upperAscii(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

bool equalsKeyword(std::u16string_view word, std::string_view keyword) {
  if (word.size() != keyword.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (upperAscii(word[i]) != static_cast<char16_t>(keyword[i])) return false;
  }
  return true;
}

// Splits the text into tokens one at a time. After next(), kind() tells what
// was read and the accessors give its contents.
class Tokenizer {
 public:
  explicit Tokenizer(std::u16string_view text) : text_(text) {}

  Token next() {
    while (pos_ < text_.size() && isSpace(text_[pos_])) ++pos_;
    start_ = pos_;
    if (pos_ == text_.size()) return kind_ = Token::End;
    const char16_t c = text_[pos_];
    if (isNameStart(c)) return readName();
    if (c == u'\'' || c == u'"') return readString(c);
    if (isDigit(c) || ((c == u'-' || c == u'+' || c == u'.') && pos_ + 1 < text_.size() &&
                       (isDigit(text_[pos_ + 1]) || text_[pos_ + 1] == u'.'))) {
      return readNumber();
    }
    ++pos_;
    switch (c) {
      case u'*': return kind_ = Token::Star;
      case u',': return kind_ = Token::Comma;
      case u'.': return kind_ = Token::Dot;
      case u'(': return kind_ = Token::Open;
      case u')': return kind_ = Token::Close;
      case u'=': return compare(WqlOperator::Equal);
      case u'!':
        if (take(u'=')) return compare(WqlOperator::NotEqual);
        return fail("'!' must be followed by '='");
      case u'<':
        if (take(u'>')) return compare(WqlOperator::NotEqual);
        if (take(u'=')) return compare(WqlOperator::LessEqual);
        return compare(WqlOperator::Less);
      case u'>':
        if (take(u'=')) return compare(WqlOperator::GreaterEqual);
        return compare(WqlOperator::Greater);
      default: return fail("unexpected character");
    }
  }

  Token kind() const { return kind_; }
  std::size_t start() const { return start_; }
  std::u16string_view name() const { return text_.substr(start_, pos_ - start_); }
  bool isKeyword(std::string_view keyword) const { return kind_ == Token::Name && equalsKeyword(name(), keyword); }
  WqlOperator compareOperator() const { return op_; }
  const WqlLiteral& literal() const { return literal_; }
  const std::string& error() const { return error_; }

 private:
  bool take(char16_t c) {
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  Token compare(WqlOperator op) {
    op_ = op;
    return kind_ = Token::Compare;
  }
  Token fail(const char* message) {
    error_ = message;
    return kind_ = Token::Error;
  }

  Token readName() {
    while (pos_ < text_.size() && isNamePart(text_[pos_])) ++pos_;
    return kind_ = Token::Name;
  }

  // A quoted string; a backslash takes the next character as it is.
  Token readString(char16_t quote) {
    literal_ = WqlLiteral{};
    literal_.kind = WqlLiteral::Kind::String;
    ++pos_;
    while (pos_ < text_.size()) {
      char16_t c = text_[pos_++];
      if (c == quote) return kind_ = Token::String;
      if (c == u'\\') {
        if (pos_ == text_.size()) break;
        c = text_[pos_++];
      }
      literal_.text.push_back(c);
    }
    return fail("unterminated string");
  }

  Token readNumber() {
    literal_ = WqlLiteral{};
    const bool negative = text_[pos_] == u'-';
    if (text_[pos_] == u'-' || text_[pos_] == u'+') ++pos_;
    const std::size_t digitsStart = pos_;
    if (pos_ + 1 < text_.size() && text_[pos_] == u'0' && (text_[pos_ + 1] == u'x' || text_[pos_ + 1] == u'X')) {
      pos_ += 2;
      return readHex(negative);
    }
    while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
    bool real = false;
    if (pos_ < text_.size() && text_[pos_] == u'.') {
      real = true;
      ++pos_;
      while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
    }
    if (pos_ < text_.size() && (text_[pos_] == u'e' || text_[pos_] == u'E')) {
      real = true;
      ++pos_;
      if (pos_ < text_.size() && (text_[pos_] == u'-' || text_[pos_] == u'+')) ++pos_;
      const std::size_t exponentStart = pos_;
      while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
      if (pos_ == exponentStart) return fail("malformed number");
    }
    if (pos_ < text_.size() && isNamePart(text_[pos_])) return fail("malformed number");
    std::string digits(text_.begin() + static_cast<std::ptrdiff_t>(start_), text_.begin() + static_cast<std::ptrdiff_t>(pos_));
    if (digits.find_first_of("0123456789") == std::string::npos) return fail("malformed number");
    if (real) {
      literal_.kind = WqlLiteral::Kind::Real;
      literal_.real = std::strtod(digits.c_str(), nullptr);
      if (!std::isfinite(literal_.real)) return fail("number out of range");
      return kind_ = Token::Number;
    }
    __int128 value = 0;
    for (std::size_t i = digitsStart; i < pos_; ++i) {
      value = value * 10 + (text_[i] - u'0');
      if (value > kMaxMagnitude) return fail("number out of range");
    }
    return integer(negative, value);
  }

  Token readHex(bool negative) {
    __int128 value = 0;
    const std::size_t first = pos_;
    for (; pos_ < text_.size(); ++pos_) {
      const char16_t c = text_[pos_];
      int digit;
      if (isDigit(c)) {
        digit = c - u'0';
      } else if (upperAscii(c) >= u'A' && upperAscii(c) <= u'F') {
        digit = upperAscii(c) - u'A' + 10;
      } else {
        break;
      }
      value = value * 16 + digit;
      if (value > kMaxMagnitude) return fail("number out of range");
    }
    if (pos_ == first || (pos_ < text_.size() && isNamePart(text_[pos_]))) return fail("malformed number");
    return integer(negative, value);
  }

  Token integer(bool negative, __int128 magnitude) {
    if (negative && magnitude > (static_cast<__int128>(1) << 63)) return fail("number out of range");
    literal_.kind = WqlLiteral::Kind::Integer;
    literal_.integer = negative ? -magnitude : magnitude;
    return kind_ = Token::Number;
  }

  std::u16string_view text_;
  std::size_t pos_ = 0;
  std::size_t start_ = 0;
  Token kind_ = Token::End;
  WqlOperator op_ = WqlOperator::Equal;
  WqlLiteral literal_;
  std::string error_;
};

// The operator that gives the same result with its operands swapped.
WqlOperator mirrored(WqlOperator op) {
  switch (op) {
    case WqlOperator::Less: return WqlOperator::Greater;
    case WqlOperator::Greater: return WqlOperator::Less;
    case WqlOperator::LessEqual: return WqlOperator::GreaterEqual;
    case WqlOperator::GreaterEqual: return WqlOperator::LessEqual;
    default: return op;
  }
}

bool isReserved(std::u16string_view word) {
  for (std::string_view keyword : {"SELECT", "FROM", "WHERE", "AND", "OR", "NOT", "LIKE", "ISA", "IS", "NULL", "TRUE",
                                   "FALSE", "WITHIN"}) {
    if (equalsKeyword(word, keyword)) return true;
  }
  return false;
}

class Parser {
 public:
  explicit Parser(std::u16string_view text) : tokens_(text) { tokens_.next(); }

  bool parse(WqlQuery* query) {
    *query = WqlQuery{};
    if (!keyword("SELECT") || !selectList(query) || !keyword("FROM")) return false;
    if (!name(&query->className)) return false;
    if (tokens_.isKeyword("WITHIN")) {
      tokens_.next();
      if (tokens_.kind() != Token::Number) return fail("WITHIN needs a number of seconds");
      const WqlLiteral& seconds = tokens_.literal();
      const double value = seconds.kind == WqlLiteral::Kind::Real ? seconds.real : static_cast<double>(seconds.integer);
      if (!(value > 0)) return fail("WITHIN needs a positive number of seconds");
      query->withinSeconds = value;
      tokens_.next();
    }
    if (tokens_.isKeyword("WHERE")) {
      tokens_.next();
      query->where = disjunction(0);
      if (query->where == nullptr) return false;
    }
    if (tokens_.kind() != Token::End) return fail("unexpected text after the query");
    return true;
  }

  WqlError error() const { return error_; }

 private:
  bool fail(const char* message) {
    if (!failed_) {
      failed_ = true;
      error_.position = tokens_.start();
      error_.message = tokens_.kind() == Token::Error ? tokens_.error() : message;
    }
    return false;
  }

  bool keyword(std::string_view word) {
    if (!tokens_.isKeyword(word)) return fail("keyword expected");
    tokens_.next();
    return true;
  }

  bool name(std::u16string* out) {
    if (tokens_.kind() != Token::Name || isReserved(tokens_.name())) return fail("name expected");
    out->assign(tokens_.name());
    tokens_.next();
    return true;
  }

  bool selectList(WqlQuery* query) {
    if (tokens_.kind() == Token::Star) {
      tokens_.next();
      return true;
    }
    do {
      std::u16string property;
      if (!name(&property)) return false;
      query->properties.push_back(std::move(property));
    } while (tokens_.kind() == Token::Comma && tokens_.next() != Token::Error);
    return true;
  }

  // A chain of `operand keyword operand ...` as one node; a single operand
  // stands alone.
  template <class Operand>
  std::unique_ptr<WqlCondition> chain(std::string_view word, WqlCondition::Kind kind, int depth, Operand operand) {
    std::unique_ptr<WqlCondition> first = operand(depth);
    if (first == nullptr || !tokens_.isKeyword(word)) return first;
    auto node = std::make_unique<WqlCondition>();
    node->kind = kind;
    node->operands.push_back(std::move(first));
    while (tokens_.isKeyword(word)) {
      tokens_.next();
      std::unique_ptr<WqlCondition> next = operand(depth);
      if (next == nullptr) return nullptr;
      node->operands.push_back(std::move(next));
    }
    return node;
  }

  std::unique_ptr<WqlCondition> disjunction(int depth) {
    return chain("OR", WqlCondition::Kind::Or, depth, [this](int d) { return conjunction(d); });
  }

  std::unique_ptr<WqlCondition> conjunction(int depth) {
    return chain("AND", WqlCondition::Kind::And, depth, [this](int d) { return unary(d); });
  }

  std::unique_ptr<WqlCondition> unary(int depth) {
    if (depth >= kMaxNesting) {
      fail("condition nested too deeply");
      return nullptr;
    }
    if (tokens_.isKeyword("NOT")) {
      tokens_.next();
      std::unique_ptr<WqlCondition> operand = unary(depth + 1);
      if (operand == nullptr) return nullptr;
      auto node = std::make_unique<WqlCondition>();
      node->kind = WqlCondition::Kind::Not;
      node->operands.push_back(std::move(operand));
      return node;
    }
    if (tokens_.kind() == Token::Open) {
      tokens_.next();
      std::unique_ptr<WqlCondition> inner = disjunction(depth + 1);
      if (inner == nullptr) return nullptr;
      if (tokens_.kind() != Token::Close) {
        fail("')' expected");
        return nullptr;
      }
      tokens_.next();
      return inner;
    }
    return comparison();
  }

  bool isConstant() const {
    return tokens_.kind() == Token::String || tokens_.kind() == Token::Number || tokens_.isKeyword("TRUE") ||
           tokens_.isKeyword("FALSE") || tokens_.isKeyword("NULL");
  }

  bool constant(WqlLiteral* out) {
    if (tokens_.kind() == Token::String || tokens_.kind() == Token::Number) {
      *out = tokens_.literal();
    } else if (tokens_.isKeyword("TRUE") || tokens_.isKeyword("FALSE")) {
      *out = WqlLiteral{};
      out->kind = WqlLiteral::Kind::Boolean;
      out->boolean = tokens_.isKeyword("TRUE");
    } else if (tokens_.isKeyword("NULL")) {
      *out = WqlLiteral{};
    } else {
      return fail("constant expected");
    }
    tokens_.next();
    return true;
  }

  bool path(std::vector<std::u16string>* out) {
    do {
      std::u16string part;
      if (!name(&part)) return false;
      out->push_back(std::move(part));
    } while (tokens_.kind() == Token::Dot && tokens_.next() != Token::Error);
    return true;
  }

  std::unique_ptr<WqlCondition> comparison() {
    auto node = std::make_unique<WqlCondition>();
    if (isConstant()) {
      // constant op property: only the ordering operators and (in)equality.
      if (!constant(&node->value)) return nullptr;
      if (tokens_.kind() != Token::Compare) {
        fail("comparison operator expected");
        return nullptr;
      }
      node->op = mirrored(tokens_.compareOperator());
      tokens_.next();
      if (!path(&node->property) || !settleNull(node.get())) return nullptr;
      return node;
    }
    if (!path(&node->property)) return nullptr;
    if (tokens_.kind() == Token::Compare) {
      node->op = tokens_.compareOperator();
      tokens_.next();
      if (!constant(&node->value) || !settleNull(node.get())) return nullptr;
      return node;
    }
    if (tokens_.isKeyword("IS")) {
      tokens_.next();
      node->op = WqlOperator::IsNull;
      if (tokens_.isKeyword("NOT")) {
        tokens_.next();
        node->op = WqlOperator::IsNotNull;
      }
      if (!keyword("NULL")) return nullptr;
      return node;
    }
    if (tokens_.isKeyword("LIKE") || tokens_.isKeyword("ISA")) {
      node->op = tokens_.isKeyword("LIKE") ? WqlOperator::Like : WqlOperator::Isa;
      tokens_.next();
      if (tokens_.kind() != Token::String) {
        fail("string expected");
        return nullptr;
      }
      node->value = tokens_.literal();
      tokens_.next();
      return node;
    }
    fail("comparison operator expected");
    return nullptr;
  }

  // `= NULL` and `<> NULL` are the IS forms; any other comparison with NULL
  // is an error.
  bool settleNull(WqlCondition* node) {
    if (node->value.kind != WqlLiteral::Kind::Null) return true;
    if (node->op == WqlOperator::Equal) {
      node->op = WqlOperator::IsNull;
    } else if (node->op == WqlOperator::NotEqual) {
      node->op = WqlOperator::IsNotNull;
    } else {
      return fail("NULL can only be tested for (in)equality");
    }
    return true;
  }

  Tokenizer tokens_;
  bool failed_ = false;
  WqlError error_;
};

}  // namespace

bool parseWql(std::u16string_view text, WqlQuery* query, WqlError* error) {
  Parser parser(text);
  WqlQuery parsed;
  if (!parser.parse(&parsed)) {
    if (error != nullptr) *error = parser.error();
    return false;
  }
  *query = std::move(parsed);
  return true;
}

}  // namespace om::wmi
