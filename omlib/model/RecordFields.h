// RecordFields: the fields of one record as (name, value) texts in the
// record's field order, for dumps and diagnostics. Values are code page 932
// text; a list field gives its size under its own name and then each entry
// under "name[i]".
#ifndef OMLIB_MODEL_RECORDFIELDS_H_
#define OMLIB_MODEL_RECORDFIELDS_H_

#include <string>
#include <utility>
#include <vector>

namespace om {

using RecordFields = std::vector<std::pair<std::string, std::string>>;

inline void appendListField(RecordFields& fields, const std::string& name,
                            const std::vector<std::string>& values) {
  fields.emplace_back(name, std::to_string(values.size()));
  for (size_t i = 0; i < values.size(); ++i) {
    fields.emplace_back(name + "[" + std::to_string(i) + "]", values[i]);
  }
}

}  // namespace om

#endif  // OMLIB_MODEL_RECORDFIELDS_H_
