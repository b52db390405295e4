// Fuzzes the MOF compiler. Text that compiles must give instances whose MOF
// text (GetObjectText) compiles back into equal instances, and classes whose
// MOF text can be written.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <atlcomcli.h>

#include "CimObject.h"
#include "ClassRepository.h"
#include "MofCompiler.h"
#include "Text.h"

namespace {

// A namespace path as a MOF string literal.
std::string namespaceLiteral(std::u16string_view path) {
  std::string out = "\"";
  for (char c : om::wmi::toUtf8(path)) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  return out + "\"";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace om::wmi;
  ClassRepository repo;
  MofCompiler compiler(repo, u"root\\fuzz");
  MofResult result;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (FAILED(compiler.compile(text, &result))) {
    if (result.message.empty()) std::abort();
    return 0;
  }
  for (const std::u16string& stored : result.classes) {
    const size_t colon = stored.rfind(u':');
    const ClassPtr cls = repo.findClass(stored.substr(0, colon), stored.substr(colon + 1));
    if (cls == nullptr) continue;  // replaced or deleted later in the text
    CComPtr<IWbemClassObject> object = CimObject::newClass(cls);
    if (CimObject::from(object)->objectText().empty()) std::abort();
  }
  for (const MofInstance& instance : result.instances) {
    const std::u16string body = CimObject::from(instance.object)->objectText();
    const std::string again = "#pragma namespace(" + namespaceLiteral(instance.nameSpace) + ")\n" + toUtf8(body);
    MofResult reread;
    if (FAILED(compiler.compile(again, &reread)) || reread.instances.size() != 1) std::abort();
    if (instance.object->CompareTo(0, reread.instances[0].object) != WBEM_S_SAME) std::abort();
  }
  return 0;
}
