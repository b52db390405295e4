// The MOF compiler: reads MOF text and stores its classes in a repository.
//
// The subset: `#pragma namespace("\\\\.\\root\\...")` (absolute, or relative
// to the current namespace, which is created when missing), other pragmas
// ignored (`locale`, `classflags`, `autorecover`, `include` is refused),
// comments, class declarations with qualifiers and flavors, a superclass,
// properties of every CIM type with arrays and default values, references
// (`Class ref Name`), embedded objects (`object`, `ClassName Name`, or any
// type with [EmbeddedInstance("X")]), methods with [in]/[out] parameters,
// and `instance of Class { Prop = value; };` with strings (C escapes),
// numbers, booleans, NULL, arrays `{..}` and nested `instance of` (aliases
// are not supported).
//
// The text is read whole before anything is stored: a syntax error stores
// nothing. Classes are then stored in order; an error at that stage keeps
// the classes stored before it.
#ifndef OM_PLATFORM_WMI_MOFCOMPILER_H_
#define OM_PLATFORM_WMI_MOFCOMPILER_H_

#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "ClassRepository.h"

namespace om::wmi {

// An `instance of` declaration: the instance, and the namespace it was
// declared in. Storing it is the caller's business.
struct MofInstance {
  std::u16string nameSpace;
  CComPtr<IWbemClassObject> object;
  int line = 0;
};

struct MofResult {
  HRESULT status = S_OK;
  int line = 0;          // line of the error (1-based), 0 when none
  std::string message;   // "line 12: expected ';' after property Name" (UTF-8)
  std::vector<std::u16string> classes;  // "root\ns:Class" of each class stored
  std::vector<MofInstance> instances;
};

class MofCompiler {
 public:
  // Classes go to `repository`, which must outlive the compiler. Text without
  // a namespace pragma goes to `defaultNamespace`.
  explicit MofCompiler(ClassRepository& repository, std::u16string defaultNamespace = u"root\\default");

  // Compiles UTF-8 text (a UTF-8 byte-order mark is skipped; UTF-16 text
  // with its byte-order mark is read too). Returns result->status:
  // WBEM_E_INVALID_SYNTAX for text that is not MOF of the subset,
  // WBEM_E_INVALID_SUPERCLASS, WBEM_E_INVALID_CLASS (an instance of an
  // unknown class), WBEM_E_INVALID_PROPERTY (an unknown property in an
  // instance), WBEM_E_TYPE_MISMATCH (a value of the wrong type),
  // WBEM_E_INVALID_QUALIFIER_TYPE, WBEM_E_ALREADY_EXISTS (a property or
  // method declared twice), or an error of ClassRepository::putClass.
  HRESULT compile(std::string_view text, MofResult* result);
  // Reads the file and compiles it; WBEM_E_NOT_FOUND when it cannot be read.
  HRESULT compileFile(const char* path, MofResult* result);

 private:
  ClassRepository& repository_;
  std::u16string defaultNamespace_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_MOFCOMPILER_H_
