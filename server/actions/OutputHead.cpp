#include "server/actions/OutputHead.h"

namespace om::server {
namespace {

// How many bytes the UTF-8 character led by `lead` has; 1 for anything else.
size_t utf8Length(unsigned char lead) {
  if (lead >= 0xF0 && lead <= 0xF7) return 4;
  if (lead >= 0xE0) return lead <= 0xEF ? 3 : 1;
  if (lead >= 0xC0) return 2;
  return 1;
}

// Drops a UTF-8 character left incomplete at the end of a cut line.
void dropPartialCharacter(std::string& line) {
  size_t start = line.size();
  while (start > 0 && line.size() - start < 3 && (static_cast<unsigned char>(line[start - 1]) & 0xC0) == 0x80) {
    --start;
  }
  if (start == 0) return;
  const size_t lead = start - 1;
  if (line.size() - lead < utf8Length(static_cast<unsigned char>(line[lead]))) line.resize(lead);
}

// A line as kept: cut lines lose a partial character, whole ones their
// carriage return.
std::string finished(std::string line, bool wasCut) {
  if (wasCut) {
    dropPartialCharacter(line);
  } else if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

}  // namespace

void OutputHead::add(std::string_view piece) {
  for (const char c : piece) {
    if (lines_.size() >= maxLines_) {
      cut_ = true;
      return;
    }
    if (c == '\n') {
      endLine();
    } else if (line_.size() < maxLineBytes_) {
      line_ += c == '\0' ? ' ' : c;
    } else {
      lineCut_ = true;
    }
  }
}

void OutputHead::endLine() {
  lines_.push_back(finished(std::move(line_), lineCut_));
  cut_ = cut_ || lineCut_;
  line_.clear();
  lineCut_ = false;
}

std::vector<std::string> OutputHead::lines() const {
  std::vector<std::string> out = lines_;
  if (!line_.empty() && out.size() < maxLines_) out.push_back(finished(line_, lineCut_));
  return out;
}

}  // namespace om::server
