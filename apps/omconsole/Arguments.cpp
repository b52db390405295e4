#include "Arguments.h"

#include <algorithm>
#include <charconv>

namespace omconsole {
namespace {

bool listed(const Arguments::Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

Arguments::Arguments(const Args& args, const Names& valued, const Names& flags) {
  for (size_t i = 0; i < args.size() && ok_; ++i) {
    const std::string& arg = args[i];
    if (listed(flags, arg)) {
      options_.emplace_back(arg, "");
    } else if (listed(valued, arg)) {
      ok_ = i + 1 < args.size();
      if (ok_) options_.emplace_back(arg, args[++i]);
    } else if (arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
      words_.push_back(arg);
    } else {
      ok_ = false;
    }
  }
}

bool Arguments::has(const std::string& option) const {
  return std::any_of(options_.begin(), options_.end(), [&](const auto& o) { return o.first == option; });
}

std::string Arguments::value(const std::string& option, const std::string& fallback) const {
  const std::vector<std::string> all = values(option);
  return all.empty() ? fallback : all.back();
}

bool Arguments::intValue(const std::string& option, int& value) const {
  return !has(option) || parseInt(this->value(option), value);
}

std::vector<std::string> Arguments::values(const std::string& option) const {
  std::vector<std::string> found;
  for (const auto& [name, value] : options_) {
    if (name == option) found.push_back(value);
  }
  return found;
}

bool parseInt(const std::string& text, int& value) {
  const char* begin = text.data() + (!text.empty() && text[0] == '+' ? 1 : 0);
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, value);
  return begin != end && error == std::errc() && stop == end;
}

}  // namespace omconsole
