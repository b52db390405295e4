// The words and options of one subcommand, read against the options it
// takes: "--name VALUE" options (which may repeat) and "--name" flags. An
// option may also be a short "-c"; any other "-x" is a word.
#ifndef OM_APPS_OMCONSOLE_ARGUMENTS_H_
#define OM_APPS_OMCONSOLE_ARGUMENTS_H_

#include <string>
#include <utility>
#include <vector>

#include "Command.h"

namespace omconsole {

class Arguments {
 public:
  typedef std::vector<std::string> Names;

  // Reads `args`; ok() is false for an option not in `valued` or `flags`,
  // or a valued option without its value.
  Arguments(const Args& args, const Names& valued, const Names& flags);

  bool ok() const { return ok_; }
  // The arguments that are not options, in order.
  const Args& words() const { return words_; }
  bool has(const std::string& option) const;
  // The last value given to `option`, or `fallback`.
  std::string value(const std::string& option, const std::string& fallback = "") const;
  // The integer value of `option`, left as it is when the option is absent;
  // false when its value is not an integer.
  bool intValue(const std::string& option, int& value) const;
  // Every value given to `option`, in order.
  std::vector<std::string> values(const std::string& option) const;

 private:
  bool ok_ = true;
  Args words_;
  std::vector<std::pair<std::string, std::string>> options_;  // flags have an empty value
};

// A decimal integer filling the whole text (optional sign); false otherwise.
bool parseInt(const std::string& text, int& value);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_ARGUMENTS_H_
