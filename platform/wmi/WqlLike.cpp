#include "WqlLike.h"

#include <cstddef>
#include <vector>

#include "Text.h"

namespace om::wmi {
namespace {

// One element of a compiled pattern.
struct Element {
  enum class Kind { AnyRun, AnyOne, Char, Set };

  explicit Element(Kind k) : kind(k) {}

  Kind kind;
  char16_t c = 0;           // Char, folded
  std::u16string_view set;  // Set: the text between the brackets (after '^')
  bool negated = false;     // Set
};

// Whether `c` (folded) is listed in a bracket set: single characters and
// `x-y` ranges, compared folded.
bool inSet(std::u16string_view set, char16_t c) {
  for (std::size_t i = 0; i < set.size(); ++i) {
    const char16_t low = foldChar(set[i]);
    if (i + 2 < set.size() && set[i + 1] == u'-') {
      const char16_t high = foldChar(set[i + 2]);
      if (c >= low && c <= high) return true;
      i += 2;
    } else if (c == low) {
      return true;
    }
  }
  return false;
}

std::vector<Element> compile(std::u16string_view pattern) {
  std::vector<Element> elements;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char16_t c = pattern[i];
    if (c == u'%') {
      if (elements.empty() || elements.back().kind != Element::Kind::AnyRun) elements.emplace_back(Element::Kind::AnyRun);
      continue;
    }
    if (c == u'_') {
      elements.emplace_back(Element::Kind::AnyOne);
      continue;
    }
    if (c == u'[') {
      std::size_t first = i + 1;
      const bool negated = first < pattern.size() && pattern[first] == u'^';
      if (negated) ++first;
      // A ']' in the first place is listed, so the search starts after it.
      const std::size_t close = pattern.find(u']', first + 1);
      if (first < pattern.size() && close != std::u16string_view::npos) {
        Element set(Element::Kind::Set);
        set.set = pattern.substr(first, close - first);
        set.negated = negated;
        elements.push_back(set);
        i = close;
        continue;
      }
    }
    Element literal(Element::Kind::Char);
    literal.c = foldChar(c);
    elements.push_back(literal);
  }
  return elements;
}

bool matchesOne(const Element& e, char16_t c) {
  switch (e.kind) {
    case Element::Kind::AnyOne: return true;
    case Element::Kind::Char: return e.c == c;
    case Element::Kind::Set: return inSet(e.set, c) != e.negated;
    case Element::Kind::AnyRun: break;
  }
  return false;
}

}  // namespace

// Greedy matching that, on a mismatch, lets the last '%' swallow one more
// character: every element but '%' consumes exactly one character, so this
// finds a match whenever there is one, in O(text * pattern) steps.
bool wqlLike(std::u16string_view text, std::u16string_view pattern) {
  const std::vector<Element> elements = compile(pattern);
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t starElement = std::u16string_view::npos;
  std::size_t starText = 0;
  while (t < text.size()) {
    const char16_t c = foldChar(text[t]);
    if (p < elements.size() && elements[p].kind == Element::Kind::AnyRun) {
      starElement = p++;
      starText = t;
    } else if (p < elements.size() && matchesOne(elements[p], c)) {
      ++p;
      ++t;
    } else if (starElement != std::u16string_view::npos) {
      p = starElement + 1;
      t = ++starText;
    } else {
      return false;
    }
  }
  while (p < elements.size() && elements[p].kind == Element::Kind::AnyRun) ++p;
  return p == elements.size();
}

}  // namespace om::wmi
