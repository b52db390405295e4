// SubtypeInfo: the table of log subtypes read from the installation's subtype
// file ("SubtypeInfo.ini", named by the setting "SubtypeInformationFile"),
// with lookups by subtype number and by name, and the subtypes of each log
// type.
#ifndef OMLIB_DEVINFO_SUBTYPEINFO_H_
#define OMLIB_DEVINFO_SUBTYPEINFO_H_

#include <map>
#include <vector>

#include <omtools/tstring.h>

#include "core/logdef.h"

class CFile;

// The file is 8-bit text (code page 932), one subtype a line:
//
//   ; comment
//   12, 3, LinkDown, Link, "port"
//
// Lines that are empty or start with ';' are skipped. Other lines are split at
// blanks, tabs, line ends, double quotes and commas, so a quoted text cannot
// hold a blank. The tokens are the subtype number, the log type number (both
// read like atoi: a non-number is 0), the name, a qualifier and a description;
// further tokens are dropped and lines of fewer than three tokens ignored.
// Subtype numbers and names are unique: a later line repeating either is
// refused.
class SubtypeInfo {
 public:
  // One line of the file.
  class element {
   public:
    // The empty element, which find() returns for a subtype it does not know.
    element() = default;
    element(int subtype, int type, const tstring& name, const tstring& qualifier,
            const tstring& description);

    int getSubtype() const { return subtype_; }
    int getType() const { return type_; }
    const tstring& getName() const { return name_; }
    const tstring& getQualifier() const { return qualifier_; }
    const tstring& getDescription() const { return description_; }

    // Every loaded element has a name.
    bool empty() const { return name_.empty(); }
    // "subtype(type), name(qualifier), description", or
    // "empty! <Subtype Information Element>".
    tstring toString() const;

   private:
    int subtype_ = 0;
    int type_ = 0;
    tstring name_;
    tstring qualifier_;
    tstring description_;
  };

  SubtypeInfo() = default;
  SubtypeInfo(const SubtypeInfo& other);
  SubtypeInfo& operator=(const SubtypeInfo& other);
  virtual ~SubtypeInfo();

  // Clears the table and loads the file at `path`, opened for reading with
  // writes by others denied. False when it cannot be opened or read.
  bool reload(const tstring& path);
  // Clears the table and loads `file` (open for reading) from where it
  // stands, line by line. False when reading fails; the table then holds the
  // lines read before the failure.
  bool reload(CFile& file);

  // A copy of the element, or an empty element when none matches.
  element find(log_def::tagLOGSUBTYPE subtype) const { return find(static_cast<int>(subtype)); }
  element find(int subtype) const;
  element find(const tstring& name) const;

  // The subtype numbers of the log type `type`, in file order.
  std::vector<int> enumSubtype(log_def::tagLOGTYPE type) const {
    return enumSubtype(static_cast<int>(type));
  }
  std::vector<int> enumSubtype(int type) const;
  int getNumOfSubtypes(log_def::tagLOGTYPE type) const { return getNumOfSubtypes(static_cast<int>(type)); }
  int getNumOfSubtypes(int type) const { return static_cast<int>(enumSubtype(type).size()); }
  // True when `subtype` belongs to the log type `type`.
  bool isMemberOf(log_def::tagLOGSUBTYPE subtype, log_def::tagLOGTYPE type) const {
    return isMemberOf(static_cast<int>(subtype), static_cast<int>(type));
  }
  bool isMemberOf(int subtype, int type) const;

  // The elements in file order; they belong to the table.
  const std::vector<element*>& getContainer() const { return container_; }
  void clear();
  bool empty() const { return container_.empty(); }

 protected:
  // Parses one line and adds its element. True for a line that is skipped
  // (comment, blank, too short); otherwise what add() returns.
  bool analyzeLine(const tstring& line);
  // Stores a copy of `e` unless its subtype number or its name is present
  // already; false when refused.
  bool add(const element& e);
  // The stored element, or null.
  const element* find_(int subtype) const;
  const element* find_(const tstring& name) const;

 private:
  std::vector<element*> container_;  // owned
  std::map<int, element*> bySubtype_;
  std::map<tstring, element*> byName_;
};

#endif  // OMLIB_DEVINFO_SUBTYPEINFO_H_
