#include "MofCompiler.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <utility>

#include "CimObject.h"
#include "CimType.h"
#include "ClassDeclarations.h"
#include "Literals.h"
#include "MofParser.h"
#include "Text.h"

namespace om::wmi {

namespace {

bool isSlash(char16_t c) { return c == u'\\' || c == u'/'; }

// UTF-16 text from the file's bytes: UTF-16 with a byte-order mark, or
// UTF-8 (with or without its mark).
std::u16string decode(std::string_view bytes) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() >= 2 && ((byte(0) == 0xFF && byte(1) == 0xFE) || (byte(0) == 0xFE && byte(1) == 0xFF))) {
    const bool little = byte(0) == 0xFF;
    std::u16string text;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
      text += static_cast<char16_t>(little ? (byte(i) | byte(i + 1) << 8) : (byte(i) << 8 | byte(i + 1)));
    }
    // A surrogate without its partner is no character: it becomes U+FFFD.
    for (size_t i = 0; i < text.size(); ++i) {
      const bool high = text[i] >= 0xD800 && text[i] <= 0xDBFF;
      const bool low = text[i] >= 0xDC00 && text[i] <= 0xDFFF;
      const bool pairsNext = high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
      if (pairsNext) {
        ++i;
      } else if (high || low) {
        text[i] = 0xFFFD;
      }
    }
    return text;
  }
  if (bytes.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) bytes.remove_prefix(3);
  return toU16(bytes);
}

// A string value, embedded NULs included.
void textVariant(std::u16string_view text, VARIANT* out) {
  VariantClear(out);
  out->vt = VT_BSTR;
  out->bstrVal = allocBstr(text);
}

// Compiles the parsed statements; stops at the first error.
class Compiler {
 public:
  Compiler(ClassRepository& repository, std::u16string nameSpace, MofResult* result)
      : repository_(repository), nameSpace_(std::move(nameSpace)), result_(result) {}

  HRESULT run(const std::vector<MofStatement>& statements) {
    HRESULT hr = repository_.createNamespace(nameSpace_);
    if (FAILED(hr)) return fail(hr, 0, "the default namespace cannot be created");
    for (const MofStatement& statement : statements) {
      switch (statement.kind) {
        case MofStatement::Kind::kPragma: hr = pragma(statement.pragma); break;
        case MofStatement::Kind::kClass: hr = classDecl(statement.cls); break;
        case MofStatement::Kind::kInstance: hr = topInstance(*statement.instance); break;
      }
      if (FAILED(hr)) return hr;
    }
    return S_OK;
  }

 private:
  HRESULT fail(HRESULT hr, int line, const std::string& message) {
    result_->status = hr;
    result_->line = line;
    result_->message = "line " + std::to_string(line) + ": " + message;
    return hr;
  }

  static std::string quote(std::u16string_view name) {
    std::string quoted = "'";  // appended, not prepended: GCC 12 warns falsely on "'" + std::string&&
    quoted += toUtf8(name);
    quoted += '\'';
    return quoted;
  }

  HRESULT pragma(const MofPragma& p) {
    const auto stringArgument = [&](size_t i) -> const MofValue* {
      return i < p.arguments.size() && p.arguments[i].kind == MofValue::Kind::kString ? &p.arguments[i] : nullptr;
    };
    if (equalsNoCase(p.name, u"namespace")) {
      const MofValue* path = stringArgument(0);
      if (path == nullptr || p.arguments.size() != 1) {
        return fail(WBEM_E_INVALID_SYNTAX, p.line, "#pragma namespace takes one string");
      }
      const bool absolute = (path->text.size() >= 2 && isSlash(path->text[0]) && isSlash(path->text[1])) ||
                            equalsNoCase(ClassRepository::normalizeNamespace(path->text).substr(0, 4), u"root");
      const std::u16string target = absolute ? path->text : nameSpace_ + u"\\" + path->text;
      const HRESULT hr = repository_.createNamespace(target);
      if (FAILED(hr)) return fail(hr, p.line, "invalid namespace " + quote(path->text));
      nameSpace_ = repository_.namespaceName(target);
      return S_OK;
    }
    if (equalsNoCase(p.name, u"deleteclass")) {
      const MofValue* name = stringArgument(0);
      const MofValue* mode = stringArgument(1);
      if (name == nullptr || p.arguments.size() > 2) {
        return fail(WBEM_E_INVALID_SYNTAX, p.line, "#pragma deleteclass takes a class name and FAIL or NOFAIL");
      }
      const HRESULT hr = repository_.deleteClass(nameSpace_, name->text);
      if (FAILED(hr) && !(hr == WBEM_E_NOT_FOUND && mode != nullptr && equalsNoCase(mode->text, u"NOFAIL"))) {
        return fail(hr, p.line, "class " + quote(name->text) + " cannot be deleted");
      }
      return S_OK;
    }
    if (equalsNoCase(p.name, u"include")) {
      return fail(WBEM_E_NOT_SUPPORTED, p.line, "#pragma include is not supported");
    }
    for (const char16_t* ignored : {u"locale", u"classflags", u"instanceflags", u"autorecover", u"source"}) {
      if (equalsNoCase(p.name, ignored)) return S_OK;
    }
    return fail(WBEM_E_INVALID_SYNTAX, p.line, "unknown pragma " + quote(p.name));
  }

