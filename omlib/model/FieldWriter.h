// FieldWriter: collects a record's fields as (name, value) texts in the
// record's field order, for dumps and diagnostics, as om::RecordFields
// (model/RecordFields.h) with its conventions:
// numbers in decimal, times as seconds since 1970, flags as "true"/"false",
// and a list as its size under its own name followed by each entry under
// "name[i]". Texts are code page 932, as held.
#ifndef OMLIB_MODEL_FIELDWRITER_H_
#define OMLIB_MODEL_FIELDWRITER_H_

#include <afx.h>

#include "model/RecordFields.h"

#include <string>
#include <utility>
#include <vector>

namespace om {

class FieldWriter {
 public:
  using Fields = RecordFields;

  FieldWriter& add(const char* name, const std::string& value);
  FieldWriter& add(const char* name, const CString& value);
  FieldWriter& add(const char* name, const char* value) { return add(name, std::string(value)); }
  FieldWriter& add(const char* name, int value) { return add(name, std::to_string(value)); }
  FieldWriter& add(const char* name, DWORD value) { return add(name, std::to_string(value)); }
  FieldWriter& add(const char* name, bool value) { return add(name, value ? "true" : "false"); }
  FieldWriter& add(const char* name, CTime value) { return add(name, std::to_string(value.GetTime())); }
  FieldWriter& add(const char* name, const std::vector<CString>& values);

  Fields take() { return std::move(fields_); }

 private:
  Fields fields_;
};

}  // namespace om

#endif  // OMLIB_MODEL_FIELDWRITER_H_
