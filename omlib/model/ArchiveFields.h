// ArchiveFields: stores or loads a record's fields through a CArchive from
// one list of fields, so that a record's Serialize names its layout once for
// both directions.
#ifndef OMLIB_MODEL_ARCHIVEFIELDS_H_
#define OMLIB_MODEL_ARCHIVEFIELDS_H_

#include <afx.h>

#include <string>
#include <type_traits>
#include <vector>

namespace om {

// Each call stores the field when the archive is storing and loads it when
// it is loading, in MFC's encodings: LONG and DWORD 4 bytes, bool 1 byte,
// CString with MFC's length prefix, a standard string as the CString of its
// code page 932 bytes, CTime 8 bytes, and enumerations as their 32-bit value.
// Calls chain:
//   om::ArchiveFields fields(ar);
//   fields(id_)(name_).strings(addresses_);
// Loading errors are the archive's exceptions.
class ArchiveFields {
 public:
  explicit ArchiveFields(CArchive& ar) : ar_(ar), storing_(ar.IsStoring() != FALSE) {}

  ArchiveFields& operator()(LONG& value) { return transfer(value); }
  ArchiveFields& operator()(DWORD& value) { return transfer(value); }
  ArchiveFields& operator()(bool& value) { return transfer(value); }
  ArchiveFields& operator()(CString& value) { return transfer(value); }
  ArchiveFields& operator()(std::string& value);
  ArchiveFields& operator()(CTime& value) { return transfer(value); }

  template <class E>
    requires std::is_enum_v<E> && (sizeof(E) == sizeof(LONG))
  ArchiveFields& operator()(E& value) {
    LONG number = static_cast<LONG>(value);
    transfer(number);
    value = static_cast<E>(number);
    return *this;
  }

  // A list of strings: an int count, then the strings. Loading empties the
  // list first and reads as many strings as the count says (none for a count
  // below 1); with `unique`, a string equal to one already read is dropped.
  // Memory grows only with the strings actually read, whatever the count.
  // `Text` is CString or std::string.
  template <class Text>
  ArchiveFields& strings(std::vector<Text>& list, bool unique = false);

 private:
  template <class T>
  ArchiveFields& transfer(T& value) {
    if (storing_) {
      ar_ << value;
    } else {
      ar_ >> value;
    }
    return *this;
  }

  CArchive& ar_;
  bool storing_;
};

}  // namespace om

#endif  // OMLIB_MODEL_ARCHIVEFIELDS_H_
