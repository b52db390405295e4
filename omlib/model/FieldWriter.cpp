#include "model/FieldWriter.h"

#include "model/CStringUtil.h"

namespace om {

FieldWriter& FieldWriter::add(const char* name, const std::string& value) {
  fields_.emplace_back(name, value);
  return *this;
}

FieldWriter& FieldWriter::add(const char* name, const CString& value) { return add(name, toStdString(value)); }

FieldWriter& FieldWriter::add(const char* name, const std::vector<CString>& values) {
  add(name, std::to_string(values.size()));
  for (size_t i = 0; i < values.size(); ++i) {
    add((std::string(name) + "[" + std::to_string(i) + "]").c_str(), values[i]);
  }
  return *this;
}

}  // namespace om
