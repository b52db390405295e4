#include "devinfo/SubtypeInfo.h"

#include <afx.h>
#include <omtools/StringTokenizer.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

// Characters that separate the tokens of a line: blank, tab, line ends,
// double quote and comma.
const char kSeparators[] = " \t\r\n\",";

// The archive buffer used to read the file.
const int kReadBufferSize = 4096;

}  // namespace

SubtypeInfo::element::element(int subtype, int type, const tstring& name,
                              const tstring& qualifier, const tstring& description)
    : subtype_(subtype), type_(type), name_(name), qualifier_(qualifier),
      description_(description) {}

tstring SubtypeInfo::element::toString() const {
  if (empty()) return "empty! <Subtype Information Element>";
  tstring text;
  text.format("%d(%d), %s(%s), %s", subtype_, type_, name_.c_str(), qualifier_.c_str(),
              description_.c_str());
  return text;
}

SubtypeInfo::SubtypeInfo(const SubtypeInfo& other) {
  for (const element* e : other.container_) add(*e);
}

SubtypeInfo& SubtypeInfo::operator=(const SubtypeInfo& other) {
  if (this != &other) {
    SubtypeInfo copy(other);
    std::swap(container_, copy.container_);
    std::swap(bySubtype_, copy.bySubtype_);
    std::swap(byName_, copy.byName_);
  }
  return *this;
}

SubtypeInfo::~SubtypeInfo() { clear(); }

bool SubtypeInfo::reload(const tstring& path) {
  clear();
  CFile file;
  if (!file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite)) return false;
  return reload(file);
}

bool SubtypeInfo::reload(CFile& file) {
  clear();
  try {
    CArchive archive(&file, CArchive::load, kReadBufferSize);
    CString line;
    while (archive.ReadString(line)) {
      analyzeLine(tstring(line.GetString(), static_cast<size_t>(line.GetLength())));
    }
    archive.Close();
  } catch (CException* e) {
    e->Delete();
    return false;
  }
  return true;
}

SubtypeInfo::element SubtypeInfo::find(int subtype) const {
  const element* e = find_(subtype);
  return e == nullptr ? element() : *e;
}

SubtypeInfo::element SubtypeInfo::find(const tstring& name) const {
  const element* e = find_(name);
  return e == nullptr ? element() : *e;
}

std::vector<int> SubtypeInfo::enumSubtype(int type) const {
  std::vector<int> subtypes;
  for (const element* e : container_) {
    if (e->getType() == type) subtypes.push_back(e->getSubtype());
  }
  return subtypes;
}

bool SubtypeInfo::isMemberOf(int subtype, int type) const {
  const std::vector<int> subtypes = enumSubtype(type);
  return std::find(subtypes.begin(), subtypes.end(), subtype) != subtypes.end();
}

void SubtypeInfo::clear() {
  for (element* e : container_) delete e;
  container_.clear();
  bySubtype_.clear();
  byName_.clear();
}

bool SubtypeInfo::analyzeLine(const tstring& line) {
  if (line.empty() || line[0] == ';') return true;
  StringTokenizer tokens(line, kSeparators);
  if (tokens.countTokens() < 3) return true;
  const int subtype = std::atoi(tokens.nextToken().c_str());
  const int type = std::atoi(tokens.nextToken().c_str());
  const tstring name = tokens.nextToken();
  const tstring qualifier = tokens.nextToken();
  const tstring description = tokens.nextToken();
  return add(element(subtype, type, name, qualifier, description));
}

bool SubtypeInfo::add(const element& e) {
  if (find_(e.getSubtype()) != nullptr || find_(e.getName()) != nullptr) return false;
  auto owned = std::make_unique<element>(e);
  element* stored = owned.get();
  container_.push_back(stored);
  owned.release();  // the container owns it now
  bySubtype_[stored->getSubtype()] = stored;
  byName_[stored->getName()] = stored;
  return true;
}

const SubtypeInfo::element* SubtypeInfo::find_(int subtype) const {
  const auto it = bySubtype_.find(subtype);
  return it == bySubtype_.end() ? nullptr : it->second;
}

const SubtypeInfo::element* SubtypeInfo::find_(const tstring& name) const {
  const auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : it->second;
}
