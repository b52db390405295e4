// libFuzzer target for the subtype file loader: SubtypeInfo reads any bytes
// through an archive over a memory file. Every loaded element has a name, the
// numbers and names are unique, and both indexes find each element.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>

#include <afx.h>

#include "devinfo/SubtypeInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CMemFile file(const_cast<BYTE*>(data), static_cast<UINT>(size));
  SubtypeInfo info;
  if (!info.reload(file)) std::abort();

  std::set<int> numbers;
  std::set<tstring> names;
  for (const SubtypeInfo::element* e : info.getContainer()) {
    if (e->empty()) std::abort();
    if (!numbers.insert(e->getSubtype()).second || !names.insert(e->getName()).second) std::abort();
    if (info.find(e->getSubtype()).toString() != e->toString()) std::abort();
    if (info.find(e->getName()).getSubtype() != e->getSubtype()) std::abort();
    if (!info.isMemberOf(e->getSubtype(), e->getType())) std::abort();
  }
  const SubtypeInfo copy(info);
  if (copy.getContainer().size() != info.getContainer().size()) std::abort();
  return 0;
}
