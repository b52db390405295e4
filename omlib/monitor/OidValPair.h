// OidValPair: one object identifier with its value (a varbind, or a MIB
// variable name with its value), and its one-line text form "oid:value". The
// separator character is one setting for the whole process, ':' at start.
#ifndef OMLIB_MONITOR_OIDVALPAIR_H_
#define OMLIB_MONITOR_OIDVALPAIR_H_

#include <string>
#include <utility>

class OidValPair {
 public:
  typedef std::pair<std::string, std::string> StringPair;

  OidValPair() = default;
  explicit OidValPair(const StringPair& pair) : first_(pair.first), second_(pair.second) {}
  OidValPair(const std::string& oid, const std::string& value) : first_(oid), second_(value) {}
  // Splits a text form with separate().
  explicit OidValPair(const std::string& text) : OidValPair(separate(text)) {}
  OidValPair(const OidValPair& other) = default;
  OidValPair& operator=(const OidValPair& other) = default;

  const std::string& first() const { return first_; }
  const std::string& getOid() const { return first_; }
  void setOid(const std::string& oid) { first_ = oid; }
  const std::string& second() const { return second_; }
  const std::string& getValue() const { return second_; }
  const std::string& getVariable() const { return second_; }
  void setValue(const std::string& value) { second_ = value; }
  void setVariable(const std::string& variable) { second_ = variable; }

  bool hasOid() const { return !first_.empty(); }
  // The second text up to its first ".": sysDescr.0 gives sysDescr.
  std::string getMibName() const;
  void clear();

  // The process-wide separator. Changing it affects every pair's text form
  // from then on, in every thread.
  static char getSeparator();
  static void setSeparator(char separator);
  static bool hasSeparator(const std::string& text);

  // Splits at the first separator: the text before it and the text after it.
  // The search steps over double-byte characters of code page 932.
  // Without a separator the first is empty and the second is the whole text.
  static StringPair separate(const std::string& text);
  // first, the separator and second; second alone when first is empty.
  static std::string concat(const std::string& first, const std::string& second);
  static std::string concat(const StringPair& pair) { return concat(pair.first, pair.second); }
  std::string concat() const { return concat(first_, second_); }

 private:
  std::string first_;
  std::string second_;
};

#endif  // OMLIB_MONITOR_OIDVALPAIR_H_
