// Fuzzes the WQL parser, and the evaluator and projection of every query it
// accepts over a fixed instance. Each input byte is one UTF-16 unit, so that
// keywords stay easy to reach while non-ASCII units are covered too.
#include <cstddef>
#include <cstdint>
#include <string>

#include <atlcomcli.h>

#include "CimObject.h"
#include "ClassRepository.h"
#include "MofCompiler.h"
#include "Wql.h"
#include "WqlEvaluator.h"

namespace {

constexpr char kMof[] = R"(
class Part { [key] string Name; };
class Sample {
  [key] string Name;
  sint32 Small;
  uint32 Unsigned;
  uint64 Huge;
  real64 Ratio;
  boolean Flag;
  string Tags[];
  Part Inner;
};
instance of Sample {
  Name = "Router-7";
  Small = -5;
  Unsigned = 4000000000;
  Huge = 18446744073709551615;
  Ratio = 0.25;
  Flag = TRUE;
  Tags = {"a", "b"};
  Inner = instance of Part { Name = "core"; };
};
)";

IWbemClassObject* sample() {
  static IWbemClassObject* object = [] {
    static om::wmi::ClassRepository repository;
    om::wmi::MofCompiler compiler(repository, u"root");
    om::wmi::MofResult result;
    compiler.compile(kMof, &result);
    return result.instances.empty() ? nullptr : result.instances.front().object.Detach();
  }();
  return object;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::u16string text(data, data + size);
  om::wmi::WqlQuery query;
  om::wmi::WqlError error;
  if (!om::wmi::parseWql(text, &query, &error)) return 0;
  IWbemClassObject* object = sample();
  if (object != nullptr) {
    om::wmi::wqlMatches(query.where.get(), object);
    CComPtr<IWbemClassObject> projected = om::wmi::wqlProject(query, object);
  }
  return 0;
}
