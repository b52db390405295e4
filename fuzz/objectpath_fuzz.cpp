// Fuzzes the object path parser. Each pair of input bytes is one UTF-16
// unit. A path that parses prints as text that parses back to the same path;
// its canonical form against the classes below, when it has one, is stable.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ClassRepository.h"
#include "MofCompiler.h"
#include "ObjectPath.h"

namespace {

const om::wmi::ClassRepository& repository() {
  static om::wmi::ClassRepository* repo = [] {
    auto* r = new om::wmi::ClassRepository();
    om::wmi::MofCompiler compiler(*r, u"root\\fuzz");
    om::wmi::MofResult result;
    compiler.compile(R"(
class Named { [key] string Name; };
class Numbered { [key] sint32 Id; };
class Link { [key] string Name; [key] uint8 Port; [key] boolean Up; [key] uint64 Big; };
[singleton] class Single { string Value; };
)",
                     &result);
    if (FAILED(result.status)) std::abort();
    return r;
  }();
  return *repo;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace om::wmi;
  std::u16string text;
  for (size_t i = 0; i + 1 < size; i += 2) text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
  ObjectPath path;
  if (FAILED(parseObjectPath(text, &path))) return 0;
  ObjectPath again;
  if (FAILED(parseObjectPath(path.toString(), &again)) || !(again == path)) std::abort();
  if (FAILED(parseObjectPath(path.relPath(), &again)) || again.className != path.className || again.keys != path.keys) {
    std::abort();
  }
  const ClassPtr cls = repository().findClass(u"root\\fuzz", path.className);
  if (cls == nullptr || path.isClassPath()) return 0;
  ObjectPath canonical = path;
  if (FAILED(canonicalizeInstancePath(*cls, &canonical))) return 0;
  ObjectPath twice;
  if (FAILED(parseObjectPath(canonical.toString(), &twice)) || FAILED(canonicalizeInstancePath(*cls, &twice)) ||
      !(twice == canonical) || instanceIdentity(twice) != instanceIdentity(canonical)) {
    std::abort();
  }
  return 0;
}