  // ---- qualifiers ----

  HRESULT qualifierValue(const MofQualifierDecl& q, VARIANT* out) {
    const MofValue& v = q.value;
    if (!q.hasValue) {
      CComVariant(true).Detach(out);
      return S_OK;
    }
    if (v.kind != MofValue::Kind::kArray) return scalarQualifierValue(v, out);
    // Arrays take the type of their first element; the others must agree.
    VARTYPE vt = VT_BSTR;
    std::vector<CComVariant> items;
    for (const MofValue& item : v.items) {
      CComVariant scalar;
      if (FAILED(scalarQualifierValue(item, &scalar))) return WBEM_E_INVALID_QUALIFIER_TYPE;
      if (items.empty()) vt = scalar.vt;
      if (scalar.vt != vt) return WBEM_E_INVALID_QUALIFIER_TYPE;
      items.push_back(std::move(scalar));
    }
    SAFEARRAY* array = SafeArrayCreateVector(vt, 0, static_cast<ULONG>(items.size()));
    for (size_t i = 0; i < items.size(); ++i) {
      LONG index = static_cast<LONG>(i);
      SafeArrayPutElement(array, &index, vt == VT_BSTR ? static_cast<void*>(items[i].bstrVal) : &items[i].llVal);
    }
    out->vt = VT_ARRAY | vt;
    out->parray = array;
    return S_OK;
  }

  static HRESULT scalarQualifierValue(const MofValue& v, VARIANT* out) {
    switch (v.kind) {
      case MofValue::Kind::kBoolean: CComVariant(v.text == u"TRUE").Detach(out); return S_OK;
      case MofValue::Kind::kString:
      case MofValue::Kind::kChar: textVariant(v.text, out); return S_OK;
      case MofValue::Kind::kInteger: {
        CComVariant number;
        if (FAILED(integerLiteral(v.text, &number))) return WBEM_E_INVALID_QUALIFIER_TYPE;
        if (SUCCEEDED(VariantChangeType(out, &number, 0, VT_I4))) return S_OK;
        return SUCCEEDED(VariantChangeType(out, &number, 0, VT_R8)) ? S_OK : WBEM_E_INVALID_QUALIFIER_TYPE;
      }
      case MofValue::Kind::kReal: return realVariant(v.text, out);
      default: return WBEM_E_INVALID_QUALIFIER_TYPE;
    }
  }

  static long flavorOf(const MofQualifierDecl& q, bool* ok) {
    *ok = true;
    if (!q.hasFlavors) return kDefaultFlavor;
    long flavor = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
    for (const std::u16string& f : q.flavors) {
      if (equalsNoCase(f, u"ToInstance")) {
        flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE;
      } else if (equalsNoCase(f, u"NotToInstance")) {
        flavor &= ~WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE;
      } else if (equalsNoCase(f, u"ToSubclass")) {
        flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
      } else if (equalsNoCase(f, u"Restricted") || equalsNoCase(f, u"NotToSubclass")) {
        flavor &= ~WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
      } else if (equalsNoCase(f, u"DisableOverride")) {
        flavor |= WBEM_FLAVOR_NOT_OVERRIDABLE;
      } else if (equalsNoCase(f, u"EnableOverride")) {
        flavor &= ~WBEM_FLAVOR_NOT_OVERRIDABLE;
      } else if (equalsNoCase(f, u"Amended")) {
        flavor |= WBEM_FLAVOR_AMENDED;
      } else if (!equalsNoCase(f, u"Translatable")) {
        *ok = false;
      }
    }
    return flavor;
  }

