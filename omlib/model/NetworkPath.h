// CNetworkPath: names an object by its place in a tree, as the names from a
// root down to the object, and converts between those names and one path text
// ("\root\subnet\device", code page 932).
#ifndef OMLIB_MODEL_NETWORKPATH_H_
#define OMLIB_MODEL_NETWORKPATH_H_

#include <string>
#include <vector>

// Path texts are parsed by code page 932 characters, so the trail byte of a
// double-byte character never splits a name even when it is 0x5C, the
// separator. Parsing drops empty names: leading, trailing and doubled
// separators vanish, and the root mark is optional.
class CNetworkPath {
 public:
  CNetworkPath() = default;
  // Parses `path` (see set()).
  explicit CNetworkPath(const std::string& path) { set(path); }
  // Takes the names as they are, without parsing.
  explicit CNetworkPath(const std::vector<std::string>& names) : names_(names) {}
  CNetworkPath(const CNetworkPath& other) = default;
  virtual ~CNetworkPath() = default;

  CNetworkPath& operator=(const CNetworkPath& other) = default;

  // The mark that opens a path text and the separator between names: both
  // one backslash.
  static std::string getRootMark();
  static std::string getSeparator();
  // Root names of the physical, logical and task trees, in code page 932.
  static std::string getPhysicalRootName();
  static std::string getLogicalRootName();
  static std::string getTaskRootName();

  // Replaces the names by those parsed from `path`.
  void set(const std::string& path) { names_ = parse(path); }
  // The root mark, then the names joined by separators; "" without names.
  std::string getPath() const;
  const std::vector<std::string>& getVector() const { return names_; }

  // The first name, or "".
  std::string rootName() const;
  // The last name, or "".
  std::string name() const;
  // getPath() and name() of this path without its last name.
  std::string parentPath() const { return parent().getPath(); }
  std::string parentName() const { return parent().name(); }

  void addParent(const std::string& name) { names_.insert(names_.begin(), name); }
  void addChild(const std::string& name) { names_.push_back(name); }

  bool empty() const { return names_.empty(); }
  // Some name equals `name` exactly.
  bool hasName(const std::string& name) const;
  // Some name occurs more than once.
  bool isDuplicated() const;

 protected:
  // The first byte of `text` is a Shift-JIS lead byte: 0x81-0x9F or
  // 0xE0-0xFE (0xFF is not).
  static bool isSJIS(const std::string& text);
  static std::vector<std::string> parse(const std::string& path);

 private:
  // A copy without the last name (empty when there is at most one).
  CNetworkPath parent() const;

  std::vector<std::string> names_;
};

#endif  // OMLIB_MODEL_NETWORKPATH_H_
