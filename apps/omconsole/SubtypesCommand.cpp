// omconsole subtypes: the table of log subtypes, as the library loads it from
// the subtype file.
#include <iostream>

#include <om/codepage.h>

#include "Command.h"
#include "config/DefaultValues.h"
#include "devinfo/SubtypeInfo.h"

namespace omconsole {
namespace {

// The file named by the setting "SubtypeInformationFile" (code page 932, as
// the library takes file names); empty when the setting is not set.
tstring configuredFile() { return DefaultValues::getDefault()->getSubtypeInformationFile(); }

}  // namespace

int runSubtypes(const Args& args) {
  if (args.size() > 1) return fail("usage: omconsole subtypes [FILE]", 2);
  const tstring file = args.empty() ? configuredFile() : tstring(om::utf8ToCp932(args[0]));
  if (file.empty()) {
    return fail("no FILE given and the setting SubtypeInformationFile is not set");
  }
  SubtypeInfo info;
  if (!info.reload(file)) return fail("cannot read the subtype file '" + om::cp932ToUtf8(file) + "'");
  for (const SubtypeInfo::element* e : info.getContainer()) {
    std::cout << om::cp932ToUtf8(e->toString()) << "\n";
  }
  return 0;
}

void subtypesStatus() {
  const tstring file = configuredFile();
  if (file.empty()) {
    std::cout << "subtypes: the setting SubtypeInformationFile is not set\n";
    return;
  }
  SubtypeInfo info;
  if (!info.reload(file)) {
    std::cout << "subtypes: cannot read the subtype file " << om::cp932ToUtf8(file) << "\n";
    return;
  }
  const size_t n = info.getContainer().size();
  std::cout << "subtypes: " << om::cp932ToUtf8(file) << " holds " << n << (n == 1 ? " subtype" : " subtypes") << "\n";
}

}  // namespace omconsole