  HRESULT qualifiers(const std::vector<MofQualifierDecl>& decls, QualifierList* out) {
    for (const MofQualifierDecl& q : decls) {
      if (out->find(q.name) != nullptr) {
        return fail(WBEM_E_INVALID_DUPLICATE_PARAMETER, q.line, "qualifier " + quote(q.name) + " given twice");
      }
      CComVariant value;
      HRESULT hr = qualifierValue(q, &value);
      const bool needsBool = equalsNoCase(q.name, u"key") || equalsNoCase(q.name, u"in") ||
                             equalsNoCase(q.name, u"out") || equalsNoCase(q.name, u"abstract") ||
                             equalsNoCase(q.name, u"singleton");
      const bool needsString = equalsNoCase(q.name, u"EmbeddedInstance") || equalsNoCase(q.name, u"CIMTYPE");
      if (SUCCEEDED(hr) && ((needsBool && value.vt != VT_BOOL) || (needsString && value.vt != VT_BSTR))) {
        hr = WBEM_E_INVALID_QUALIFIER_TYPE;
      }
      if (FAILED(hr)) return fail(hr, q.line, "invalid value of qualifier " + quote(q.name));
      bool flavorOk = true;
      const long flavor = flavorOf(q, &flavorOk);
      if (!flavorOk) return fail(WBEM_E_INVALID_FLAVOR, q.line, "unknown flavor of qualifier " + quote(q.name));
      out->set(q.name, value, flavor);
    }
    return S_OK;
  }

  // ---- values ----

  static HRESULT realVariant(std::u16string_view text, VARIANT* out) {
    std::string ascii(text.begin(), text.end());
    if (!ascii.empty() && ascii[0] == '+') ascii.erase(0, 1);
    double value = 0;
    const auto [end, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    if (ec != std::errc() || end != ascii.data() + ascii.size()) return WBEM_E_TYPE_MISMATCH;
    VariantInit(out);
    out->vt = VT_R8;
    out->dblVal = value;
    return S_OK;
  }

  // A scalar MOF value as a VARIANT that coerceValue turns into `type`; MOF
  // is stricter than Put: no text for numbers, no numbers for text.
  HRESULT scalarValue(const MofValue& v, CIMTYPE type, VARIANT* out, int depth) {
    const bool integer = isIntegerType(type);
    const bool real = type == CIM_REAL32 || type == CIM_REAL64;
    const bool text = type == CIM_STRING || type == CIM_DATETIME || type == CIM_REFERENCE;
    switch (v.kind) {
      case MofValue::Kind::kNull: out->vt = VT_NULL; return S_OK;
      case MofValue::Kind::kBoolean:
        if (type != CIM_BOOLEAN) return WBEM_E_TYPE_MISMATCH;
        CComVariant(v.text == u"TRUE").Detach(out);
        return S_OK;
      case MofValue::Kind::kInteger:
        if (!integer && !real && type != CIM_CHAR16) return WBEM_E_TYPE_MISMATCH;
        return integerLiteral(v.text, out);
      case MofValue::Kind::kReal:
        if (!real) return WBEM_E_TYPE_MISMATCH;
        return realVariant(v.text, out);
      case MofValue::Kind::kString:
        if (!text && !(type == CIM_CHAR16 && v.text.size() == 1)) return WBEM_E_TYPE_MISMATCH;
        textVariant(v.text, out);
        return S_OK;
      case MofValue::Kind::kChar:
        if (type != CIM_CHAR16) return WBEM_E_TYPE_MISMATCH;
        textVariant(v.text, out);
        return S_OK;
      case MofValue::Kind::kInstance: {
        if (type != CIM_OBJECT) return WBEM_E_TYPE_MISMATCH;
        IWbemClassObject* object = nullptr;
        const HRESULT hr = instance(*v.instance, depth + 1, &object);
        if (FAILED(hr)) return hr;
        out->vt = VT_UNKNOWN;
        out->punkVal = object;
        return S_OK;
      }
      case MofValue::Kind::kArray: return WBEM_E_TYPE_MISMATCH;
    }
    return WBEM_E_TYPE_MISMATCH;
  }

  // The stored form of `v` for a property of `type`. Errors inside nested
  // instances are reported there; others are WBEM_E_TYPE_MISMATCH.
  HRESULT value(const MofValue& v, CIMTYPE type, const std::u16string& refClass, VARIANT* out, int depth) {
    CComVariant raw;
    HRESULT hr;
    if (isArrayType(type) && v.kind == MofValue::Kind::kArray) {
      SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(v.items.size()));
      hr = array != nullptr ? S_OK : WBEM_E_OUT_OF_MEMORY;
      raw.vt = VT_ARRAY | VT_VARIANT;
      raw.parray = array;
      for (size_t i = 0; SUCCEEDED(hr) && i < v.items.size(); ++i) {
        CComVariant item;
        hr = scalarValue(v.items[i], baseType(type), &item, depth);
        LONG index = static_cast<LONG>(i);
        if (SUCCEEDED(hr)) hr = SafeArrayPutElement(array, &index, &item);
      }
    } else if (isArrayType(type) && v.kind != MofValue::Kind::kNull) {
      hr = WBEM_E_TYPE_MISMATCH;
    } else {
      hr = scalarValue(v, baseType(type), &raw, depth);
    }
    if (FAILED(hr)) return hr;
    return coerceValue(raw, type, refClass, out);
  }

