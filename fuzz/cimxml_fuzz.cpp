// Fuzzes the CIM-XML codec: each input is decoded as a request and as a
// response, with the product's classes to build instances from. Whatever
// decodes must encode into a message that decodes again and encodes into
// the same text; whatever does not must say why.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "CimXml.h"
#include "ClassRepository.h"
#include "MofCompiler.h"

namespace {

using namespace om::wmi;
using namespace om::wmi::cimxml;

constexpr char16_t kNamespace[] = u"root\\Velmoran\\OrvaManager";

const ClassRepository& productClasses() {
  static ClassRepository classes;
  static const bool loaded = [] {
    MofCompiler compiler(classes);
    MofResult result;
    return SUCCEEDED(compiler.compileFile(OM_MOF_DIR "/OrvaManager.mof", &result));
  }();
  if (!loaded) std::abort();
  return classes;
}

template <class Message, class Decode, class Encode>
void checkRoundTrip(std::string_view xml, const ClassResolver& resolve, Decode decode, Encode encode) {
  Message message;
  DecodeError error;
  if (!decode(xml, resolve, &message, &error)) {
    if (error.message.empty() || (!error.badRequest && error.code == 0)) std::abort();
    return;
  }
  const std::string once = encode(message);
  Message again;
  if (!decode(once, resolve, &again, &error) || encode(again) != once) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ClassRepository& classes = productClasses();
  const ClassResolver resolve = [&](std::u16string_view name) { return classes.findClass(kNamespace, name); };
  const std::string_view xml(reinterpret_cast<const char*>(data), size);
  checkRoundTrip<Request>(xml, resolve, decodeRequest, encodeRequest);
  checkRoundTrip<Response>(xml, resolve, decodeResponse, encodeResponse);
  return 0;
}
