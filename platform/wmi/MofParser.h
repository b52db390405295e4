// The syntax tree of a MOF text and the parser that builds it from tokens.
// The parser checks only the grammar; types, names and values are checked
// when the compiler stores the declarations.
#ifndef OM_PLATFORM_WMI_MOFPARSER_H_
#define OM_PLATFORM_WMI_MOFPARSER_H_

#include <memory>
#include <string>
#include <vector>

#include "MofLexer.h"

namespace om::wmi {

struct MofInstanceDecl;

struct MofValue {
  enum class Kind { kNull, kBoolean, kInteger, kReal, kString, kChar, kArray, kInstance };

  Kind kind = Kind::kNull;
  std::u16string text;  // integer or real text, string or character; "TRUE"/"FALSE"
  std::vector<MofValue> items;               // kArray
  std::shared_ptr<MofInstanceDecl> instance;  // kInstance
  int line = 0;
};

struct MofQualifierDecl {
  std::u16string name;
  bool hasValue = false;
  MofValue value;
  bool hasFlavors = false;
  std::vector<std::u16string> flavors;
  int line = 0;
};

// The type of a property, parameter or method result as written.
struct MofTypeDecl {
  std::u16string name;  // "sint32", "string", "object", a class name, "void"
  bool isRef = false;   // "Class ref"
};

struct MofPropertyDecl {
  std::vector<MofQualifierDecl> qualifiers;
  MofTypeDecl type;
  std::u16string name;
  bool isArray = false;
  bool hasDefault = false;
  MofValue defaultValue;
  int line = 0;
};

struct MofMethodDecl {
  std::vector<MofQualifierDecl> qualifiers;
  MofTypeDecl returnType;
  std::u16string name;
  std::vector<MofPropertyDecl> parameters;
  int line = 0;
};

struct MofClassDecl {
  std::vector<MofQualifierDecl> qualifiers;
  std::u16string name;
  std::u16string superclass;
  std::vector<MofPropertyDecl> properties;
  std::vector<MofMethodDecl> methods;
  int line = 0;
};

struct MofPropertyValue {
  std::u16string name;
  MofValue value;
  int line = 0;
};

struct MofInstanceDecl {
  std::u16string className;
  std::vector<MofPropertyValue> values;
  int line = 0;
};

struct MofPragma {
  std::u16string name;
  std::vector<MofValue> arguments;
  int line = 0;
};

// One top-level declaration, in the order of the text.
struct MofStatement {
  enum class Kind { kPragma, kClass, kInstance };

  Kind kind = Kind::kPragma;
  MofPragma pragma;
  MofClassDecl cls;
  std::shared_ptr<MofInstanceDecl> instance;
};

// Parses the tokens (ending with kEnd). False, with `error` and `errorLine`
// set, on the first grammar error; nesting of arrays and instances deeper
// than 64 levels is an error too.
bool parseMof(const std::vector<MofToken>& tokens, std::vector<MofStatement>* statements, std::string* error,
              int* errorLine);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_MOFPARSER_H_