  // ---- classes ----

  // The CIM type and class of a declared property or parameter.
  HRESULT propertyType(const MofTypeDecl& decl, bool isArray, const QualifierList& q, CIMTYPE* type,
                       std::u16string* refClass) {
    CIMTYPE base = cimTypeFromKeyword(decl.name);
    refClass->clear();
    if (decl.isRef) {
      if (base != CIM_ILLEGAL && base != CIM_OBJECT) return WBEM_E_INVALID_PROPERTY_TYPE;
      if (base == CIM_ILLEGAL) *refClass = decl.name;
      base = CIM_REFERENCE;
    } else if (base == CIM_REFERENCE) {
      return WBEM_E_INVALID_PROPERTY_TYPE;  // "ref" alone names no type
    } else if (base == CIM_ILLEGAL) {
      // A class name as type: an embedded instance of that class.
      base = CIM_OBJECT;
      *refClass = decl.name;
    }
    const HRESULT hr = applyEmbeddingQualifiers(q, &base, refClass);
    if (FAILED(hr)) return hr;
    *type = isArray ? (base | CIM_FLAG_ARRAY) : base;
    return S_OK;
  }

  HRESULT propertyDef(const MofPropertyDecl& decl, PropertyDef* out) {
    HRESULT hr = qualifiers(decl.qualifiers, &out->qualifiers);
    if (FAILED(hr)) return hr;
    out->name = decl.name;
    hr = propertyType(decl.type, decl.isArray, out->qualifiers, &out->type, &out->refClass);
    if (FAILED(hr)) return fail(hr, decl.line, "invalid type " + quote(decl.type.name) + " of " + quote(decl.name));
    out->qualifiers.set(u"CIMTYPE", CComVariant(cimTypeQualifierText(out->type, out->refClass).c_str()));
    out->defaultValue.vt = VT_NULL;
    if (decl.hasDefault) {
      hr = value(decl.defaultValue, out->type, out->refClass, &out->defaultValue, 0);
      if (FAILED(hr)) return failUnlessReported(hr, decl.line, "invalid default value of " + quote(decl.name));
    }
    return S_OK;
  }

  // Nested instance errors carry their own line; keep it.
  HRESULT failUnlessReported(HRESULT hr, int line, const std::string& message) {
    return result_->status == hr && result_->line != 0 ? hr : fail(hr, line, message);
  }

  HRESULT methodDef(const MofMethodDecl& decl, MethodDef* out) {
    HRESULT hr = qualifiers(decl.qualifiers, &out->qualifiers);
    if (FAILED(hr)) return hr;
    out->name = decl.name;
    PropertyDef ret;
    if (!equalsNoCase(decl.returnType.name, u"void")) {
      hr = propertyType(decl.returnType, false, QualifierList(), &ret.type, &ret.refClass);
      if (FAILED(hr)) return fail(hr, decl.line, "invalid return type of " + quote(decl.name));
    }
    std::vector<PropertyDef> parameters(decl.parameters.size());
    for (size_t i = 0; i < decl.parameters.size(); ++i) {
      hr = propertyDef(decl.parameters[i], &parameters[i]);
      if (FAILED(hr)) return hr;
    }
    size_t failed = 0;
    hr = buildMethodSignature(ret.type, ret.refClass, std::move(parameters), out, &failed);
    if (hr == WBEM_E_PARAMETER_ID_ON_RETVAL) {
      return fail(hr, decl.parameters[failed].line, "a parameter cannot be named ReturnValue");
    }
    if (FAILED(hr)) {
      const MofPropertyDecl& parameter = decl.parameters[failed];
      return fail(hr, parameter.line, "parameter " + quote(parameter.name) + " declared twice");
    }
    return S_OK;
  }

