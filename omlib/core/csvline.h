// CSVLine: one line of comma-separated values, as line text and as its list
// of elements, converted with the library's own quoting rules.
#ifndef OMLIB_CORE_CSVLINE_H_
#define OMLIB_CORE_CSVLINE_H_

#include <vector>

#include <omtools/tstring.h>

// The two forms are not kept in step: format() rebuilds the line from the
// elements and unformat() the elements from the line. Text is code page 932;
// the byte after a lead byte is never taken for a comma or a quote.
//
// Writing doubles every double quote of an element and encloses the element
// in double quotes only when it holds a comma. Reading splits at commas
// outside quotes and drops one enclosing pair of quotes, but leaves doubled
// quotes doubled: it is not the inverse of writing, by design.
class CSVLine {
 public:
  CSVLine() = default;
  // Sets the line only.
  CSVLine(const tstring& line);
  // Sets the elements only.
  CSVLine(const std::vector<tstring>& elements);
  CSVLine(const CSVLine& other);
  virtual ~CSVLine() = default;

  CSVLine& operator=(const CSVLine& other);
  void copyIn(const CSVLine& other);

  void setLine(const tstring& line) { line_ = line; }
  void setElements(const std::vector<tstring>& elements) { elements_ = elements; }
  void addElement(const tstring& element) { elements_.push_back(element); }
  void addElements(const std::vector<tstring>& elements);
  // Appends `n` empty elements (none for n <= 0).
  void addEmptyElement(int n);
  void clear();

  const tstring& format();
  operator const tstring&() { return format(); }
  const std::vector<tstring>& unformat();
  operator const std::vector<tstring>&() { return unformat(); }

  // The elements held now, without parsing the line.
  unsigned int entries() const { return static_cast<unsigned int>(elements_.size()); }
  // These parse the line first when no elements are held; out of range gives
  // the empty string.
  tstring element(unsigned int i);
  tstring top() { return element(0); }
  tstring tail();

 private:
  tstring line_;
  std::vector<tstring> elements_;
};

#endif  // OMLIB_CORE_CSVLINE_H_
