// StringTokenizer: splits a text at any character of a delimiter set,
// skipping empty tokens. Double-byte characters of code page 932 are never
// split: a trail byte that equals a delimiter stays in its token.
#ifndef OM_PLATFORM_OMTOOLS_STRINGTOKENIZER_H_
#define OM_PLATFORM_OMTOOLS_STRINGTOKENIZER_H_

#include <string>

#include <omtools/tstring.h>

class StringTokenizer {
 public:
  explicit StringTokenizer(const std::string& text, const std::string& delimiters = " \t\r\n\f");

  bool hasMoreTokens();
  // The next token, or the empty string when none is left.
  tstring nextToken();
  // The number of tokens not yet returned.
  int countTokens() const;

 private:
  bool isDelimiter(unsigned char c) const;
  // Position of the first non-delimiter at or after `pos`.
  size_t skipDelimiters(size_t pos) const;
  // Position just after the token that starts at `pos`.
  size_t tokenEnd(size_t pos) const;

  std::string text_;
  std::string delimiters_;
  size_t pos_ = 0;
};

#endif  // OM_PLATFORM_OMTOOLS_STRINGTOKENIZER_H_