  HRESULT classDecl(const MofClassDecl& decl) {
    ClassPtr superclass;
    if (!decl.superclass.empty()) {
      superclass = repository_.findClass(nameSpace_, decl.superclass);
      if (superclass == nullptr) {
        return fail(WBEM_E_INVALID_SUPERCLASS, decl.line,
                    "superclass " + quote(decl.superclass) + " of " + quote(decl.name) + " does not exist");
      }
    }
    CimClass cls(decl.name, superclass);
    QualifierList own;
    HRESULT hr = qualifiers(decl.qualifiers, &own);
    if (FAILED(hr)) return hr;
    for (const Qualifier& q : own.items()) cls.qualifiers().set(q.name, q.value, q.flavor);
    for (const MofPropertyDecl& p : decl.properties) {
      PropertyDef property;
      hr = propertyDef(p, &property);
      if (FAILED(hr)) return hr;
      hr = cls.addProperty(std::move(property));
      if (FAILED(hr)) return fail(hr, p.line, "property " + quote(p.name) + " cannot be declared here");
    }
    for (const MofMethodDecl& m : decl.methods) {
      MethodDef method;
      hr = methodDef(m, &method);
      if (FAILED(hr)) return hr;
      hr = cls.addMethod(std::move(method));
      if (FAILED(hr)) return fail(hr, m.line, "method " + quote(m.name) + " cannot be declared here");
    }
    hr = repository_.putClass(nameSpace_, cls);
    if (FAILED(hr)) return fail(hr, decl.line, "class " + quote(decl.name) + " cannot be stored");
    result_->classes.push_back(nameSpace_ + u":" + decl.name);
    return S_OK;
  }

  // ---- instances ----

  // A new instance (one reference, for the caller) of the declaration.
  HRESULT instance(const MofInstanceDecl& decl, int depth, IWbemClassObject** out) {
    const ClassPtr cls = repository_.findClass(nameSpace_, decl.className);
    if (cls == nullptr) return fail(WBEM_E_INVALID_CLASS, decl.line, "class " + quote(decl.className) + " does not exist");
    CComPtr<IWbemClassObject> object = CimObject::newInstance(cls);
    CimObject* cim = CimObject::from(object);
    for (const MofPropertyValue& pv : decl.values) {
      const int index = cls->findProperty(pv.name);
      if (index < 0) {
        return fail(WBEM_E_INVALID_PROPERTY, pv.line,
                    "class " + quote(cls->name()) + " has no property " + quote(pv.name));
      }
      const PropertyDef& property = cls->properties()[static_cast<size_t>(index)];
      CComVariant stored;
      HRESULT hr = value(pv.value, property.type, property.refClass, &stored, depth);
      if (SUCCEEDED(hr)) hr = cim->setValue(index, stored);
      if (FAILED(hr)) return failUnlessReported(hr, pv.line, "invalid value of " + quote(pv.name));
    }
    *out = object.Detach();
    return S_OK;
  }

  HRESULT topInstance(const MofInstanceDecl& decl) {
    MofInstance declared;
    declared.nameSpace = nameSpace_;
    declared.line = decl.line;
    IWbemClassObject* object = nullptr;
    const HRESULT hr = instance(decl, 0, &object);
    declared.object.Attach(object);
    if (FAILED(hr)) return hr;
    result_->instances.push_back(std::move(declared));
    return S_OK;
  }

  ClassRepository& repository_;
  std::u16string nameSpace_;
  MofResult* result_;
};

}  // namespace

MofCompiler::MofCompiler(ClassRepository& repository, std::u16string defaultNamespace)
    : repository_(repository), defaultNamespace_(std::move(defaultNamespace)) {}

HRESULT MofCompiler::compile(std::string_view text, MofResult* result) {
  *result = MofResult();
  std::vector<MofToken> tokens;
  std::vector<MofStatement> statements;
  std::string error;
  int line = 0;
  if (!tokenizeMof(decode(text), &tokens, &error, &line) || !parseMof(tokens, &statements, &error, &line)) {
    result->status = WBEM_E_INVALID_SYNTAX;
    result->line = line;
    result->message = "line " + std::to_string(line) + ": " + error;
    return result->status;
  }
  Compiler compiler(repository_, defaultNamespace_, result);
  result->status = compiler.run(statements);
  return result->status;
}

HRESULT MofCompiler::compileFile(const char* path, MofResult* result) {
  std::ifstream file;
  if (path != nullptr) file.open(path, std::ios::binary);
  if (!file.is_open()) {
    *result = MofResult();
    result->status = WBEM_E_NOT_FOUND;
    result->message = std::string("cannot read ") + (path != nullptr ? path : "(null)");
    return result->status;
  }
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return compile(text, result);
}

}  // namespace om::wmi
